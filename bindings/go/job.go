package qex

import (
	"bytes"
	"encoding/base64"
	"encoding/json"
	"encoding/pem"
	"fmt"
	"path/filepath"
	"strings"
	"unicode/utf8"
)

// Job is a token and what it is compared with. Octets are a message in DER or PEM. Of octets and file, give one.
//
// Without Token and TokenFile, the file's own name with .tsr appended is used; what lies beside a token or file by the
// habits of `qex verify` is found here too.
type Job struct {
	Token       []byte // a reply or token
	TokenFile   string
	File        string // the stamped file
	Digest      string // in its place, as ALG:HEX
	Request     []byte // the request that was sent
	RequestFile string
	Nonce       string // the nonce that was sent, in hexadecimal
	Policy      string // the policy that is wanted
}

const mostOctets = 16 << 20 // of a message; a job takes 32 MiB, in base64

// line is the job as the program takes it, or the answer to a job that cannot be said.
func (j Job) line(number uint64) ([]byte, *Answer) {
	said := map[string]any{"id": number}
	for name, value := range map[string]string{"digest": j.Digest, "nonce": j.Nonce, "policy": j.Policy} {
		if value != "" {
			said[name] = value
		}
	}
	for _, one := range []struct {
		name   string
		octets []byte
		path   string
	}{{"token", j.Token, j.TokenFile}, {"request", j.Request, j.RequestFile}, {"file", nil, j.File}} {
		if one.octets != nil && one.path != "" {
			answer := refusal(2, one.name+": both octets and a file are given", "give one of them")
			return nil, &answer
		}
		value, refused := "", (*Answer)(nil)
		if one.octets != nil {
			value, refused = message(one.name, one.octets)
		} else if one.path != "" {
			value, refused = path(one.name, one.path)
		} else {
			continue
		}
		if refused != nil {
			return nil, refused
		}
		said[one.name] = value
	}
	line, err := json.Marshal(said)
	if err != nil {
		panic(err) // texts and a number can be written
	}
	return append(line, '\n'), nil
}

// path is absolute: the program keeps the folder that it was started in, and no such path reads as base64.
func path(name, value string) (string, *Answer) {
	absolute, err := filepath.Abs(value)
	if err != nil {
		answer := refusal(3, fmt.Sprintf("%s: %v", name, err), "give an absolute path")
		return "", &answer
	}
	if !utf8.ValidString(absolute) || strings.ContainsRune(absolute, 0) {
		answer := refusal(3, fmt.Sprintf("%q: the name is no UTF-8 or holds a NUL, so the program cannot be told it", absolute),
			"rename the file, or give octets or a digest in its place")
		return "", &answer
	}
	return absolute, nil
}

// message is octets as a text that the program can only read as a message. Anything else would be read as a path.
func message(name string, octets []byte) (string, *Answer) {
	if len(octets) > mostOctets {
		answer := refusal(4, fmt.Sprintf("%s: %d octets, where at most %d are read", name, len(octets), mostOctets),
			"is it the stamped file itself?")
		return "", &answer
	}
	if bytes.HasPrefix(octets, []byte{0x30}) {
		return "\n" + base64.StdEncoding.EncodeToString(octets), nil
	}
	if block, _ := pem.Decode(octets); block != nil && bytes.HasPrefix(block.Bytes, []byte{0x30}) && utf8.Valid(octets) {
		return string(octets), nil
	}
	answer := refusal(4, name+": these octets are no message in DER or PEM",
		"name a file as "+name+"'s file; take the framing off a reply with lib.UnpackTSR")
	return "", &answer
}
