package lib

import (
	"bytes"
	"encoding/binary"
	"errors"
	"fmt"
	"reflect"
	"strings"
	"testing"
)

// RFC 3161, 2.4.1 in DER: version 1, SHA-256 of `imprint` without parameters, nonce 0x07, certReq.
const imprint = "00112233445566778899aabbccddeeff00112233445566778899aabbccddeeff"
const request = "303a020101302f300b060960864801650304020104 20" + imprint + "0201070101ff"

func TestRequestIsThatOfTheStandard(t *testing.T) {
	given := TsqDataEx{HashAlgorithm: sha256Name, HashedMessage: unhex(t, imprint), Nonce: []byte{7}, CertReq: 1}
	der := unhex(t, request)
	head := fmt.Sprintf("Content-Length:   %d\r\n", len(der))
	for _, row := range []struct {
		transport Transport
		before    func([]byte) bool
		length    int
	}{
		{TransportRaw, func(head []byte) bool { return true }, 0},
		{TransportSocket, func(head []byte) bool { return bytes.Equal(head, []byte{0, 0, 0, byte(len(der) + 1), 0}) }, 5},
		{TransportHttp, func(all []byte) bool {
			return bytes.HasPrefix(all, []byte("POST ")) && bytes.Contains(all, []byte(head))
		}, 117},
	} {
		out, err := EncodeTSQEx(given, row.transport)
		expect(t, err, OK)
		if len(out) < row.length || !row.before(out[:row.length]) || !bytes.Equal(out[row.length:], der) {
			t.Errorf("transport %d: %q", row.transport, out)
		}
		short, err := EncodeTSQ(TsqData{HashAlgorithm: sha256Name, HashedMessage: given.HashedMessage, Nonce: 7, CertReq: 1},
			row.transport)
		if err != nil || !bytes.Equal(short, out) {
			t.Errorf("short record: %v", err)
		}
		read, err := DecodeTSQEx(out)
		expect(t, err, OK)
		given.HashedMessageLength, given.NonceLength, given.CertReq = 32, 1, read.CertReq
		if !reflect.DeepEqual(read, given) || read.CertReq == 0 {
			t.Errorf("%+v", read)
		}
	}
	_, err := EncodeTSQEx(given, TransportReserved)
	expect(t, err, ErrUnsupported)
	if _, err = EncodeTSQEx(given, 4); err == nil {
		t.Error("transport 4 is taken")
	}
}

func TestLongNonceOfTheShortRecordIsReportedWithTheRecord(t *testing.T) {
	out, err := EncodeTSQEx(TsqDataEx{HashAlgorithm: sha256Name, HashedMessage: unhex(t, imprint), Nonce: make([]byte, 40)}, TransportRaw)
	expect(t, err, OK)
	read, err := DecodeTSQ(out)
	expect(t, err, ErrSize)
	if read.HashAlgorithm != sha256Name || !bytes.Equal(read.HashedMessage, unhex(t, imprint)) {
		t.Errorf("%+v", read)
	}
}

func TestValuesThatDoNotFitAreNamed(t *testing.T) {
	for _, row := range []struct {
		request TsqDataEx
		name    string
	}{
		{TsqDataEx{HashedMessage: make([]byte, 129)}, "HashedMessage"},
		{TsqDataEx{Nonce: make([]byte, 41)}, "Nonce"},
		{TsqDataEx{HashAlgorithm: strings.Repeat("1", 128)}, "HashAlgorithm"},
		{TsqDataEx{ReqPolicy: "1.2\x003"}, "ReqPolicy"},
	} {
		if _, err := EncodeTSQEx(row.request, TransportRaw); err == nil || !strings.Contains(err.Error(), row.name) {
			t.Errorf("%v, where %s does not fit", err, row.name)
		}
	}
}

func TestMessagesOfOtherKindsDoNotDecode(t *testing.T) {
	for _, octets := range [][]byte{nil, {}, {0x30}, file(t, "samples/certificate_tsa.der")} {
		_, err := DecodeTSQEx(octets)
		expect(t, err, ErrDecode)
		_, err = GetTSRStatus(octets)
		expect(t, err, ErrDecode)
		_, err = GetTSREncodedToken(octets)
		expect(t, err, ErrDecode)
		_, err = GetTSTTSTInfoEx(octets)
		expect(t, err, ErrDecode)
		expect(t, VerifyTSTSignatureOfAnySigner(octets), ErrBadToken)
	}
}

func TestReplyIsUnpackedAndRead(t *testing.T) {
	reply := file(t, "samples/reply_sha256_v2_cert.der")
	framed := append(binary.BigEndian.AppendUint32(nil, uint32(len(reply)+1)), 5)
	framed = append(framed, reply...)
	before := append([]byte(nil), framed...)
	bare, flag, err := UnpackTSR(framed, TransportSocket)
	if err != nil || flag != 5 || !bytes.Equal(bare, reply) || !bytes.Equal(framed, before) {
		t.Errorf("%d, %v", flag, err)
	}
	head := fmt.Sprintf("HTTP/1.0 200 OK\r\nContent-Type: application/timestamp-reply\r\nContent-Length: %d\r\n\r\n", len(reply))
	bare, status, err := UnpackTSR(append([]byte(head), reply...), TransportHttp)
	if err != nil || status != 200 || !bytes.Equal(bare, reply) {
		t.Errorf("%d, %v", status, err)
	}
	granted, err := GetTSRStatus(bare)
	if err != nil || granted.Status != 0 {
		t.Errorf("%+v, %v", granted, err)
	}
	token, err := GetTSREncodedToken(bare)
	if err != nil || !bytes.Equal(token, file(t, "samples/token_sha256_v2_cert.der")) { // openssl took that one out
		t.Error(err)
	}
}

func TestIncompleteAndRefusedFramesSayHowTheyGoOn(t *testing.T) {
	var failed *Error
	_, _, err := UnpackTSR([]byte{0, 0, 0, 10, 5, 0x30}, TransportSocket)
	if !errors.As(err, &failed) || failed.Code != ErrLength || failed.Announced != 14 {
		t.Errorf("%v", err)
	}
	_, _, err = UnpackTSR([]byte{0, 0, 0, 2, 3, 0x30}, TransportSocket)
	if !errors.As(err, &failed) || failed.Code != ErrFraming || failed.TransportStatus != 3 {
		t.Errorf("%v", err)
	}
	_, _, err = UnpackTSR([]byte("HTTP/1.0 404 No\r\nContent-Type: application/timestamp-reply\r\n\r\nx"), TransportHttp)
	if !errors.As(err, &failed) || failed.Code != ErrFraming || failed.TransportStatus != 404 {
		t.Errorf("%v", err)
	}
	_, _, err = UnpackTSR(nil, TransportSocket)
	expect(t, err, ErrArg)
}

func TestRejectionIsReadFromBothMakers(t *testing.T) {
	for _, name := range []string{"samples/reply_rejected.der", "bouncycastle/reply_rejected.der"} {
		status, err := GetTSRStatus(file(t, name))
		if err != nil || status.Status != 2 || status.StatusText == "" {
			t.Errorf("%+v, %v", status, err)
		}
		_, err = GetTSREncodedToken(file(t, name))
		expect(t, err, ErrRejected)
	}
}

func TestErrorSaysFunctionTextCodeAndPlace(t *testing.T) {
	_, err := GetTSRStatus([]byte{0x31, 0})
	last, _ := GetLastAsnError()
	expected := fmt.Sprintf("QEX_GetTSR_Status: the input does not decode or lacks the expected structure "+
		"(QEX_E_DECODE, code -6, ASN.1 error %d)", last)
	if last >= 0 || err == nil || err.Error() != expected {
		t.Errorf("%v, not %s", err, expected)
	}
	if errors.Is(err, ErrArg) || !errors.Is(err, ErrDecode) {
		t.Error("errors.Is tells the codes apart")
	}
}

func TestOutputGrowsToTheLengthThatTheCallNames(t *testing.T) {
	var asked []uint32
	out, err := output("QEX_RemoveAttrCerts", 2, nil, func(out *byte, outLength *uint32, _ uint32) int32 {
		asked = append(asked, *outLength)
		if *outLength < 300 {
			*outLength = 300
			return int32(ErrSize)
		}
		*outLength = 299
		return int32(OK)
	})
	if err != nil || len(out) != 299 || !reflect.DeepEqual(asked, []uint32{2, 300}) {
		t.Errorf("%d octets after %v, %v", len(out), asked, err)
	}
}
