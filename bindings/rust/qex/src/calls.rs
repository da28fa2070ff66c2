//! The functions of the C interface.

use crate::error::{Error, ResultError};
use crate::interface::{
    Code, Record, TacInfo, TacInfoEx, TimingMetrics, TimingMetricsEx, TimingPolicy, Transport, TsqData, TsqDataEx, TsrStatus,
    TstInfo, TstInfoEx,
};
use qex_sys::{self as sys, library, Functions};

/// Turns the result of a function into an error.
fn check(function: &'static str, code: i32) -> Result<(), Error> {
    match Code::from_number(code) {
        Some(Code::Ok) => Ok(()),
        Some(code) => Err(Error::Result(ResultError {
            code,
            function,
            asn1_error: library()?.QEX_GetLastAsnError(),
            record: None,
            announced: None,
            transport_status: None,
        })),
        None => Err(Error::Library(format!(
            "{function} returned {code}, which this crate does not know; install its newer version"
        ))),
    }
}

/// Refuses input whose length the C interface cannot say.
fn fits(octets: &[u8]) -> Result<(), Error> {
    if u32::try_from(octets.len()).is_err() {
        return Err(Error::Argument(format!("the library takes at most {} octets, not {}", u32::MAX, octets.len())));
    }
    Ok(())
}

/// Calls with a buffer that usually suffices; the library says how long another has to be.
fn output(
    function: &'static str,
    mut room: usize,
    call: impl Fn(&Functions, &mut [u8], &mut u32) -> i32,
) -> Result<Vec<u8>, Error> {
    let functions = library()?;
    loop {
        let (mut out, mut length) = (vec![0; room], 0);
        let code = call(functions, &mut out, &mut length);
        if code == Code::Size as i32 && length as usize > room {
            room = length as usize;
            continue;
        }
        check(function, code)?;
        out.truncate(length as usize);
        return Ok(out);
    }
}

/// The same for what is made of a message.
fn converted(
    function: &'static str,
    message: &[u8],
    call: impl Fn(&Functions, &mut [u8], &mut u32) -> i32,
) -> Result<Vec<u8>, Error> {
    fits(message)?;
    output(function, message.len(), call)
}

/// Reads a record from a message; `size` is the size that the record begins with, or 0.
fn fill<C, R>(
    function: &'static str,
    size: u32,
    mut c: C,
    data: &[u8],
    call: impl Fn(&Functions, &mut C, &[u8]) -> i32,
) -> Result<R, Error>
where
    R: for<'a> From<&'a C> + Into<Record>,
{
    fits(data)?;
    match check(function, call(library()?, &mut c, data)) {
        Ok(()) => Ok(R::from(&c)),
        Err(Error::Result(mut error)) if error.code == Code::Size => {
            error.record = Some(Box::new(R::from(&c).into()));
            Err(Error::Result(error))
        }
        Err(error) => Err(other_size(function, size, error)),
    }
}

/// With pointers and lengths in order, [`Code::Arg`] of a record with a size can only mean that size.
fn other_size(function: &str, size: u32, error: Error) -> Error {
    if size == 0 || error.code() != Some(Code::Arg) {
        return error;
    }
    Error::Library(format!(
        "{function} expects another size of its record than the {size} octets of this crate; install library and crate of \
         one version"
    ))
}

/// `QEX_GetLastAsnError`: the code of the last decoding or encoding in this process, by whatever thread.
pub fn get_last_asn_error() -> Result<i32, Error> {
    Ok(library()?.QEX_GetLastAsnError())
}

/// `QEX_EncodeTSQ_Ex`: the request, framed for `transport`.
pub fn encode_tsq_ex(request: &TsqDataEx, transport: Transport) -> Result<Vec<u8>, Error> {
    let c = request.to_c()?;
    let call = |f: &Functions, out: &mut [u8], length: &mut u32| f.QEX_EncodeTSQ_Ex(&c, out, length, transport as u32);
    output("QEX_EncodeTSQ_Ex", 1024, call).map_err(|error| other_size("QEX_EncodeTSQ_Ex", c.size, error))
}

/// `QEX_EncodeTSQ`: the same from the short record.
pub fn encode_tsq(request: &TsqData, transport: Transport) -> Result<Vec<u8>, Error> {
    let c = request.to_c()?;
    output("QEX_EncodeTSQ", 1024, |f, out, length| f.QEX_EncodeTSQ(&c, out, length, transport as i32))
}

/// `QEX_DecodeTSQ_Ex`: reads a request, bare or framed.
pub fn decode_tsq_ex(data: &[u8]) -> Result<TsqDataEx, Error> {
    let c = sys::QEX_TSQ_DATA_EX::CLEARED;
    fill("QEX_DecodeTSQ_Ex", c.size, c, data, Functions::QEX_DecodeTSQ_Ex)
}

/// `QEX_DecodeTSQ`: the same into the short record, which holds 40 octets of the hash.
pub fn decode_tsq(data: &[u8]) -> Result<TsqData, Error> {
    fill("QEX_DecodeTSQ", 0, sys::QEX_TSQ_DATA::CLEARED, data, Functions::QEX_DecodeTSQ)
}

/// `QEX_UnpackTSR`: the bare response of a framed reply, and its flag (socket) or HTTP status.
///
/// An incomplete reply is [`Code::Length`] with the length of the whole in [`ResultError::announced`]: read on and call
/// again.
pub fn unpack_tsr(reply: &[u8], transport: Transport) -> Result<(Vec<u8>, u32), Error> {
    fits(reply)?;
    let (mut buffer, mut length, mut status) = (reply.to_vec(), 0, 0);
    let code = library()?.QEX_UnpackTSR(&mut buffer, &mut length, &mut status, transport as i32);
    match check("QEX_UnpackTSR", code) {
        Err(Error::Result(mut error)) => {
            error.announced = (error.code == Code::Length).then(|| length);
            error.transport_status = (error.code == Code::Framing).then(|| status);
            Err(Error::Result(error))
        }
        Err(error) => Err(error),
        Ok(()) => {
            buffer.truncate(length as usize);
            Ok((buffer, status))
        }
    }
}

/// `QEX_GetTSR_Status`: status, text and failure of a bare response.
pub fn get_tsr_status(tsr: &[u8]) -> Result<TsrStatus, Error> {
    fill("QEX_GetTSR_Status", 0, sys::QEX_TSR_STATUS::CLEARED, tsr, Functions::QEX_GetTSR_Status)
}

/// `QEX_GetTSR_EncodedToken`: the token of a bare response that grants the request.
pub fn get_tsr_encoded_token(tsr: &[u8]) -> Result<Vec<u8>, Error> {
    converted("QEX_GetTSR_EncodedToken", tsr, |f, out, length| f.QEX_GetTSR_EncodedToken(out, length, tsr))
}

/// `QEX_GetTST_TSTInfoEx`: what a token says. It verifies nothing.
pub fn get_tst_tstinfo_ex(token: &[u8]) -> Result<TstInfoEx, Error> {
    let c = sys::QEX_TSTINFO_EX::CLEARED;
    fill("QEX_GetTST_TSTInfoEx", c.size, c, token, Functions::QEX_GetTST_TSTInfoEx)
}

/// `QEX_GetTST_TSTInfo`: the same into the short record.
pub fn get_tst_tstinfo(token: &[u8]) -> Result<TstInfo, Error> {
    fill("QEX_GetTST_TSTInfo", 0, sys::QEX_TSTINFO::CLEARED, token, Functions::QEX_GetTST_TSTInfo)
}

/// `QEX_GetTST_TSACert`: the certificate in the token that its signing-certificate attribute names.
pub fn get_tst_tsa_cert(token: &[u8]) -> Result<Vec<u8>, Error> {
    converted("QEX_GetTST_TSACert", token, |f, out, length| f.QEX_GetTST_TSACert(out, length, token))
}

/// `QEX_VerifyTST_Signature`: returns when the key of `certificate`, one that you trust, signed the token.
///
/// `None` accepts any signer whose certificate is in the token. Most authorities send version 2 of the signing-certificate
/// attribute: set `QEX_VERIFY_ESSCERTIDV2=1` (`std::env::set_var`) before the first call for their tokens, as the library
/// reads that switch once in the life of the process.
pub fn verify_tst_signature(token: &[u8], certificate: Option<&[u8]>) -> Result<(), Error> {
    fits(token)?;
    let signer = certificate.unwrap_or(&[]);
    fits(signer)?;
    if certificate.is_some() && signer.is_empty() {
        // The library would take it for no certificate, and so accept any.
        return Err(Error::Argument("the certificate is empty; None accepts any signer".into()));
    }
    check("QEX_VerifyTST_Signature", library()?.QEX_VerifyTST_Signature(token, signer))
}

/// `QEX_TSTInfoToIDData`: the token with its content typed as plain data.
pub fn tstinfo_to_id_data(token: &[u8]) -> Result<Vec<u8>, Error> {
    converted("QEX_TSTInfoToIDData", token, |f, out, length| f.QEX_TSTInfoToIDData(token, out, length))
}

/// `QEX_RemoveAttrCerts`: the token without attribute certificates.
pub fn remove_attr_certs(token: &[u8]) -> Result<Vec<u8>, Error> {
    converted("QEX_RemoveAttrCerts", token, |f, out, length| f.QEX_RemoveAttrCerts(token, out, length))
}

/// `QEX_GetTST_TimeAttributeCert`: the time attribute certificate of a token.
pub fn get_tst_time_attribute_cert(token: &[u8]) -> Result<Vec<u8>, Error> {
    converted("QEX_GetTST_TimeAttributeCert", token, |f, out, length| f.QEX_GetTST_TimeAttributeCert(out, length, token))
}

/// `QEX_CheckTAC_MatchesTST`: returns when the attribute certificate belongs to the token.
pub fn check_tac_matches_tst(tac: &[u8], token: &[u8]) -> Result<(), Error> {
    fits(tac)?;
    fits(token)?;
    check("QEX_CheckTAC_MatchesTST", library()?.QEX_CheckTAC_MatchesTST(tac, token))
}

/// `QEX_GetTAC_CertInfoEx`: holder, issuer, validity and signature of an attribute certificate.
pub fn get_tac_cert_info_ex(tac: &[u8]) -> Result<TacInfoEx, Error> {
    let c = sys::QEX_TACINFO_EX::CLEARED;
    fill("QEX_GetTAC_CertInfoEx", c.size, c, tac, Functions::QEX_GetTAC_CertInfoEx)
}

/// `QEX_GetTAC_CertInfo`: the same into the short record.
pub fn get_tac_cert_info(tac: &[u8]) -> Result<TacInfo, Error> {
    fill("QEX_GetTAC_CertInfo", 0, sys::QEX_TACINFO::CLEARED, tac, Functions::QEX_GetTAC_CertInfo)
}

/// `QEX_GetTAC_TimingMetricsEx`: how good the authority's clock is.
pub fn get_tac_timing_metrics_ex(tac: &[u8]) -> Result<TimingMetricsEx, Error> {
    let c = sys::QEX_TIMING_METRICS_EX::CLEARED;
    fill("QEX_GetTAC_TimingMetricsEx", 0, c, tac, Functions::QEX_GetTAC_TimingMetricsEx)
}

/// `QEX_GetTAC_TimingMetrics`: the same into the short record.
pub fn get_tac_timing_metrics(tac: &[u8]) -> Result<TimingMetrics, Error> {
    fill("QEX_GetTAC_TimingMetrics", 0, sys::QEX_TIMING_METRICS::CLEARED, tac, Functions::QEX_GetTAC_TimingMetrics)
}

/// `QEX_GetTAC_TimingPolicy`: how good the authority says that its clock has to be.
pub fn get_tac_timing_policy(tac: &[u8]) -> Result<TimingPolicy, Error> {
    fill("QEX_GetTAC_TimingPolicy", 0, sys::QEX_TIMING_POLICY::CLEARED, tac, Functions::QEX_GetTAC_TimingPolicy)
}

#[cfg(test)]
mod tests {
    use super::*;

    #[test]
    fn record_of_another_size_is_the_librarys() {
        let mut c = sys::QEX_TSQ_DATA_EX::CLEARED;
        c.size += 1;
        let refused = fill::<_, TsqDataEx>("QEX_DecodeTSQ_Ex", c.size, c, &[0x30, 0], Functions::QEX_DecodeTSQ_Ex);
        assert!(matches!(&refused, Err(Error::Library(text)) if text.contains("another size")), "{refused:?}");
    }

    #[test]
    fn output_grows_to_the_length_that_the_call_names() {
        let out = output("QEX_RemoveAttrCerts", 2, |_, out, length| {
            if out.len() < 300 {
                *length = 300;
                return Code::Size as i32;
            }
            *length = 299;
            0
        });
        assert_eq!(out.map(|out| out.len()), Ok(299));
    }
}
