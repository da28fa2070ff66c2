// Written by scripts/bindings.py from bindings/interface.json; do not edit.
#![allow(missing_docs)]

use crate::error::Error;
use crate::record::{number, octets, put_octets, put_text, text, u64_of};
use qex_sys as sys;

/// A result code of the C interface.
#[derive(Clone, Copy, Debug, Eq, Hash, PartialEq)]
pub enum Code {
    /// `QEX_OK`: success
    Ok = 0,
    /// `QEX_E_ARG`: bad argument
    Arg = -1,
    /// `QEX_E_NOMEM`: out of memory, or a number too large
    NoMem = -2,
    /// `QEX_E_SIZE`: does not fit the output buffer or a field of the record
    Size = -3,
    /// `QEX_E_MISSING`: a needed element is absent
    Missing = -5,
    /// `QEX_E_DECODE`: the input does not decode or lacks the expected structure
    Decode = -6,
    /// `QEX_E_BADTOKEN`: not a usable time-stamp token
    BadToken = -7,
    /// `QEX_E_SIGNATURE`: the signature does not verify
    Signature = -8,
    /// `QEX_E_REJECTED`: the authority did not grant the request
    Rejected = -9,
    /// `QEX_E_NOTOKEN`: the response carries no token
    NoToken = -10,
    /// `QEX_E_LENGTH`: the framing announces another length
    Length = -11,
    /// `QEX_E_FRAMING`: the transport framing is not acceptable
    Framing = -12,
    /// `QEX_E_UNSUPPORTED`: algorithm or transport mode not supported
    Unsupported = -13,
    /// `QEX_E_NOCERT`: no certificate of the token matches its signing-certificate attribute
    NoCert = -14,
    /// `QEX_E_NOTAC`: the token carries no time attribute certificate
    NoTac = -15,
    /// `QEX_E_MISMATCH`: the certificate is not the one that the token names
    Mismatch = -16,
    /// `QEX_E_NOPOLICY`: the time attribute certificate has no timing policy
    NoPolicy = -17,
}

impl Code {
    /// The code of that number.
    #[must_use]
    pub fn from_number(number: i32) -> Option<Self> {
        match number {
            0 => Some(Self::Ok),
            -1 => Some(Self::Arg),
            -2 => Some(Self::NoMem),
            -3 => Some(Self::Size),
            -5 => Some(Self::Missing),
            -6 => Some(Self::Decode),
            -7 => Some(Self::BadToken),
            -8 => Some(Self::Signature),
            -9 => Some(Self::Rejected),
            -10 => Some(Self::NoToken),
            -11 => Some(Self::Length),
            -12 => Some(Self::Framing),
            -13 => Some(Self::Unsupported),
            -14 => Some(Self::NoCert),
            -15 => Some(Self::NoTac),
            -16 => Some(Self::Mismatch),
            -17 => Some(Self::NoPolicy),
            _ => None,
        }
    }

    /// Its name in C.
    #[must_use]
    pub fn name(self) -> &'static str {
        match self {
            Self::Ok => "QEX_OK",
            Self::Arg => "QEX_E_ARG",
            Self::NoMem => "QEX_E_NOMEM",
            Self::Size => "QEX_E_SIZE",
            Self::Missing => "QEX_E_MISSING",
            Self::Decode => "QEX_E_DECODE",
            Self::BadToken => "QEX_E_BADTOKEN",
            Self::Signature => "QEX_E_SIGNATURE",
            Self::Rejected => "QEX_E_REJECTED",
            Self::NoToken => "QEX_E_NOTOKEN",
            Self::Length => "QEX_E_LENGTH",
            Self::Framing => "QEX_E_FRAMING",
            Self::Unsupported => "QEX_E_UNSUPPORTED",
            Self::NoCert => "QEX_E_NOCERT",
            Self::NoTac => "QEX_E_NOTAC",
            Self::Mismatch => "QEX_E_MISMATCH",
            Self::NoPolicy => "QEX_E_NOPOLICY",
        }
    }

    /// The library's text for it.
    #[must_use]
    pub fn text(self) -> &'static str {
        match self {
            Self::Ok => "success",
            Self::Arg => "bad argument",
            Self::NoMem => "out of memory, or a number too large",
            Self::Size => "does not fit the output buffer or a field of the record",
            Self::Missing => "a needed element is absent",
            Self::Decode => "the input does not decode or lacks the expected structure",
            Self::BadToken => "not a usable time-stamp token",
            Self::Signature => "the signature does not verify",
            Self::Rejected => "the authority did not grant the request",
            Self::NoToken => "the response carries no token",
            Self::Length => "the framing announces another length",
            Self::Framing => "the transport framing is not acceptable",
            Self::Unsupported => "algorithm or transport mode not supported",
            Self::NoCert => "no certificate of the token matches its signing-certificate attribute",
            Self::NoTac => "the token carries no time attribute certificate",
            Self::Mismatch => "the certificate is not the one that the token names",
            Self::NoPolicy => "the time attribute certificate has no timing policy",
        }
    }
}

/// How a message is framed for transport.
#[derive(Clone, Copy, Debug, Eq, Hash, PartialEq)]
pub enum Transport {
    Raw = 0,
    Socket = 1,
    Http = 2,
    Reserved = 3,
}

/// A record of any kind.
#[derive(Clone, Debug, PartialEq)]
#[non_exhaustive]
pub enum Record {
    TsqDataEx(TsqDataEx),
    TsqData(TsqData),
    TsrStatus(TsrStatus),
    TstInfoEx(TstInfoEx),
    TstInfo(TstInfo),
    TacInfoEx(TacInfoEx),
    TacInfo(TacInfo),
    TimingMetricsEx(TimingMetricsEx),
    TimingMetrics(TimingMetrics),
    TimingPolicy(TimingPolicy),
}

/// `QEX_TSQ_DATA_EX`: a time-stamp request (RFC 3161, 2.4.1).
#[derive(Clone, Debug, Default, PartialEq)]
pub struct TsqDataEx {
    pub hash_algorithm: String,
    pub hashed_message: Vec<u8>,
    pub hashed_message_length: u32,
    pub req_policy: String,
    pub nonce: Vec<u8>,
    pub nonce_length: u32,
    pub cert_req: u32,
}

impl From<&sys::QEX_TSQ_DATA_EX> for TsqDataEx {
    fn from(c: &sys::QEX_TSQ_DATA_EX) -> Self {
        Self {
            hash_algorithm: text(&c.hashAlgorithm),
            hashed_message: octets(&c.hashedMessage, i64::from(c.hashedMessageLength)),
            hashed_message_length: c.hashedMessageLength,
            req_policy: text(&c.reqPolicy),
            nonce: octets(&c.nonce, i64::from(c.nonceLength)),
            nonce_length: c.nonceLength,
            cert_req: c.certReq,
        }
    }
}

impl From<TsqDataEx> for Record {
    fn from(record: TsqDataEx) -> Self {
        Self::TsqDataEx(record)
    }
}

impl TsqDataEx {
    pub(crate) fn to_c(&self) -> Result<sys::QEX_TSQ_DATA_EX, Error> {
        let mut c = sys::QEX_TSQ_DATA_EX::CLEARED;
        put_text("hash_algorithm", &mut c.hashAlgorithm, &self.hash_algorithm)?;
        c.hashedMessageLength = put_octets("hashed_message", &mut c.hashedMessage, &self.hashed_message)?;
        put_text("req_policy", &mut c.reqPolicy, &self.req_policy)?;
        c.nonceLength = put_octets("nonce", &mut c.nonce, &self.nonce)?;
        c.certReq = self.cert_req;
        Ok(c)
    }
}

/// `QEX_TSQ_DATA`: a time-stamp request, short form.
#[derive(Clone, Debug, Default, PartialEq)]
pub struct TsqData {
    pub hash_algorithm: String,
    pub hashed_message: Vec<u8>,
    pub hashed_message_length: u32,
    pub req_policy: String,
    pub nonce: u64,
    pub cert_req: u32,
}

impl From<&sys::QEX_TSQ_DATA> for TsqData {
    fn from(c: &sys::QEX_TSQ_DATA) -> Self {
        Self {
            hash_algorithm: text(&c.hashAlgorithm),
            hashed_message: octets(&c.hashedMessage, i64::from(c.hashedMessageLength)),
            hashed_message_length: c.hashedMessageLength,
            req_policy: text(&c.reqPolicy),
            nonce: number(c.nonce),
            cert_req: c.certReq,
        }
    }
}

impl From<TsqData> for Record {
    fn from(record: TsqData) -> Self {
        Self::TsqData(record)
    }
}

impl TsqData {
    pub(crate) fn to_c(&self) -> Result<sys::QEX_TSQ_DATA, Error> {
        let mut c = sys::QEX_TSQ_DATA::CLEARED;
        put_text("hash_algorithm", &mut c.hashAlgorithm, &self.hash_algorithm)?;
        c.hashedMessageLength = put_octets("hashed_message", &mut c.hashedMessage, &self.hashed_message)?;
        put_text("req_policy", &mut c.reqPolicy, &self.req_policy)?;
        c.nonce = u64_of(self.nonce);
        c.certReq = self.cert_req;
        Ok(c)
    }
}

/// `QEX_TSR_STATUS`: the status of a response (RFC 3161, 2.4.2).
#[derive(Clone, Debug, Default, PartialEq)]
pub struct TsrStatus {
    pub status: i32,
    pub status_text: String,
    pub fail_info: u32,
}

impl From<&sys::QEX_TSR_STATUS> for TsrStatus {
    fn from(c: &sys::QEX_TSR_STATUS) -> Self {
        Self {
            status: c.status,
            status_text: text(&c.statusText),
            fail_info: c.failInfo,
        }
    }
}

impl From<TsrStatus> for Record {
    fn from(record: TsrStatus) -> Self {
        Self::TsrStatus(record)
    }
}

/// `QEX_TSTINFO_EX`: the content of a time-stamp token (RFC 3161, 2.4.2, TSTInfo).
#[derive(Clone, Debug, Default, PartialEq)]
pub struct TstInfoEx {
    pub version: u32,
    pub policy: String,
    pub hash_algorithm: String,
    pub hashed_message: Vec<u8>,
    pub hashed_message_length: u32,
    pub serial_number: Vec<u8>,
    pub serial_number_length: u32,
    pub gen_time: String,
    pub accuracy_seconds: u32,
    pub accuracy_millis: u32,
    pub accuracy_micros: u32,
    pub ordering: u32,
    pub nonce: Vec<u8>,
    pub nonce_length: u32,
    pub tsa_name: String,
}

impl From<&sys::QEX_TSTINFO_EX> for TstInfoEx {
    fn from(c: &sys::QEX_TSTINFO_EX) -> Self {
        Self {
            version: c.version,
            policy: text(&c.policy),
            hash_algorithm: text(&c.hashAlgorithm),
            hashed_message: octets(&c.hashedMessage, i64::from(c.hashedMessageLength)),
            hashed_message_length: c.hashedMessageLength,
            serial_number: octets(&c.serialNumber, i64::from(c.serialNumberLength)),
            serial_number_length: c.serialNumberLength,
            gen_time: text(&c.genTime),
            accuracy_seconds: c.accuracySeconds,
            accuracy_millis: c.accuracyMillis,
            accuracy_micros: c.accuracyMicros,
            ordering: c.ordering,
            nonce: octets(&c.nonce, i64::from(c.nonceLength)),
            nonce_length: c.nonceLength,
            tsa_name: text(&c.tsaName),
        }
    }
}

impl From<TstInfoEx> for Record {
    fn from(record: TstInfoEx) -> Self {
        Self::TstInfoEx(record)
    }
}

/// `QEX_TSTINFO`: the content of a time-stamp token, short form.
#[derive(Clone, Debug, Default, PartialEq)]
pub struct TstInfo {
    pub version: u32,
    pub policy: String,
    pub hash_algorithm: String,
    pub hashed_message: Vec<u8>,
    pub hashed_message_length: u32,
    pub serial_number: u64,
    pub gen_time: String,
    pub accuracy_seconds: u32,
    pub accuracy_millis: u32,
    pub accuracy_micros: u32,
    pub ordering: u32,
    pub nonce: u64,
    pub tsa_name: String,
}

impl From<&sys::QEX_TSTINFO> for TstInfo {
    fn from(c: &sys::QEX_TSTINFO) -> Self {
        Self {
            version: c.version,
            policy: text(&c.policy),
            hash_algorithm: text(&c.hashAlgorithm),
            hashed_message: octets(&c.hashedMessage, i64::from(c.hashedMessageLength)),
            hashed_message_length: c.hashedMessageLength,
            serial_number: number(c.serialNumber),
            gen_time: text(&c.genTime),
            accuracy_seconds: c.accuracySeconds,
            accuracy_millis: c.accuracyMillis,
            accuracy_micros: c.accuracyMicros,
            ordering: c.ordering,
            nonce: number(c.nonce),
            tsa_name: text(&c.tsaName),
        }
    }
}

impl From<TstInfo> for Record {
    fn from(record: TstInfo) -> Self {
        Self::TstInfo(record)
    }
}

/// `QEX_TACINFO_EX`: holder, issuer and signature of a time attribute certificate (RFC 3281, 4.1).
#[derive(Clone, Debug, Default, PartialEq)]
pub struct TacInfoEx {
    pub version: i32,
    pub holder_name: String,
    pub digest_algorithm: String,
    pub object_digest: Vec<u8>,
    pub object_digest_len: i32,
    pub issuer_name: String,
    pub serial_number: Vec<u8>,
    pub serial_number_len: i32,
    pub not_before: String,
    pub not_after: String,
    pub signature_algorithm: String,
    pub signature_value: Vec<u8>,
    pub signature_value_len: i32,
}

impl From<&sys::QEX_TACINFO_EX> for TacInfoEx {
    fn from(c: &sys::QEX_TACINFO_EX) -> Self {
        Self {
            version: c.version,
            holder_name: text(&c.holderName),
            digest_algorithm: text(&c.digestAlgorithm),
            object_digest: octets(&c.objectDigest, i64::from(c.objectDigestLen)),
            object_digest_len: c.objectDigestLen,
            issuer_name: text(&c.issuerName),
            serial_number: octets(&c.serialNumber, i64::from(c.serialNumberLen)),
            serial_number_len: c.serialNumberLen,
            not_before: text(&c.notBefore),
            not_after: text(&c.notAfter),
            signature_algorithm: text(&c.signatureAlgorithm),
            signature_value: octets(&c.signatureValue, i64::from(c.signatureValueLen)),
            signature_value_len: c.signatureValueLen,
        }
    }
}

impl From<TacInfoEx> for Record {
    fn from(record: TacInfoEx) -> Self {
        Self::TacInfoEx(record)
    }
}

/// `QEX_TACINFO`: holder, issuer and signature of a time attribute certificate, short form.
#[derive(Clone, Debug, Default, PartialEq)]
pub struct TacInfo {
    pub version: i32,
    pub holder_name: String,
    pub digest_algorithm: String,
    pub object_digest: Vec<u8>,
    pub object_digest_len: i32,
    pub issuer_name: String,
    pub serial_number: u64,
    pub not_before: String,
    pub not_after: String,
    pub signature_algorithm: String,
    pub signature_value: Vec<u8>,
    pub signature_value_len: i32,
}

impl From<&sys::QEX_TACINFO> for TacInfo {
    fn from(c: &sys::QEX_TACINFO) -> Self {
        Self {
            version: c.version,
            holder_name: text(&c.holderName),
            digest_algorithm: text(&c.digestAlgorithm),
            object_digest: octets(&c.objectDigest, i64::from(c.objectDigestLen)),
            object_digest_len: c.objectDigestLen,
            issuer_name: text(&c.issuerName),
            serial_number: number(c.serialNumber),
            not_before: text(&c.notBefore),
            not_after: text(&c.notAfter),
            signature_algorithm: text(&c.signatureAlgorithm),
            signature_value: octets(&c.signatureValue, i64::from(c.signatureValueLen)),
            signature_value_len: c.signatureValueLen,
        }
    }
}

impl From<TacInfo> for Record {
    fn from(record: TacInfo) -> Self {
        Self::TacInfo(record)
    }
}

/// `QEX_TIMING_METRICS_EX`: the authority's timing metrics. Times are UTC, YYYYMMDDhhmmssZ; durations are in seconds.
#[derive(Clone, Debug, Default, PartialEq)]
pub struct TimingMetricsEx {
    pub ntp_time: String,
    pub offset: f32,
    pub delay: f32,
    pub expiration: String,
    pub leap_action: i32,
    pub leap_time: String,
}

impl From<&sys::QEX_TIMING_METRICS_EX> for TimingMetricsEx {
    fn from(c: &sys::QEX_TIMING_METRICS_EX) -> Self {
        Self {
            ntp_time: text(&c.ntpTime),
            offset: c.offset,
            delay: c.delay,
            expiration: text(&c.expiration),
            leap_action: c.leapAction,
            leap_time: text(&c.leapTime),
        }
    }
}

impl From<TimingMetricsEx> for Record {
    fn from(record: TimingMetricsEx) -> Self {
        Self::TimingMetricsEx(record)
    }
}

/// `QEX_TIMING_METRICS`: the authority's timing metrics without the leap event.
#[derive(Clone, Debug, Default, PartialEq)]
pub struct TimingMetrics {
    pub ntp_time: String,
    pub offset: f32,
    pub delay: f32,
    pub expiration: String,
}

impl From<&sys::QEX_TIMING_METRICS> for TimingMetrics {
    fn from(c: &sys::QEX_TIMING_METRICS) -> Self {
        Self {
            ntp_time: text(&c.ntpTime),
            offset: c.offset,
            delay: c.delay,
            expiration: text(&c.expiration),
        }
    }
}

impl From<TimingMetrics> for Record {
    fn from(record: TimingMetrics) -> Self {
        Self::TimingMetrics(record)
    }
}

/// `QEX_TIMING_POLICY`: the authority's timing policy.
#[derive(Clone, Debug, Default, PartialEq)]
pub struct TimingPolicy {
    pub policy_id: String,
    pub max_offset: f32,
    pub max_delay: f32,
}

impl From<&sys::QEX_TIMING_POLICY> for TimingPolicy {
    fn from(c: &sys::QEX_TIMING_POLICY) -> Self {
        Self {
            policy_id: text(&c.policyID),
            max_offset: c.maxOffset,
            max_delay: c.maxDelay,
        }
    }
}

impl From<TimingPolicy> for Record {
    fn from(record: TimingPolicy) -> Self {
        Self::TimingPolicy(record)
    }
}
