package qex

import (
	"errors"
	"path/filepath"
	"strings"
)

// Trust says whom to trust, as the options of `qex verify` of the same names do. One of the first six is needed. Files are
// read when the program starts: to have a changed file read, make another Checker.
type Trust struct {
	TsaCert           []string // the certificates in these files: one of them signed
	TsaFingerprint    string   // the certificate of this digest: sha256:HEX
	CaFile            []string // a chain to a root in these files
	CaPath            []string // a chain to a root in a file of these folders
	SystemCa          bool     // a chain to a root of the system
	InsecureAnySigner bool     // whoever signed

	Untrusted        []string // more certificates to build the chain of
	Crl              []string // lists of revoked certificates
	At               string   // when the chain must hold: gentime (as without it), now or a time in ISO 8601
	Ess              string   // signing-certificate attribute: auto (as without it), v1 or v2
	LibraryOnly      bool     // leave the strict reader out
	AllowWeak        bool     // accept SHA-1, MD5 and keys below 2048 bits
	AllowLowExponent bool     // accept RSA keys with an exponent below 65537
}

// options is the command line that says this.
func (t Trust) options() ([]string, error) {
	if len(t.TsaCert)+len(t.CaFile)+len(t.CaPath) == 0 && t.TsaFingerprint == "" && !t.SystemCa && !t.InsecureAnySigner {
		return nil, errors.New("qex: nobody is trusted: name an authority (TsaCert, TsaFingerprint) or a root (CaFile, " +
			"CaPath, SystemCa), or say InsecureAnySigner")
	}
	var options []string
	for _, files := range []struct {
		option string
		paths  []string
	}{{"tsa-cert", t.TsaCert}, {"ca-file", t.CaFile}, {"ca-path", t.CaPath}, {"untrusted", t.Untrusted}, {"crl", t.Crl}} {
		for _, path := range files.paths {
			if strings.ContainsRune(path, 0) {
				return nil, errors.New("qex: a path of --" + files.option + " holds a NUL; name the file")
			}
			absolute, err := filepath.Abs(path)
			if err != nil {
				return nil, err
			}
			options = append(options, "--"+files.option+"="+absolute)
		}
	}
	for _, text := range []struct{ option, value string }{
		{"tsa-fingerprint", t.TsaFingerprint}, {"at", t.At}, {"ess", t.Ess},
	} {
		if text.value != "" {
			options = append(options, "--"+text.option+"="+text.value)
		}
	}
	for _, flag := range []struct {
		option string
		given  bool
	}{
		{"system-ca", t.SystemCa}, {"insecure-any-signer", t.InsecureAnySigner}, {"library-only", t.LibraryOnly},
		{"allow-weak", t.AllowWeak}, {"allow-low-exponent", t.AllowLowExponent},
	} {
		if flag.given {
			options = append(options, "--"+flag.option)
		}
	}
	return options, nil
}
