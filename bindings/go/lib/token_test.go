package lib

import (
	"bytes"
	"crypto/sha256"
	"encoding/hex"
	"reflect"
	"strings"
	"sync"
	"testing"
)

const sha256Name = "2.16.840.1.101.3.4.2.1"

func TestTokensReadAsTheirMakerWroteThem(t *testing.T) {
	for _, sample := range records(t, "token", 37) {
		token := file(t, "bouncycastle/"+sample["Name"])
		info, err := GetTSTTSTInfoEx(token)
		short, shortErr := GetTSTTSTInfo(token)
		if sample["Protection"] == "yes" { // an attribute that the library does not know
			expect(t, err, ErrDecode)
			expect(t, shortErr, ErrDecode)
			continue
		}
		expect(t, err, OK)
		expect(t, shortErr, ErrSize) // its serial number has more than 64 bits
		if shortErr == nil || short.GenTime != info.GenTime || short.SerialNumber != 0 {
			t.Errorf("%s: %+v", sample["Name"], short)
		}
		read := []string{info.Policy, info.HashAlgorithm, hex.EncodeToString(info.HashedMessage),
			hex.EncodeToString(info.SerialNumber), strings.TrimSuffix(info.GenTime, "Z"),
			strings.TrimPrefix(hex.EncodeToString(info.Nonce), "00")}
		said := []string{sample["Policy"], sha256Name, sample["Imprint"], sample["Serial"], sample["Time"], sample["Nonce"]}
		if !reflect.DeepEqual(read, said) || info.HashedMessageLength != 32 || info.Version != 1 {
			t.Errorf("%s: %q, not %q", sample["Name"], read, said)
		}
	}
}

func TestSignaturesVerifyAsTheirRecordsSay(t *testing.T) {
	for _, sample := range records(t, "token", 37) {
		token, certificate := file(t, "bouncycastle/"+sample["Name"]), file(t, "bouncycastle/certificate_"+sample["Key"]+".der")
		withCertificate, without := OK, OK
		switch {
		case sample["Protection"] == "yes":
			withCertificate, without = ErrBadToken, ErrBadToken
		case strings.HasPrefix(sample["Key"], "dsa2048") && strings.EqualFold(sample["Digest"], "sha256"):
			// Only the first 20 octets of the digest count.
			withCertificate, without = ErrSignature, ErrSignature
		case sample["Version"] != "2": // TestMain asks for version 2
			withCertificate = ErrDecode
		}
		if sample["Protection"] == "no" && (sample["Version"] != "2" || sample["Certificate"] == "no") {
			without = ErrNoCert
		}
		t.Run(sample["Name"], func(t *testing.T) {
			expect(t, VerifyTSTSignature(token, certificate), withCertificate)
			expect(t, VerifyTSTSignatureOfAnySigner(token), without)
			if found, err := GetTSTTSACert(token); without == OK && !bytes.Equal(found, certificate) {
				t.Errorf("another certificate: %v", err)
			}
		})
	}
	token := file(t, "samples/token_sha256_v2_cert.der")
	expect(t, VerifyTSTSignature(token, file(t, "samples/certificate_tsa.der")), OK)
	expect(t, VerifyTSTSignature(token, file(t, "samples/certificate_root.der")), ErrSignature)
	expect(t, VerifyTSTSignature(token, []byte{0}), ErrArg)
}

func TestEmptyCertificateTrustsNobody(t *testing.T) {
	token := file(t, "samples/token_sha256_v2_cert.der")
	for _, none := range [][]byte{nil, {}} {
		if err := VerifyTSTSignature(token, none); err == nil || !strings.Contains(err.Error(), "empty") {
			t.Errorf("%v", err)
		}
	}
}

func TestAttributeCertificatesAreFoundAndMatched(t *testing.T) {
	full, other := file(t, "bouncycastle/tac_full.der"), file(t, "bouncycastle/tac_digest.der")
	found := 0
	for _, sample := range records(t, "token", 37) {
		if sample["Tac"] == "none" || sample["Version"] != "2" || sample["Protection"] == "yes" {
			continue
		}
		token := file(t, "bouncycastle/"+sample["Name"])
		tac, err := GetTSTTimeAttributeCert(token)
		if err != nil || !bytes.Equal(tac, full) {
			t.Errorf("%s: %v", sample["Name"], err)
		}
		expect(t, CheckTACMatchesTST(full, token), OK)
		expect(t, CheckTACMatchesTST(other, token), ErrMismatch)
		bare, err := RemoveAttrCerts(token)
		expect(t, err, OK)
		untagged := full[1:] // in the certificate set it has another tag
		if bytes.Contains(bare, untagged) || !bytes.Contains(token, untagged) {
			t.Errorf("%s: the certificate stays", sample["Name"])
		}
		expect(t, VerifyTSTSignatureOfAnySigner(bare), OK)
		found++
	}
	if found == 0 {
		t.Error("no sample has one")
	}
	_, err := GetTSTTimeAttributeCert(file(t, "samples/token_sha256_v2_cert.der"))
	expect(t, err, ErrNoTac)
}

func TestAttributeCertificatesReadAsTheirMakerWroteThem(t *testing.T) {
	for _, sample := range records(t, "tac", 6) {
		tac := file(t, "bouncycastle/"+sample["Name"])
		info, err := GetTACCertInfoEx(tac)
		if sample["Says"] == "role" { // an attribute that the library does not know
			expect(t, err, ErrDecode)
			continue
		}
		expect(t, err, OK)
		issuer := "C=SE;O=Example Trust;CN=Example TSA " + sample["Key"]
		if info.IssuerName != issuer || hex.EncodeToString(info.SerialNumber) != sample["Serial"] ||
			hex.EncodeToString(info.SignatureValue) != sample["Signature"] || info.SignatureAlgorithm != sample["Algorithm"] ||
			info.NotBefore != "20240101000000Z" || info.NotAfter != "20440101000000Z" || info.Version != 1 {
			t.Errorf("%s: %+v", sample["Name"], info)
		}
		if short, _ := GetTACCertInfo(tac); len(sample["Serial"]) <= 16 && short.IssuerName != issuer {
			t.Errorf("%s: %+v", sample["Name"], short)
		}
		// What Samples.java puts in.
		metrics, err := GetTACTimingMetricsEx(tac)
		expect(t, err, OK)
		if metrics != (TimingMetricsEx{"20240101000000Z", -0.25, 1.5, "20250101000000Z", 1, "20170101000000Z"}) {
			t.Errorf("%s: %+v", sample["Name"], metrics)
		}
		short, err := GetTACTimingMetrics(tac)
		expect(t, err, OK)
		if short != (TimingMetrics{"20240101000000Z", -0.25, 1.5, "20250101000000Z"}) {
			t.Errorf("%s: %+v", sample["Name"], short)
		}
		policy, err := GetTACTimingPolicy(tac)
		expect(t, err, OK)
		if policy != (TimingPolicy{"1.3.6.1.4.1.32473.2", 2, 0.125}) {
			t.Errorf("%s: %+v", sample["Name"], policy)
		}
	}
}

func TestTokenTypedAsPlainDataHasTheSameContent(t *testing.T) {
	token := file(t, "samples/token_sha256_v2_cert.der")
	data, err := TSTInfoToIDData(token)
	expect(t, err, OK)
	content := sha256.Sum256([]byte("the data to be stamped\n"))
	if !bytes.Contains(data, unhex(t, "06092a864886f70d010701")) || !bytes.Contains(data, content[:]) {
		t.Error("id-data or the imprint is missing")
	}
	expect(t, VerifyTSTSignatureOfAnySigner(data), OK)
}

func TestManyGoroutinesGetTheirOwnResults(t *testing.T) {
	token, certificate := file(t, "samples/token_sha256_v2_cert.der"), file(t, "samples/certificate_tsa.der")
	damaged := append([]byte(nil), token...)
	damaged[len(damaged)-1] ^= 1
	var all sync.WaitGroup
	for i := 0; i < 8; i++ {
		all.Add(1)
		go func() {
			defer all.Done()
			for n := 0; n < 100; n++ {
				expect(t, VerifyTSTSignature(token, certificate), OK)
				expect(t, VerifyTSTSignature(damaged, certificate), ErrSignature)
			}
		}()
	}
	all.Wait()
}
