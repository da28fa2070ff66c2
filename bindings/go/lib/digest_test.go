package lib

import (
	"encoding/hex"
	"io"
	"runtime"
	"strconv"
	"strings"
	"testing"
)

var algorithms = []struct {
	name string
	new  func() (*Digest, error)
	size int
}{{"md5", NewMD5, 16}, {"sha1", NewSHA1, 20}, {"sha256", NewSHA256, 32}, {"sha384", NewSHA384, 48}, {"sha512", NewSHA512, 64}}

// The digests of digests_by_length.txt, from hashlib, of the octets (31 i + n) mod 256.
func TestDigestsOfAllLengthsAreThoseOfHashlib(t *testing.T) {
	rows := 0
	for _, line := range strings.Split(string(file(t, "digests_by_length.txt")), "\n") {
		columns := strings.Fields(line)
		if len(columns) != 6 || columns[0] == "#" {
			continue
		}
		n, err := strconv.Atoi(columns[0])
		if err != nil {
			continue
		}
		rows++
		data := make([]byte, n)
		for i := range data {
			data[i] = byte(31*i + n)
		}
		for i, algorithm := range algorithms {
			digest, err := algorithm.new()
			if err != nil {
				t.Fatal(err)
			}
			io.WriteString(digest, string(data[:n/3]))
			digest.Write(data[n/3:])
			sum := hex.EncodeToString(digest.Sum(nil))
			if sum[:16] != columns[i+1] || len(sum) != 2*algorithm.size || digest.Size() != algorithm.size {
				t.Errorf("%s of %d octets: %s, not %s", algorithm.name, n, sum, columns[i+1])
			}
		}
	}
	if rows < 100 {
		t.Errorf("%d rows", rows)
	}
}

// FIPS 180-4's "abc", and what RFC 1321 says of it.
func TestSumEndsADigestAndResetBeginsAnother(t *testing.T) {
	for i, expected := range []string{
		"900150983cd24fb0d6963f7d28e17f72", "a9993e364706816aba3e25717850c26c9cd0d89d",
		"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
		"cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed8086072ba1e7cc2358baeca134c825a7",
		"ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f",
	} {
		digest, err := algorithms[i].new()
		if err != nil {
			t.Fatal(err)
		}
		for range "two rounds" {
			io.WriteString(digest, "abc")
			first, again := digest.Sum([]byte("x")), digest.Sum(nil)
			if "x"+string(again) != string(first) || hex.EncodeToString(again) != expected {
				t.Errorf("%s: %x", algorithms[i].name, again)
			}
			if _, err := io.WriteString(digest, "d"); err == nil {
				t.Error("data are taken after Sum")
			}
			digest.Reset()
		}
	}
}

func TestDigestsThatNobodyTakesAreReleased(t *testing.T) {
	for n := 0; n < 10000; n++ {
		if _, err := NewSHA512(); err != nil {
			t.Fatal(err)
		}
	}
	runtime.GC()
}
