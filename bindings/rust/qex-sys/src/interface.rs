// Written by scripts/bindings.py from bindings/interface.json; do not edit.
//! The C interface under its own names, which `qex.h` documents.
#![allow(missing_docs, non_camel_case_types, non_snake_case, clippy::all)]

use std::os::raw::c_void;

pub(crate) const SONAME: &str = "libqex.so.1";
pub(crate) const VERSION_NODE: &str = "QEX_1.0";

pub const QEX_OK: i32 = 0;
pub const QEX_E_ARG: i32 = -1;
pub const QEX_E_NOMEM: i32 = -2;
pub const QEX_E_SIZE: i32 = -3;
pub const QEX_E_MISSING: i32 = -5;
pub const QEX_E_DECODE: i32 = -6;
pub const QEX_E_BADTOKEN: i32 = -7;
pub const QEX_E_SIGNATURE: i32 = -8;
pub const QEX_E_REJECTED: i32 = -9;
pub const QEX_E_NOTOKEN: i32 = -10;
pub const QEX_E_LENGTH: i32 = -11;
pub const QEX_E_FRAMING: i32 = -12;
pub const QEX_E_UNSUPPORTED: i32 = -13;
pub const QEX_E_NOCERT: i32 = -14;
pub const QEX_E_NOTAC: i32 = -15;
pub const QEX_E_MISMATCH: i32 = -16;
pub const QEX_E_NOPOLICY: i32 = -17;
pub const QEX_TRANSPORT_RAW: i32 = 0;
pub const QEX_TRANSPORT_SOCKET: i32 = 1;
pub const QEX_TRANSPORT_HTTP: i32 = 2;
pub const QEX_TRANSPORT_RESERVED: i32 = 3;

/// A 64-bit unsigned number: high * 2^32 + low.
#[repr(C)]
#[derive(Clone, Copy, Debug)]
pub struct QEX_U64 {
    pub high: u32,
    pub low: u32,
}

impl QEX_U64 {
    /// A cleared record, with its size where it has one.
    pub const CLEARED: Self = Self {
        high: 0,
        low: 0,
    };
}

/// A time-stamp request (RFC 3161, 2.4.1).
#[repr(C)]
#[derive(Clone, Copy, Debug)]
pub struct QEX_TSQ_DATA_EX {
    pub size: u32,
    pub hashAlgorithm: [u8; 128],
    pub hashedMessage: [u8; 128],
    pub hashedMessageLength: u32,
    pub reqPolicy: [u8; 128],
    pub nonce: [u8; 40],
    pub nonceLength: u32,
    pub certReq: u32,
}

impl QEX_TSQ_DATA_EX {
    /// A cleared record, with its size where it has one.
    pub const CLEARED: Self = Self {
        size: 440,
        hashAlgorithm: [0; 128],
        hashedMessage: [0; 128],
        hashedMessageLength: 0,
        reqPolicy: [0; 128],
        nonce: [0; 40],
        nonceLength: 0,
        certReq: 0,
    };
}

/// A time-stamp request, short form.
#[repr(C)]
#[derive(Clone, Copy, Debug)]
pub struct QEX_TSQ_DATA {
    pub hashAlgorithm: [u8; 128],
    pub hashedMessage: [u8; 40],
    pub hashedMessageLength: u32,
    pub reqPolicy: [u8; 128],
    pub nonce: QEX_U64,
    pub certReq: u32,
}

impl QEX_TSQ_DATA {
    /// A cleared record, with its size where it has one.
    pub const CLEARED: Self = Self {
        hashAlgorithm: [0; 128],
        hashedMessage: [0; 40],
        hashedMessageLength: 0,
        reqPolicy: [0; 128],
        nonce: QEX_U64::CLEARED,
        certReq: 0,
    };
}

/// The status of a response (RFC 3161, 2.4.2).
#[repr(C)]
#[derive(Clone, Copy, Debug)]
pub struct QEX_TSR_STATUS {
    pub status: i32,
    pub statusText: [u8; 80],
    pub failInfo: u32,
}

impl QEX_TSR_STATUS {
    /// A cleared record, with its size where it has one.
    pub const CLEARED: Self = Self {
        status: 0,
        statusText: [0; 80],
        failInfo: 0,
    };
}

/// The content of a time-stamp token (RFC 3161, 2.4.2, TSTInfo).
#[repr(C)]
#[derive(Clone, Copy, Debug)]
pub struct QEX_TSTINFO_EX {
    pub size: u32,
    pub version: u32,
    pub policy: [u8; 128],
    pub hashAlgorithm: [u8; 128],
    pub hashedMessage: [u8; 128],
    pub hashedMessageLength: u32,
    pub serialNumber: [u8; 40],
    pub serialNumberLength: u32,
    pub genTime: [u8; 32],
    pub accuracySeconds: u32,
    pub accuracyMillis: u32,
    pub accuracyMicros: u32,
    pub ordering: u32,
    pub nonce: [u8; 40],
    pub nonceLength: u32,
    pub tsaName: [u8; 512],
}

impl QEX_TSTINFO_EX {
    /// A cleared record, with its size where it has one.
    pub const CLEARED: Self = Self {
        size: 1044,
        version: 0,
        policy: [0; 128],
        hashAlgorithm: [0; 128],
        hashedMessage: [0; 128],
        hashedMessageLength: 0,
        serialNumber: [0; 40],
        serialNumberLength: 0,
        genTime: [0; 32],
        accuracySeconds: 0,
        accuracyMillis: 0,
        accuracyMicros: 0,
        ordering: 0,
        nonce: [0; 40],
        nonceLength: 0,
        tsaName: [0; 512],
    };
}

/// The content of a time-stamp token, short form.
#[repr(C)]
#[derive(Clone, Copy, Debug)]
pub struct QEX_TSTINFO {
    pub version: u32,
    pub policy: [u8; 128],
    pub hashAlgorithm: [u8; 128],
    pub hashedMessage: [u8; 40],
    pub hashedMessageLength: u32,
    pub serialNumber: QEX_U64,
    pub genTime: [u8; 32],
    pub accuracySeconds: u32,
    pub accuracyMillis: u32,
    pub accuracyMicros: u32,
    pub ordering: u32,
    pub nonce: QEX_U64,
    pub tsaName: [u8; 512],
}

impl QEX_TSTINFO {
    /// A cleared record, with its size where it has one.
    pub const CLEARED: Self = Self {
        version: 0,
        policy: [0; 128],
        hashAlgorithm: [0; 128],
        hashedMessage: [0; 40],
        hashedMessageLength: 0,
        serialNumber: QEX_U64::CLEARED,
        genTime: [0; 32],
        accuracySeconds: 0,
        accuracyMillis: 0,
        accuracyMicros: 0,
        ordering: 0,
        nonce: QEX_U64::CLEARED,
        tsaName: [0; 512],
    };
}

/// Holder, issuer and signature of a time attribute certificate (RFC 3281, 4.1).
#[repr(C)]
#[derive(Clone, Copy, Debug)]
pub struct QEX_TACINFO_EX {
    pub size: u32,
    pub version: i32,
    pub holderName: [u8; 512],
    pub digestAlgorithm: [u8; 128],
    pub objectDigest: [u8; 128],
    pub objectDigestLen: i32,
    pub issuerName: [u8; 512],
    pub serialNumber: [u8; 40],
    pub serialNumberLen: i32,
    pub notBefore: [u8; 32],
    pub notAfter: [u8; 32],
    pub signatureAlgorithm: [u8; 128],
    pub signatureValue: [u8; 1024],
    pub signatureValueLen: i32,
}

impl QEX_TACINFO_EX {
    /// A cleared record, with its size where it has one.
    pub const CLEARED: Self = Self {
        size: 2556,
        version: 0,
        holderName: [0; 512],
        digestAlgorithm: [0; 128],
        objectDigest: [0; 128],
        objectDigestLen: 0,
        issuerName: [0; 512],
        serialNumber: [0; 40],
        serialNumberLen: 0,
        notBefore: [0; 32],
        notAfter: [0; 32],
        signatureAlgorithm: [0; 128],
        signatureValue: [0; 1024],
        signatureValueLen: 0,
    };
}

/// Holder, issuer and signature of a time attribute certificate, short form.
#[repr(C)]
#[derive(Clone, Copy, Debug)]
pub struct QEX_TACINFO {
    pub version: i32,
    pub holderName: [u8; 512],
    pub digestAlgorithm: [u8; 128],
    pub objectDigest: [u8; 40],
    pub objectDigestLen: i32,
    pub issuerName: [u8; 512],
    pub serialNumber: QEX_U64,
    pub notBefore: [u8; 32],
    pub notAfter: [u8; 32],
    pub signatureAlgorithm: [u8; 128],
    pub signatureValue: [u8; 1024],
    pub signatureValueLen: i32,
}

impl QEX_TACINFO {
    /// A cleared record, with its size where it has one.
    pub const CLEARED: Self = Self {
        version: 0,
        holderName: [0; 512],
        digestAlgorithm: [0; 128],
        objectDigest: [0; 40],
        objectDigestLen: 0,
        issuerName: [0; 512],
        serialNumber: QEX_U64::CLEARED,
        notBefore: [0; 32],
        notAfter: [0; 32],
        signatureAlgorithm: [0; 128],
        signatureValue: [0; 1024],
        signatureValueLen: 0,
    };
}

/// The authority's timing metrics. Times are UTC, YYYYMMDDhhmmssZ; durations are in seconds.
#[repr(C)]
#[derive(Clone, Copy, Debug)]
pub struct QEX_TIMING_METRICS_EX {
    pub ntpTime: [u8; 32],
    pub offset: f32,
    pub delay: f32,
    pub expiration: [u8; 32],
    pub leapAction: i32,
    pub leapTime: [u8; 32],
}

impl QEX_TIMING_METRICS_EX {
    /// A cleared record, with its size where it has one.
    pub const CLEARED: Self = Self {
        ntpTime: [0; 32],
        offset: 0.0,
        delay: 0.0,
        expiration: [0; 32],
        leapAction: 0,
        leapTime: [0; 32],
    };
}

/// The authority's timing metrics without the leap event.
#[repr(C)]
#[derive(Clone, Copy, Debug)]
pub struct QEX_TIMING_METRICS {
    pub ntpTime: [u8; 32],
    pub offset: f32,
    pub delay: f32,
    pub expiration: [u8; 32],
}

impl QEX_TIMING_METRICS {
    /// A cleared record, with its size where it has one.
    pub const CLEARED: Self = Self {
        ntpTime: [0; 32],
        offset: 0.0,
        delay: 0.0,
        expiration: [0; 32],
    };
}

/// The authority's timing policy.
#[repr(C)]
#[derive(Clone, Copy, Debug)]
pub struct QEX_TIMING_POLICY {
    pub policyID: [u8; 128],
    pub maxOffset: f32,
    pub maxDelay: f32,
}

impl QEX_TIMING_POLICY {
    /// A cleared record, with its size where it has one.
    pub const CLEARED: Self = Self {
        policyID: [0; 128],
        maxOffset: 0.0,
        maxDelay: 0.0,
    };
}

pub enum QEX_MD5_CTX {}

pub enum QEX_SHA1_CTX {}

pub enum QEX_SHA256_CTX {}

pub enum QEX_SHA512_CTX {}

/// The functions of a library that has been loaded.
pub struct Functions {
    pub(crate) QEX_MD5_Init: unsafe extern "C" fn() -> *mut QEX_MD5_CTX,
    pub(crate) QEX_MD5_Update: unsafe extern "C" fn(*mut QEX_MD5_CTX, *const u8, u32),
    pub(crate) QEX_MD5_Final: unsafe extern "C" fn(*mut QEX_MD5_CTX, *mut u8),
    pub(crate) QEX_SHA1_Init: unsafe extern "C" fn() -> *mut QEX_SHA1_CTX,
    pub(crate) QEX_SHA1_Update: unsafe extern "C" fn(*mut QEX_SHA1_CTX, *const u8, u32),
    pub(crate) QEX_SHA1_Final: unsafe extern "C" fn(*mut QEX_SHA1_CTX, *mut u8),
    pub(crate) QEX_SHA256_Init: unsafe extern "C" fn() -> *mut QEX_SHA256_CTX,
    pub(crate) QEX_SHA256_Update: unsafe extern "C" fn(*mut QEX_SHA256_CTX, *const u8, u32),
    pub(crate) QEX_SHA256_Final: unsafe extern "C" fn(*mut QEX_SHA256_CTX, *mut u8),
    pub(crate) QEX_SHA384_Init: unsafe extern "C" fn() -> *mut QEX_SHA512_CTX,
    pub(crate) QEX_SHA384_Update: unsafe extern "C" fn(*mut QEX_SHA512_CTX, *const u8, u32),
    pub(crate) QEX_SHA384_Final: unsafe extern "C" fn(*mut QEX_SHA512_CTX, *mut u8),
    pub(crate) QEX_SHA512_Init: unsafe extern "C" fn() -> *mut QEX_SHA512_CTX,
    pub(crate) QEX_SHA512_Update: unsafe extern "C" fn(*mut QEX_SHA512_CTX, *const u8, u32),
    pub(crate) QEX_SHA512_Final: unsafe extern "C" fn(*mut QEX_SHA512_CTX, *mut u8),
    pub(crate) QEX_GetLastAsnError: unsafe extern "C" fn() -> i32,
    pub(crate) QEX_EncodeTSQ_Ex: unsafe extern "C" fn(*const QEX_TSQ_DATA_EX, *mut u8, *mut u32, u32) -> i32,
    pub(crate) QEX_EncodeTSQ: unsafe extern "C" fn(*const QEX_TSQ_DATA, *mut u8, *mut u32, i32) -> i32,
    pub(crate) QEX_DecodeTSQ_Ex: unsafe extern "C" fn(*mut QEX_TSQ_DATA_EX, *const u8, u32) -> i32,
    pub(crate) QEX_DecodeTSQ: unsafe extern "C" fn(*mut QEX_TSQ_DATA, *const u8, u32) -> i32,
    pub(crate) QEX_UnpackTSR: unsafe extern "C" fn(*mut u8, *mut u32, *mut u32, i32) -> i32,
    pub(crate) QEX_GetTSR_Status: unsafe extern "C" fn(*mut QEX_TSR_STATUS, *const u8, u32) -> i32,
    pub(crate) QEX_GetTSR_EncodedToken: unsafe extern "C" fn(*mut u8, *mut u32, *const u8, u32) -> i32,
    pub(crate) QEX_GetTST_TSTInfoEx: unsafe extern "C" fn(*mut QEX_TSTINFO_EX, *const u8, u32) -> i32,
    pub(crate) QEX_GetTST_TSTInfo: unsafe extern "C" fn(*mut QEX_TSTINFO, *const u8, u32) -> i32,
    pub(crate) QEX_GetTST_TSACert: unsafe extern "C" fn(*mut u8, *mut u32, *const u8, u32) -> i32,
    pub(crate) QEX_VerifyTST_Signature: unsafe extern "C" fn(*const u8, u32, *const u8, u32) -> i32,
    pub(crate) QEX_TSTInfoToIDData: unsafe extern "C" fn(*const u8, u32, *mut u8, *mut u32) -> i32,
    pub(crate) QEX_RemoveAttrCerts: unsafe extern "C" fn(*const u8, u32, *mut u8, *mut u32) -> i32,
    pub(crate) QEX_GetTST_TimeAttributeCert: unsafe extern "C" fn(*mut u8, *mut u32, *const u8, u32) -> i32,
    pub(crate) QEX_CheckTAC_MatchesTST: unsafe extern "C" fn(*const u8, u32, *const u8, u32) -> i32,
    pub(crate) QEX_GetTAC_CertInfoEx: unsafe extern "C" fn(*mut QEX_TACINFO_EX, *const u8, u32) -> i32,
    pub(crate) QEX_GetTAC_CertInfo: unsafe extern "C" fn(*mut QEX_TACINFO, *const u8, u32) -> i32,
    pub(crate) QEX_GetTAC_TimingMetricsEx: unsafe extern "C" fn(*mut QEX_TIMING_METRICS_EX, *const u8, u32) -> i32,
    pub(crate) QEX_GetTAC_TimingMetrics: unsafe extern "C" fn(*mut QEX_TIMING_METRICS, *const u8, u32) -> i32,
    pub(crate) QEX_GetTAC_TimingPolicy: unsafe extern "C" fn(*mut QEX_TIMING_POLICY, *const u8, u32) -> i32,
}

/// Input of another length than the interface takes is the caller's mistake.
fn octets_of(octets: &[u8]) -> u32 {
    u32::try_from(octets.len()).expect("the library takes at most 4294967295 octets")
}

impl Functions {
    /// Takes the functions that `find` finds by their terminated names.
    ///
    /// # Safety
    /// What `find` returns is the function of that name in libqex.
    pub(crate) unsafe fn filled<E>(find: impl Fn(&str) -> Result<*mut c_void, E>) -> Result<Self, E> {
        // SAFETY: by the contract above each address is a function of the type that its field has.
        unsafe {
            Ok(Self {
                QEX_MD5_Init: std::mem::transmute::<*mut c_void, _>(find("QEX_MD5_Init\0")?),
                QEX_MD5_Update: std::mem::transmute::<*mut c_void, _>(find("QEX_MD5_Update\0")?),
                QEX_MD5_Final: std::mem::transmute::<*mut c_void, _>(find("QEX_MD5_Final\0")?),
                QEX_SHA1_Init: std::mem::transmute::<*mut c_void, _>(find("QEX_SHA1_Init\0")?),
                QEX_SHA1_Update: std::mem::transmute::<*mut c_void, _>(find("QEX_SHA1_Update\0")?),
                QEX_SHA1_Final: std::mem::transmute::<*mut c_void, _>(find("QEX_SHA1_Final\0")?),
                QEX_SHA256_Init: std::mem::transmute::<*mut c_void, _>(find("QEX_SHA256_Init\0")?),
                QEX_SHA256_Update: std::mem::transmute::<*mut c_void, _>(find("QEX_SHA256_Update\0")?),
                QEX_SHA256_Final: std::mem::transmute::<*mut c_void, _>(find("QEX_SHA256_Final\0")?),
                QEX_SHA384_Init: std::mem::transmute::<*mut c_void, _>(find("QEX_SHA384_Init\0")?),
                QEX_SHA384_Update: std::mem::transmute::<*mut c_void, _>(find("QEX_SHA384_Update\0")?),
                QEX_SHA384_Final: std::mem::transmute::<*mut c_void, _>(find("QEX_SHA384_Final\0")?),
                QEX_SHA512_Init: std::mem::transmute::<*mut c_void, _>(find("QEX_SHA512_Init\0")?),
                QEX_SHA512_Update: std::mem::transmute::<*mut c_void, _>(find("QEX_SHA512_Update\0")?),
                QEX_SHA512_Final: std::mem::transmute::<*mut c_void, _>(find("QEX_SHA512_Final\0")?),
                QEX_GetLastAsnError: std::mem::transmute::<*mut c_void, _>(find("QEX_GetLastAsnError\0")?),
                QEX_EncodeTSQ_Ex: std::mem::transmute::<*mut c_void, _>(find("QEX_EncodeTSQ_Ex\0")?),
                QEX_EncodeTSQ: std::mem::transmute::<*mut c_void, _>(find("QEX_EncodeTSQ\0")?),
                QEX_DecodeTSQ_Ex: std::mem::transmute::<*mut c_void, _>(find("QEX_DecodeTSQ_Ex\0")?),
                QEX_DecodeTSQ: std::mem::transmute::<*mut c_void, _>(find("QEX_DecodeTSQ\0")?),
                QEX_UnpackTSR: std::mem::transmute::<*mut c_void, _>(find("QEX_UnpackTSR\0")?),
                QEX_GetTSR_Status: std::mem::transmute::<*mut c_void, _>(find("QEX_GetTSR_Status\0")?),
                QEX_GetTSR_EncodedToken: std::mem::transmute::<*mut c_void, _>(find("QEX_GetTSR_EncodedToken\0")?),
                QEX_GetTST_TSTInfoEx: std::mem::transmute::<*mut c_void, _>(find("QEX_GetTST_TSTInfoEx\0")?),
                QEX_GetTST_TSTInfo: std::mem::transmute::<*mut c_void, _>(find("QEX_GetTST_TSTInfo\0")?),
                QEX_GetTST_TSACert: std::mem::transmute::<*mut c_void, _>(find("QEX_GetTST_TSACert\0")?),
                QEX_VerifyTST_Signature: std::mem::transmute::<*mut c_void, _>(find("QEX_VerifyTST_Signature\0")?),
                QEX_TSTInfoToIDData: std::mem::transmute::<*mut c_void, _>(find("QEX_TSTInfoToIDData\0")?),
                QEX_RemoveAttrCerts: std::mem::transmute::<*mut c_void, _>(find("QEX_RemoveAttrCerts\0")?),
                QEX_GetTST_TimeAttributeCert: std::mem::transmute::<*mut c_void, _>(find("QEX_GetTST_TimeAttributeCert\0")?),
                QEX_CheckTAC_MatchesTST: std::mem::transmute::<*mut c_void, _>(find("QEX_CheckTAC_MatchesTST\0")?),
                QEX_GetTAC_CertInfoEx: std::mem::transmute::<*mut c_void, _>(find("QEX_GetTAC_CertInfoEx\0")?),
                QEX_GetTAC_CertInfo: std::mem::transmute::<*mut c_void, _>(find("QEX_GetTAC_CertInfo\0")?),
                QEX_GetTAC_TimingMetricsEx: std::mem::transmute::<*mut c_void, _>(find("QEX_GetTAC_TimingMetricsEx\0")?),
                QEX_GetTAC_TimingMetrics: std::mem::transmute::<*mut c_void, _>(find("QEX_GetTAC_TimingMetrics\0")?),
                QEX_GetTAC_TimingPolicy: std::mem::transmute::<*mut c_void, _>(find("QEX_GetTAC_TimingPolicy\0")?),
            })
        }
    }

    pub fn QEX_GetLastAsnError(&self) -> i32 {
        // SAFETY: the references hold until the call returns, the lengths are those of the slices, and the
        // records have the layout of the header.
        unsafe { (self.QEX_GetLastAsnError)() }
    }

    pub fn QEX_EncodeTSQ_Ex(&self, req: &QEX_TSQ_DATA_EX, out: &mut [u8], outLength: &mut u32, transport: u32) -> i32 {
        *outLength = octets_of(out);
        // SAFETY: the references hold until the call returns, the lengths are those of the slices, and the
        // records have the layout of the header.
        unsafe { (self.QEX_EncodeTSQ_Ex)(req, out.as_mut_ptr(), outLength, transport) }
    }

    pub fn QEX_EncodeTSQ(&self, req: &QEX_TSQ_DATA, out: &mut [u8], outLength: &mut u32, transport: i32) -> i32 {
        *outLength = octets_of(out);
        // SAFETY: the references hold until the call returns, the lengths are those of the slices, and the
        // records have the layout of the header.
        unsafe { (self.QEX_EncodeTSQ)(req, out.as_mut_ptr(), outLength, transport) }
    }

    pub fn QEX_DecodeTSQ_Ex(&self, req: &mut QEX_TSQ_DATA_EX, data: &[u8]) -> i32 {
        // SAFETY: the references hold until the call returns, the lengths are those of the slices, and the
        // records have the layout of the header.
        unsafe { (self.QEX_DecodeTSQ_Ex)(req, data.as_ptr(), octets_of(data)) }
    }

    pub fn QEX_DecodeTSQ(&self, req: &mut QEX_TSQ_DATA, data: &[u8]) -> i32 {
        // SAFETY: the references hold until the call returns, the lengths are those of the slices, and the
        // records have the layout of the header.
        unsafe { (self.QEX_DecodeTSQ)(req, data.as_ptr(), octets_of(data)) }
    }

    pub fn QEX_UnpackTSR(&self, buffer: &mut [u8], length: &mut u32, transportStatus: &mut u32, transport: i32) -> i32 {
        *length = octets_of(buffer);
        // SAFETY: the references hold until the call returns, the lengths are those of the slices, and the
        // records have the layout of the header.
        unsafe { (self.QEX_UnpackTSR)(buffer.as_mut_ptr(), length, transportStatus, transport) }
    }

    pub fn QEX_GetTSR_Status(&self, status: &mut QEX_TSR_STATUS, tsr: &[u8]) -> i32 {
        // SAFETY: the references hold until the call returns, the lengths are those of the slices, and the
        // records have the layout of the header.
        unsafe { (self.QEX_GetTSR_Status)(status, tsr.as_ptr(), octets_of(tsr)) }
    }

    pub fn QEX_GetTSR_EncodedToken(&self, out: &mut [u8], outLength: &mut u32, tsr: &[u8]) -> i32 {
        *outLength = octets_of(out);
        // SAFETY: the references hold until the call returns, the lengths are those of the slices, and the
        // records have the layout of the header.
        unsafe { (self.QEX_GetTSR_EncodedToken)(out.as_mut_ptr(), outLength, tsr.as_ptr(), octets_of(tsr)) }
    }

    pub fn QEX_GetTST_TSTInfoEx(&self, info: &mut QEX_TSTINFO_EX, token: &[u8]) -> i32 {
        // SAFETY: the references hold until the call returns, the lengths are those of the slices, and the
        // records have the layout of the header.
        unsafe { (self.QEX_GetTST_TSTInfoEx)(info, token.as_ptr(), octets_of(token)) }
    }

    pub fn QEX_GetTST_TSTInfo(&self, info: &mut QEX_TSTINFO, token: &[u8]) -> i32 {
        // SAFETY: the references hold until the call returns, the lengths are those of the slices, and the
        // records have the layout of the header.
        unsafe { (self.QEX_GetTST_TSTInfo)(info, token.as_ptr(), octets_of(token)) }
    }

    pub fn QEX_GetTST_TSACert(&self, out: &mut [u8], outLength: &mut u32, token: &[u8]) -> i32 {
        *outLength = octets_of(out);
        // SAFETY: the references hold until the call returns, the lengths are those of the slices, and the
        // records have the layout of the header.
        unsafe { (self.QEX_GetTST_TSACert)(out.as_mut_ptr(), outLength, token.as_ptr(), octets_of(token)) }
    }

    pub fn QEX_VerifyTST_Signature(&self, token: &[u8], tsaCert: &[u8]) -> i32 {
        // SAFETY: the references hold until the call returns, the lengths are those of the slices, and the
        // records have the layout of the header.
        unsafe { (self.QEX_VerifyTST_Signature)(token.as_ptr(), octets_of(token), tsaCert.as_ptr(), octets_of(tsaCert)) }
    }

    pub fn QEX_TSTInfoToIDData(&self, token: &[u8], out: &mut [u8], outLength: &mut u32) -> i32 {
        *outLength = octets_of(out);
        // SAFETY: the references hold until the call returns, the lengths are those of the slices, and the
        // records have the layout of the header.
        unsafe { (self.QEX_TSTInfoToIDData)(token.as_ptr(), octets_of(token), out.as_mut_ptr(), outLength) }
    }

    pub fn QEX_RemoveAttrCerts(&self, token: &[u8], out: &mut [u8], outLength: &mut u32) -> i32 {
        *outLength = octets_of(out);
        // SAFETY: the references hold until the call returns, the lengths are those of the slices, and the
        // records have the layout of the header.
        unsafe { (self.QEX_RemoveAttrCerts)(token.as_ptr(), octets_of(token), out.as_mut_ptr(), outLength) }
    }

    pub fn QEX_GetTST_TimeAttributeCert(&self, out: &mut [u8], outLen: &mut u32, token: &[u8]) -> i32 {
        *outLen = octets_of(out);
        // SAFETY: the references hold until the call returns, the lengths are those of the slices, and the
        // records have the layout of the header.
        unsafe { (self.QEX_GetTST_TimeAttributeCert)(out.as_mut_ptr(), outLen, token.as_ptr(), octets_of(token)) }
    }

    pub fn QEX_CheckTAC_MatchesTST(&self, tac: &[u8], token: &[u8]) -> i32 {
        // SAFETY: the references hold until the call returns, the lengths are those of the slices, and the
        // records have the layout of the header.
        unsafe { (self.QEX_CheckTAC_MatchesTST)(tac.as_ptr(), octets_of(tac), token.as_ptr(), octets_of(token)) }
    }

    pub fn QEX_GetTAC_CertInfoEx(&self, record: &mut QEX_TACINFO_EX, tac: &[u8]) -> i32 {
        // SAFETY: the references hold until the call returns, the lengths are those of the slices, and the
        // records have the layout of the header.
        unsafe { (self.QEX_GetTAC_CertInfoEx)(record, tac.as_ptr(), octets_of(tac)) }
    }

    pub fn QEX_GetTAC_CertInfo(&self, record: &mut QEX_TACINFO, tac: &[u8]) -> i32 {
        // SAFETY: the references hold until the call returns, the lengths are those of the slices, and the
        // records have the layout of the header.
        unsafe { (self.QEX_GetTAC_CertInfo)(record, tac.as_ptr(), octets_of(tac)) }
    }

    pub fn QEX_GetTAC_TimingMetricsEx(&self, record: &mut QEX_TIMING_METRICS_EX, tac: &[u8]) -> i32 {
        // SAFETY: the references hold until the call returns, the lengths are those of the slices, and the
        // records have the layout of the header.
        unsafe { (self.QEX_GetTAC_TimingMetricsEx)(record, tac.as_ptr(), octets_of(tac)) }
    }

    pub fn QEX_GetTAC_TimingMetrics(&self, record: &mut QEX_TIMING_METRICS, tac: &[u8]) -> i32 {
        // SAFETY: the references hold until the call returns, the lengths are those of the slices, and the
        // records have the layout of the header.
        unsafe { (self.QEX_GetTAC_TimingMetrics)(record, tac.as_ptr(), octets_of(tac)) }
    }

    pub fn QEX_GetTAC_TimingPolicy(&self, record: &mut QEX_TIMING_POLICY, tac: &[u8]) -> i32 {
        // SAFETY: the references hold until the call returns, the lengths are those of the slices, and the
        // records have the layout of the header.
        unsafe { (self.QEX_GetTAC_TimingPolicy)(record, tac.as_ptr(), octets_of(tac)) }
    }
}

/// Sizes, offsets and values as c_layout.py has them for C.
#[cfg(test)]
pub(crate) fn layout() -> Vec<String> {
    let mut lines = Vec::new();
    lines.push(format!("QEX_OK {}", QEX_OK));
    lines.push(format!("QEX_E_ARG {}", QEX_E_ARG));
    lines.push(format!("QEX_E_NOMEM {}", QEX_E_NOMEM));
    lines.push(format!("QEX_E_SIZE {}", QEX_E_SIZE));
    lines.push(format!("QEX_E_MISSING {}", QEX_E_MISSING));
    lines.push(format!("QEX_E_DECODE {}", QEX_E_DECODE));
    lines.push(format!("QEX_E_BADTOKEN {}", QEX_E_BADTOKEN));
    lines.push(format!("QEX_E_SIGNATURE {}", QEX_E_SIGNATURE));
    lines.push(format!("QEX_E_REJECTED {}", QEX_E_REJECTED));
    lines.push(format!("QEX_E_NOTOKEN {}", QEX_E_NOTOKEN));
    lines.push(format!("QEX_E_LENGTH {}", QEX_E_LENGTH));
    lines.push(format!("QEX_E_FRAMING {}", QEX_E_FRAMING));
    lines.push(format!("QEX_E_UNSUPPORTED {}", QEX_E_UNSUPPORTED));
    lines.push(format!("QEX_E_NOCERT {}", QEX_E_NOCERT));
    lines.push(format!("QEX_E_NOTAC {}", QEX_E_NOTAC));
    lines.push(format!("QEX_E_MISMATCH {}", QEX_E_MISMATCH));
    lines.push(format!("QEX_E_NOPOLICY {}", QEX_E_NOPOLICY));
    lines.push(format!("QEX_TRANSPORT_RAW {}", QEX_TRANSPORT_RAW));
    lines.push(format!("QEX_TRANSPORT_SOCKET {}", QEX_TRANSPORT_SOCKET));
    lines.push(format!("QEX_TRANSPORT_HTTP {}", QEX_TRANSPORT_HTTP));
    lines.push(format!("QEX_TRANSPORT_RESERVED {}", QEX_TRANSPORT_RESERVED));
    let c = QEX_U64::CLEARED;
    let start = &c as *const _ as usize;
    lines.push(format!("QEX_U64 {}", std::mem::size_of_val(&c)));
    lines.push(format!("QEX_U64.high {} {}", &c.high as *const _ as usize - start, std::mem::size_of_val(&c.high)));
    lines.push(format!("QEX_U64.low {} {}", &c.low as *const _ as usize - start, std::mem::size_of_val(&c.low)));
    let c = QEX_TSQ_DATA_EX::CLEARED;
    let start = &c as *const _ as usize;
    lines.push(format!("QEX_TSQ_DATA_EX {}", std::mem::size_of_val(&c)));
    lines.push(format!("QEX_TSQ_DATA_EX.size {} {}", &c.size as *const _ as usize - start, std::mem::size_of_val(&c.size)));
    lines.push(format!("QEX_TSQ_DATA_EX.hashAlgorithm {} {}", &c.hashAlgorithm as *const _ as usize - start, std::mem::size_of_val(&c.hashAlgorithm)));
    lines.push(format!("QEX_TSQ_DATA_EX.hashedMessage {} {}", &c.hashedMessage as *const _ as usize - start, std::mem::size_of_val(&c.hashedMessage)));
    lines.push(format!("QEX_TSQ_DATA_EX.hashedMessageLength {} {}", &c.hashedMessageLength as *const _ as usize - start, std::mem::size_of_val(&c.hashedMessageLength)));
    lines.push(format!("QEX_TSQ_DATA_EX.reqPolicy {} {}", &c.reqPolicy as *const _ as usize - start, std::mem::size_of_val(&c.reqPolicy)));
    lines.push(format!("QEX_TSQ_DATA_EX.nonce {} {}", &c.nonce as *const _ as usize - start, std::mem::size_of_val(&c.nonce)));
    lines.push(format!("QEX_TSQ_DATA_EX.nonceLength {} {}", &c.nonceLength as *const _ as usize - start, std::mem::size_of_val(&c.nonceLength)));
    lines.push(format!("QEX_TSQ_DATA_EX.certReq {} {}", &c.certReq as *const _ as usize - start, std::mem::size_of_val(&c.certReq)));
    let c = QEX_TSQ_DATA::CLEARED;
    let start = &c as *const _ as usize;
    lines.push(format!("QEX_TSQ_DATA {}", std::mem::size_of_val(&c)));
    lines.push(format!("QEX_TSQ_DATA.hashAlgorithm {} {}", &c.hashAlgorithm as *const _ as usize - start, std::mem::size_of_val(&c.hashAlgorithm)));
    lines.push(format!("QEX_TSQ_DATA.hashedMessage {} {}", &c.hashedMessage as *const _ as usize - start, std::mem::size_of_val(&c.hashedMessage)));
    lines.push(format!("QEX_TSQ_DATA.hashedMessageLength {} {}", &c.hashedMessageLength as *const _ as usize - start, std::mem::size_of_val(&c.hashedMessageLength)));
    lines.push(format!("QEX_TSQ_DATA.reqPolicy {} {}", &c.reqPolicy as *const _ as usize - start, std::mem::size_of_val(&c.reqPolicy)));
    lines.push(format!("QEX_TSQ_DATA.nonce {} {}", &c.nonce as *const _ as usize - start, std::mem::size_of_val(&c.nonce)));
    lines.push(format!("QEX_TSQ_DATA.certReq {} {}", &c.certReq as *const _ as usize - start, std::mem::size_of_val(&c.certReq)));
    let c = QEX_TSR_STATUS::CLEARED;
    let start = &c as *const _ as usize;
    lines.push(format!("QEX_TSR_STATUS {}", std::mem::size_of_val(&c)));
    lines.push(format!("QEX_TSR_STATUS.status {} {}", &c.status as *const _ as usize - start, std::mem::size_of_val(&c.status)));
    lines.push(format!("QEX_TSR_STATUS.statusText {} {}", &c.statusText as *const _ as usize - start, std::mem::size_of_val(&c.statusText)));
    lines.push(format!("QEX_TSR_STATUS.failInfo {} {}", &c.failInfo as *const _ as usize - start, std::mem::size_of_val(&c.failInfo)));
    let c = QEX_TSTINFO_EX::CLEARED;
    let start = &c as *const _ as usize;
    lines.push(format!("QEX_TSTINFO_EX {}", std::mem::size_of_val(&c)));
    lines.push(format!("QEX_TSTINFO_EX.size {} {}", &c.size as *const _ as usize - start, std::mem::size_of_val(&c.size)));
    lines.push(format!("QEX_TSTINFO_EX.version {} {}", &c.version as *const _ as usize - start, std::mem::size_of_val(&c.version)));
    lines.push(format!("QEX_TSTINFO_EX.policy {} {}", &c.policy as *const _ as usize - start, std::mem::size_of_val(&c.policy)));
    lines.push(format!("QEX_TSTINFO_EX.hashAlgorithm {} {}", &c.hashAlgorithm as *const _ as usize - start, std::mem::size_of_val(&c.hashAlgorithm)));
    lines.push(format!("QEX_TSTINFO_EX.hashedMessage {} {}", &c.hashedMessage as *const _ as usize - start, std::mem::size_of_val(&c.hashedMessage)));
    lines.push(format!("QEX_TSTINFO_EX.hashedMessageLength {} {}", &c.hashedMessageLength as *const _ as usize - start, std::mem::size_of_val(&c.hashedMessageLength)));
    lines.push(format!("QEX_TSTINFO_EX.serialNumber {} {}", &c.serialNumber as *const _ as usize - start, std::mem::size_of_val(&c.serialNumber)));
    lines.push(format!("QEX_TSTINFO_EX.serialNumberLength {} {}", &c.serialNumberLength as *const _ as usize - start, std::mem::size_of_val(&c.serialNumberLength)));
    lines.push(format!("QEX_TSTINFO_EX.genTime {} {}", &c.genTime as *const _ as usize - start, std::mem::size_of_val(&c.genTime)));
    lines.push(format!("QEX_TSTINFO_EX.accuracySeconds {} {}", &c.accuracySeconds as *const _ as usize - start, std::mem::size_of_val(&c.accuracySeconds)));
    lines.push(format!("QEX_TSTINFO_EX.accuracyMillis {} {}", &c.accuracyMillis as *const _ as usize - start, std::mem::size_of_val(&c.accuracyMillis)));
    lines.push(format!("QEX_TSTINFO_EX.accuracyMicros {} {}", &c.accuracyMicros as *const _ as usize - start, std::mem::size_of_val(&c.accuracyMicros)));
    lines.push(format!("QEX_TSTINFO_EX.ordering {} {}", &c.ordering as *const _ as usize - start, std::mem::size_of_val(&c.ordering)));
    lines.push(format!("QEX_TSTINFO_EX.nonce {} {}", &c.nonce as *const _ as usize - start, std::mem::size_of_val(&c.nonce)));
    lines.push(format!("QEX_TSTINFO_EX.nonceLength {} {}", &c.nonceLength as *const _ as usize - start, std::mem::size_of_val(&c.nonceLength)));
    lines.push(format!("QEX_TSTINFO_EX.tsaName {} {}", &c.tsaName as *const _ as usize - start, std::mem::size_of_val(&c.tsaName)));
    let c = QEX_TSTINFO::CLEARED;
    let start = &c as *const _ as usize;
    lines.push(format!("QEX_TSTINFO {}", std::mem::size_of_val(&c)));
    lines.push(format!("QEX_TSTINFO.version {} {}", &c.version as *const _ as usize - start, std::mem::size_of_val(&c.version)));
    lines.push(format!("QEX_TSTINFO.policy {} {}", &c.policy as *const _ as usize - start, std::mem::size_of_val(&c.policy)));
    lines.push(format!("QEX_TSTINFO.hashAlgorithm {} {}", &c.hashAlgorithm as *const _ as usize - start, std::mem::size_of_val(&c.hashAlgorithm)));
    lines.push(format!("QEX_TSTINFO.hashedMessage {} {}", &c.hashedMessage as *const _ as usize - start, std::mem::size_of_val(&c.hashedMessage)));
    lines.push(format!("QEX_TSTINFO.hashedMessageLength {} {}", &c.hashedMessageLength as *const _ as usize - start, std::mem::size_of_val(&c.hashedMessageLength)));
    lines.push(format!("QEX_TSTINFO.serialNumber {} {}", &c.serialNumber as *const _ as usize - start, std::mem::size_of_val(&c.serialNumber)));
    lines.push(format!("QEX_TSTINFO.genTime {} {}", &c.genTime as *const _ as usize - start, std::mem::size_of_val(&c.genTime)));
    lines.push(format!("QEX_TSTINFO.accuracySeconds {} {}", &c.accuracySeconds as *const _ as usize - start, std::mem::size_of_val(&c.accuracySeconds)));
    lines.push(format!("QEX_TSTINFO.accuracyMillis {} {}", &c.accuracyMillis as *const _ as usize - start, std::mem::size_of_val(&c.accuracyMillis)));
    lines.push(format!("QEX_TSTINFO.accuracyMicros {} {}", &c.accuracyMicros as *const _ as usize - start, std::mem::size_of_val(&c.accuracyMicros)));
    lines.push(format!("QEX_TSTINFO.ordering {} {}", &c.ordering as *const _ as usize - start, std::mem::size_of_val(&c.ordering)));
    lines.push(format!("QEX_TSTINFO.nonce {} {}", &c.nonce as *const _ as usize - start, std::mem::size_of_val(&c.nonce)));
    lines.push(format!("QEX_TSTINFO.tsaName {} {}", &c.tsaName as *const _ as usize - start, std::mem::size_of_val(&c.tsaName)));
    let c = QEX_TACINFO_EX::CLEARED;
    let start = &c as *const _ as usize;
    lines.push(format!("QEX_TACINFO_EX {}", std::mem::size_of_val(&c)));
    lines.push(format!("QEX_TACINFO_EX.size {} {}", &c.size as *const _ as usize - start, std::mem::size_of_val(&c.size)));
    lines.push(format!("QEX_TACINFO_EX.version {} {}", &c.version as *const _ as usize - start, std::mem::size_of_val(&c.version)));
    lines.push(format!("QEX_TACINFO_EX.holderName {} {}", &c.holderName as *const _ as usize - start, std::mem::size_of_val(&c.holderName)));
    lines.push(format!("QEX_TACINFO_EX.digestAlgorithm {} {}", &c.digestAlgorithm as *const _ as usize - start, std::mem::size_of_val(&c.digestAlgorithm)));
    lines.push(format!("QEX_TACINFO_EX.objectDigest {} {}", &c.objectDigest as *const _ as usize - start, std::mem::size_of_val(&c.objectDigest)));
    lines.push(format!("QEX_TACINFO_EX.objectDigestLen {} {}", &c.objectDigestLen as *const _ as usize - start, std::mem::size_of_val(&c.objectDigestLen)));
    lines.push(format!("QEX_TACINFO_EX.issuerName {} {}", &c.issuerName as *const _ as usize - start, std::mem::size_of_val(&c.issuerName)));
    lines.push(format!("QEX_TACINFO_EX.serialNumber {} {}", &c.serialNumber as *const _ as usize - start, std::mem::size_of_val(&c.serialNumber)));
    lines.push(format!("QEX_TACINFO_EX.serialNumberLen {} {}", &c.serialNumberLen as *const _ as usize - start, std::mem::size_of_val(&c.serialNumberLen)));
    lines.push(format!("QEX_TACINFO_EX.notBefore {} {}", &c.notBefore as *const _ as usize - start, std::mem::size_of_val(&c.notBefore)));
    lines.push(format!("QEX_TACINFO_EX.notAfter {} {}", &c.notAfter as *const _ as usize - start, std::mem::size_of_val(&c.notAfter)));
    lines.push(format!("QEX_TACINFO_EX.signatureAlgorithm {} {}", &c.signatureAlgorithm as *const _ as usize - start, std::mem::size_of_val(&c.signatureAlgorithm)));
    lines.push(format!("QEX_TACINFO_EX.signatureValue {} {}", &c.signatureValue as *const _ as usize - start, std::mem::size_of_val(&c.signatureValue)));
    lines.push(format!("QEX_TACINFO_EX.signatureValueLen {} {}", &c.signatureValueLen as *const _ as usize - start, std::mem::size_of_val(&c.signatureValueLen)));
    let c = QEX_TACINFO::CLEARED;
    let start = &c as *const _ as usize;
    lines.push(format!("QEX_TACINFO {}", std::mem::size_of_val(&c)));
    lines.push(format!("QEX_TACINFO.version {} {}", &c.version as *const _ as usize - start, std::mem::size_of_val(&c.version)));
    lines.push(format!("QEX_TACINFO.holderName {} {}", &c.holderName as *const _ as usize - start, std::mem::size_of_val(&c.holderName)));
    lines.push(format!("QEX_TACINFO.digestAlgorithm {} {}", &c.digestAlgorithm as *const _ as usize - start, std::mem::size_of_val(&c.digestAlgorithm)));
    lines.push(format!("QEX_TACINFO.objectDigest {} {}", &c.objectDigest as *const _ as usize - start, std::mem::size_of_val(&c.objectDigest)));
    lines.push(format!("QEX_TACINFO.objectDigestLen {} {}", &c.objectDigestLen as *const _ as usize - start, std::mem::size_of_val(&c.objectDigestLen)));
    lines.push(format!("QEX_TACINFO.issuerName {} {}", &c.issuerName as *const _ as usize - start, std::mem::size_of_val(&c.issuerName)));
    lines.push(format!("QEX_TACINFO.serialNumber {} {}", &c.serialNumber as *const _ as usize - start, std::mem::size_of_val(&c.serialNumber)));
    lines.push(format!("QEX_TACINFO.notBefore {} {}", &c.notBefore as *const _ as usize - start, std::mem::size_of_val(&c.notBefore)));
    lines.push(format!("QEX_TACINFO.notAfter {} {}", &c.notAfter as *const _ as usize - start, std::mem::size_of_val(&c.notAfter)));
    lines.push(format!("QEX_TACINFO.signatureAlgorithm {} {}", &c.signatureAlgorithm as *const _ as usize - start, std::mem::size_of_val(&c.signatureAlgorithm)));
    lines.push(format!("QEX_TACINFO.signatureValue {} {}", &c.signatureValue as *const _ as usize - start, std::mem::size_of_val(&c.signatureValue)));
    lines.push(format!("QEX_TACINFO.signatureValueLen {} {}", &c.signatureValueLen as *const _ as usize - start, std::mem::size_of_val(&c.signatureValueLen)));
    let c = QEX_TIMING_METRICS_EX::CLEARED;
    let start = &c as *const _ as usize;
    lines.push(format!("QEX_TIMING_METRICS_EX {}", std::mem::size_of_val(&c)));
    lines.push(format!("QEX_TIMING_METRICS_EX.ntpTime {} {}", &c.ntpTime as *const _ as usize - start, std::mem::size_of_val(&c.ntpTime)));
    lines.push(format!("QEX_TIMING_METRICS_EX.offset {} {}", &c.offset as *const _ as usize - start, std::mem::size_of_val(&c.offset)));
    lines.push(format!("QEX_TIMING_METRICS_EX.delay {} {}", &c.delay as *const _ as usize - start, std::mem::size_of_val(&c.delay)));
    lines.push(format!("QEX_TIMING_METRICS_EX.expiration {} {}", &c.expiration as *const _ as usize - start, std::mem::size_of_val(&c.expiration)));
    lines.push(format!("QEX_TIMING_METRICS_EX.leapAction {} {}", &c.leapAction as *const _ as usize - start, std::mem::size_of_val(&c.leapAction)));
    lines.push(format!("QEX_TIMING_METRICS_EX.leapTime {} {}", &c.leapTime as *const _ as usize - start, std::mem::size_of_val(&c.leapTime)));
    let c = QEX_TIMING_METRICS::CLEARED;
    let start = &c as *const _ as usize;
    lines.push(format!("QEX_TIMING_METRICS {}", std::mem::size_of_val(&c)));
    lines.push(format!("QEX_TIMING_METRICS.ntpTime {} {}", &c.ntpTime as *const _ as usize - start, std::mem::size_of_val(&c.ntpTime)));
    lines.push(format!("QEX_TIMING_METRICS.offset {} {}", &c.offset as *const _ as usize - start, std::mem::size_of_val(&c.offset)));
    lines.push(format!("QEX_TIMING_METRICS.delay {} {}", &c.delay as *const _ as usize - start, std::mem::size_of_val(&c.delay)));
    lines.push(format!("QEX_TIMING_METRICS.expiration {} {}", &c.expiration as *const _ as usize - start, std::mem::size_of_val(&c.expiration)));
    let c = QEX_TIMING_POLICY::CLEARED;
    let start = &c as *const _ as usize;
    lines.push(format!("QEX_TIMING_POLICY {}", std::mem::size_of_val(&c)));
    lines.push(format!("QEX_TIMING_POLICY.policyID {} {}", &c.policyID as *const _ as usize - start, std::mem::size_of_val(&c.policyID)));
    lines.push(format!("QEX_TIMING_POLICY.maxOffset {} {}", &c.maxOffset as *const _ as usize - start, std::mem::size_of_val(&c.maxOffset)));
    lines.push(format!("QEX_TIMING_POLICY.maxDelay {} {}", &c.maxDelay as *const _ as usize - start, std::mem::size_of_val(&c.maxDelay)));
    lines
}
