package lib

import "errors"

// GetTSTTSTInfoEx is QEX_GetTST_TSTInfoEx: what a token says. It verifies nothing.
func GetTSTTSTInfoEx(token []byte) (TstInfoEx, error) {
	c := newTstInfoEx()
	err := fill("QEX_GetTST_TSTInfoEx", c, c.size, token, callGetTSTTSTInfoEx)
	return c.record(), err
}

// GetTSTTSTInfo is QEX_GetTST_TSTInfo: the same into the short record.
func GetTSTTSTInfo(token []byte) (TstInfo, error) {
	c := newTstInfo()
	err := fill("QEX_GetTST_TSTInfo", c, 0, token, callGetTSTTSTInfo)
	return c.record(), err
}

// GetTSTTSACert is QEX_GetTST_TSACert: the certificate in the token that its signing-certificate attribute names.
func GetTSTTSACert(token []byte) ([]byte, error) {
	return output("QEX_GetTST_TSACert", len(token), token, func(out *byte, outLength *uint32, inLength uint32) int32 {
		return callGetTSTTSACert(out, outLength, pointer(token), inLength)
	})
}

// VerifyTSTSignature is QEX_VerifyTST_Signature: nil when the key of the certificate, one that you trust, signed the token.
//
// Most authorities send version 2 of the signing-certificate attribute. Call os.Setenv("QEX_VERIFY_ESSCERTIDV2", "1")
// before the first call for their tokens: the library reads that switch once in the life of the process.
func VerifyTSTSignature(token, certificate []byte) error {
	if len(certificate) == 0 {
		// The library would take it for no certificate, and so accept any.
		return errors.New("qex: the certificate is empty; VerifyTSTSignatureOfAnySigner accepts any")
	}
	return verify(token, certificate)
}

// VerifyTSTSignatureOfAnySigner is QEX_VerifyTST_Signature without a certificate: nil when one of the token's own signed it.
// That says only that the token is consistent in itself.
func VerifyTSTSignatureOfAnySigner(token []byte) error { return verify(token, nil) }

func verify(token, certificate []byte) error {
	if err := load(); err != nil {
		return err
	}
	tokenLength, err := length(token)
	if err != nil {
		return err
	}
	certificateLength, err := length(certificate)
	if err != nil {
		return err
	}
	return check("QEX_VerifyTST_Signature",
		callVerifyTSTSignature(pointer(token), tokenLength, pointer(certificate), certificateLength))
}

// TSTInfoToIDData is QEX_TSTInfoToIDData: the token with its content typed as plain data.
func TSTInfoToIDData(token []byte) ([]byte, error) {
	return output("QEX_TSTInfoToIDData", len(token), token, func(out *byte, outLength *uint32, inLength uint32) int32 {
		return callTSTInfoToIDData(pointer(token), inLength, out, outLength)
	})
}

// RemoveAttrCerts is QEX_RemoveAttrCerts: the token without attribute certificates.
func RemoveAttrCerts(token []byte) ([]byte, error) {
	return output("QEX_RemoveAttrCerts", len(token), token, func(out *byte, outLength *uint32, inLength uint32) int32 {
		return callRemoveAttrCerts(pointer(token), inLength, out, outLength)
	})
}

// GetTSTTimeAttributeCert is QEX_GetTST_TimeAttributeCert: the time attribute certificate of a token.
func GetTSTTimeAttributeCert(token []byte) ([]byte, error) {
	return output("QEX_GetTST_TimeAttributeCert", len(token), token,
		func(out *byte, outLength *uint32, inLength uint32) int32 {
			return callGetTSTTimeAttributeCert(out, outLength, pointer(token), inLength)
		})
}

// CheckTACMatchesTST is QEX_CheckTAC_MatchesTST: nil when the attribute certificate belongs to the token.
func CheckTACMatchesTST(tac, token []byte) error {
	if err := load(); err != nil {
		return err
	}
	tacLength, err := length(tac)
	if err != nil {
		return err
	}
	tokenLength, err := length(token)
	if err != nil {
		return err
	}
	return check("QEX_CheckTAC_MatchesTST", callCheckTACMatchesTST(pointer(tac), tacLength, pointer(token), tokenLength))
}

// GetTACCertInfoEx is QEX_GetTAC_CertInfoEx: holder, issuer, validity and signature of an attribute certificate.
func GetTACCertInfoEx(tac []byte) (TacInfoEx, error) {
	c := newTacInfoEx()
	err := fill("QEX_GetTAC_CertInfoEx", c, c.size, tac, callGetTACCertInfoEx)
	return c.record(), err
}

// GetTACCertInfo is QEX_GetTAC_CertInfo: the same into the short record.
func GetTACCertInfo(tac []byte) (TacInfo, error) {
	c := newTacInfo()
	err := fill("QEX_GetTAC_CertInfo", c, 0, tac, callGetTACCertInfo)
	return c.record(), err
}

// GetTACTimingMetricsEx is QEX_GetTAC_TimingMetricsEx: how good the authority's clock is.
func GetTACTimingMetricsEx(tac []byte) (TimingMetricsEx, error) {
	c := newTimingMetricsEx()
	err := fill("QEX_GetTAC_TimingMetricsEx", c, 0, tac, callGetTACTimingMetricsEx)
	return c.record(), err
}

// GetTACTimingMetrics is QEX_GetTAC_TimingMetrics: the same into the short record.
func GetTACTimingMetrics(tac []byte) (TimingMetrics, error) {
	c := newTimingMetrics()
	err := fill("QEX_GetTAC_TimingMetrics", c, 0, tac, callGetTACTimingMetrics)
	return c.record(), err
}

// GetTACTimingPolicy is QEX_GetTAC_TimingPolicy: how good the authority says that its clock has to be.
func GetTACTimingPolicy(tac []byte) (TimingPolicy, error) {
	c := newTimingPolicy()
	err := fill("QEX_GetTAC_TimingPolicy", c, 0, tac, callGetTACTimingPolicy)
	return c.record(), err
}
