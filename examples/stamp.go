// The whole job in Go: digests a file, sends a request over a socket, unpacks the reply, reads its status, checks and reads
// the token. Writes FILE.tsr and FILE.tsq, which `qex verify FILE` finds.
//
// usage: stamp FILE HOST:PORT ROOTS     ROOTS: the certificates that you trust as roots, in PEM
package main

import (
	"crypto/rand"
	"encoding/binary"
	"fmt"
	"io"
	"log"
	"math/big"
	"net"
	"os"
	"time"

	"example.invalid/qex"
	"example.invalid/qex/lib"
)

// must ends the program with an error.
func must[T any](value T, err error) T {
	if err != nil {
		log.Fatal("stamp: ", err)
	}
	return value
}

func digestOf(name string) []byte {
	file, digest := must(os.Open(name)), must(lib.NewSHA256())
	defer file.Close()
	must(io.Copy(digest, file))
	return digest.Sum(nil)
}

func requestFor(digest []byte) []byte {
	nonce := must(rand.Int(rand.Reader, new(big.Int).Lsh(big.NewInt(1), 62)))
	nonce.SetBit(nonce, 62, 1) // a positive number of eight octets
	return must(lib.EncodeTSQEx(lib.TsqDataEx{HashAlgorithm: "2.16.840.1.101.3.4.2.1", HashedMessage: digest,
		Nonce: nonce.Bytes(), CertReq: 1}, lib.TransportSocket))
}

func send(request []byte, address string) []byte {
	connection := must(net.DialTimeout("tcp", address, 30*time.Second))
	defer connection.Close()
	must(0, connection.SetDeadline(time.Now().Add(30*time.Second)))
	must(connection.Write(request))
	head := make([]byte, 4) // the length of the rest; the authority may leave the connection open
	must(io.ReadFull(connection, head))
	limited := io.LimitReader(io.LimitReader(connection, 1<<20), int64(binary.BigEndian.Uint32(head)))
	reply, _, err := lib.UnpackTSR(append(head, must(io.ReadAll(limited))...), lib.TransportSocket)
	return must(reply, err)
}

func main() {
	log.SetFlags(0)
	if len(os.Args) != 4 {
		log.Fatalf("usage: %s FILE HOST:PORT ROOTS", os.Args[0])
	}
	name, address, roots := os.Args[1], os.Args[2], os.Args[3]
	framed := requestFor(digestOf(name))
	request, reply := framed[5:], send(framed, address) // without the head of the socket framing
	if status := must(lib.GetTSRStatus(reply)); status.Status != 0 && status.Status != 1 {
		log.Fatalf("stamp: the authority refused: %s (status %d)", status.StatusText, status.Status)
	}

	// The library's own verification is narrow; Check answers whether the token is to be believed.
	answer := must(qex.Check(qex.Trust{CaFile: []string{roots}}, qex.Job{Token: reply, File: name, Request: request}))
	if !answer.Passed() {
		log.Fatalf("stamp: %s\nstamp: %s", answer.Error, answer.Hint)
	}

	info := must(lib.GetTSTTSTInfoEx(must(lib.GetTSREncodedToken(reply))))
	fmt.Printf("stamped at %s under policy %s, serial number 0x%X\n", info.GenTime, info.Policy, info.SerialNumber)
	must(0, os.WriteFile(name+".tsr", reply, 0o666))
	must(0, os.WriteFile(name+".tsq", request, 0o666))
}
