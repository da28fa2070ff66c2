package lib

import (
	"encoding/hex"
	"errors"
	"os"
	"path/filepath"
	"strings"
	"testing"
)

func TestMain(m *testing.M) {
	os.Setenv("QEX_VERIFY_ESSCERTIDV2", "1") // the library reads it once
	os.Exit(m.Run())
}

func file(t testing.TB, name string) []byte {
	t.Helper()
	octets, err := os.ReadFile(filepath.Join("../../../tests/data", filepath.FromSlash(name)))
	if err != nil {
		t.Fatal(err)
	}
	return octets
}

func unhex(t testing.TB, text string) []byte {
	t.Helper()
	octets, err := hex.DecodeString(strings.ReplaceAll(text, " ", ""))
	if err != nil {
		t.Fatal(err)
	}
	return octets
}

// records reads the facts about Bouncy Castle's samples of a kind, as their maker wrote them.
func records(t *testing.T, kind string, count int) []map[string]string {
	t.Helper()
	var found []map[string]string
	for _, block := range strings.Split(string(file(t, "bouncycastle/samples.txt")), "\n\n") {
		record := map[string]string{}
		for _, line := range strings.Split(block, "\n") {
			if name, value, ok := strings.Cut(line, " = "); ok && !strings.HasPrefix(line, "#") {
				record[name] = value
			}
		}
		if record["Kind"] == kind {
			found = append(found, record)
		}
	}
	if len(found) != count {
		t.Fatalf("%d samples of kind %s", len(found), kind)
	}
	return found
}

// expect fails the test unless the error is that code; OK is for none.
func expect(t *testing.T, err error, code Code) {
	t.Helper()
	if code == OK && err != nil || code != OK && !errors.Is(err, code) {
		t.Errorf("%v, not %s", err, code.Name())
	}
}
