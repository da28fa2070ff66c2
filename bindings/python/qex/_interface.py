"""The C interface as ctypes sees it. Written by scripts/bindings.py from bindings/interface.json; do not edit."""

from __future__ import annotations

import ctypes
import dataclasses
import enum
from typing import Any

from ._record import Record, ResultError

SONAME = "libqex.so.1"
VERSION_NODE = "QEX_1.0"


class Code(enum.IntEnum):
    """Result codes of the C interface."""

    OK = 0
    ARG = -1
    NO_MEM = -2
    SIZE = -3
    MISSING = -5
    DECODE = -6
    BAD_TOKEN = -7
    SIGNATURE = -8
    REJECTED = -9
    NO_TOKEN = -10
    LENGTH = -11
    FRAMING = -12
    UNSUPPORTED = -13
    NO_CERT = -14
    NO_TAC = -15
    MISMATCH = -16
    NO_POLICY = -17


class Transport(enum.IntEnum):
    """How a message is framed for transport."""

    RAW = 0
    SOCKET = 1
    HTTP = 2
    RESERVED = 3


class ArgError(ResultError):
    """QEX_E_ARG: bad argument"""

    code = -1
    name = "QEX_E_ARG"
    text = "bad argument"


class NoMemError(ResultError):
    """QEX_E_NOMEM: out of memory, or a number too large"""

    code = -2
    name = "QEX_E_NOMEM"
    text = "out of memory, or a number too large"


class SizeError(ResultError):
    """QEX_E_SIZE: does not fit the output buffer or a field of the record"""

    code = -3
    name = "QEX_E_SIZE"
    text = "does not fit the output buffer or a field of the record"


class MissingError(ResultError):
    """QEX_E_MISSING: a needed element is absent"""

    code = -5
    name = "QEX_E_MISSING"
    text = "a needed element is absent"


class DecodeError(ResultError):
    """QEX_E_DECODE: the input does not decode or lacks the expected structure"""

    code = -6
    name = "QEX_E_DECODE"
    text = "the input does not decode or lacks the expected structure"


class BadTokenError(ResultError):
    """QEX_E_BADTOKEN: not a usable time-stamp token"""

    code = -7
    name = "QEX_E_BADTOKEN"
    text = "not a usable time-stamp token"


class SignatureError(ResultError):
    """QEX_E_SIGNATURE: the signature does not verify"""

    code = -8
    name = "QEX_E_SIGNATURE"
    text = "the signature does not verify"


class RejectedError(ResultError):
    """QEX_E_REJECTED: the authority did not grant the request"""

    code = -9
    name = "QEX_E_REJECTED"
    text = "the authority did not grant the request"


class NoTokenError(ResultError):
    """QEX_E_NOTOKEN: the response carries no token"""

    code = -10
    name = "QEX_E_NOTOKEN"
    text = "the response carries no token"


class LengthError(ResultError):
    """QEX_E_LENGTH: the framing announces another length"""

    code = -11
    name = "QEX_E_LENGTH"
    text = "the framing announces another length"


class FramingError(ResultError):
    """QEX_E_FRAMING: the transport framing is not acceptable"""

    code = -12
    name = "QEX_E_FRAMING"
    text = "the transport framing is not acceptable"


class UnsupportedError(ResultError):
    """QEX_E_UNSUPPORTED: algorithm or transport mode not supported"""

    code = -13
    name = "QEX_E_UNSUPPORTED"
    text = "algorithm or transport mode not supported"


class NoCertError(ResultError):
    """QEX_E_NOCERT: no certificate of the token matches its signing-certificate attribute"""

    code = -14
    name = "QEX_E_NOCERT"
    text = "no certificate of the token matches its signing-certificate attribute"


class NoTacError(ResultError):
    """QEX_E_NOTAC: the token carries no time attribute certificate"""

    code = -15
    name = "QEX_E_NOTAC"
    text = "the token carries no time attribute certificate"


class MismatchError(ResultError):
    """QEX_E_MISMATCH: the certificate is not the one that the token names"""

    code = -16
    name = "QEX_E_MISMATCH"
    text = "the certificate is not the one that the token names"


class NoPolicyError(ResultError):
    """QEX_E_NOPOLICY: the time attribute certificate has no timing policy"""

    code = -17
    name = "QEX_E_NOPOLICY"
    text = "the time attribute certificate has no timing policy"


ERRORS: dict[int, type[ResultError]] = {
    -1: ArgError,
    -2: NoMemError,
    -3: SizeError,
    -5: MissingError,
    -6: DecodeError,
    -7: BadTokenError,
    -8: SignatureError,
    -9: RejectedError,
    -10: NoTokenError,
    -11: LengthError,
    -12: FramingError,
    -13: UnsupportedError,
    -14: NoCertError,
    -15: NoTacError,
    -16: MismatchError,
    -17: NoPolicyError,
}


class QEX_U64(ctypes.Structure):
    _fields_ = [
        ("high", ctypes.c_uint32),
        ("low", ctypes.c_uint32),
    ]


class QEX_TSQ_DATA_EX(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("hashAlgorithm", ctypes.c_char * 128),
        ("hashedMessage", ctypes.c_uint8 * 128),
        ("hashedMessageLength", ctypes.c_uint32),
        ("reqPolicy", ctypes.c_char * 128),
        ("nonce", ctypes.c_uint8 * 40),
        ("nonceLength", ctypes.c_uint32),
        ("certReq", ctypes.c_uint32),
    ]


class QEX_TSQ_DATA(ctypes.Structure):
    _fields_ = [
        ("hashAlgorithm", ctypes.c_char * 128),
        ("hashedMessage", ctypes.c_uint8 * 40),
        ("hashedMessageLength", ctypes.c_uint32),
        ("reqPolicy", ctypes.c_char * 128),
        ("nonce", QEX_U64),
        ("certReq", ctypes.c_uint32),
    ]


class QEX_TSR_STATUS(ctypes.Structure):
    _fields_ = [
        ("status", ctypes.c_int32),
        ("statusText", ctypes.c_char * 80),
        ("failInfo", ctypes.c_uint32),
    ]


class QEX_TSTINFO_EX(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("version", ctypes.c_uint32),
        ("policy", ctypes.c_char * 128),
        ("hashAlgorithm", ctypes.c_char * 128),
        ("hashedMessage", ctypes.c_uint8 * 128),
        ("hashedMessageLength", ctypes.c_uint32),
        ("serialNumber", ctypes.c_uint8 * 40),
        ("serialNumberLength", ctypes.c_uint32),
        ("genTime", ctypes.c_char * 32),
        ("accuracySeconds", ctypes.c_uint32),
        ("accuracyMillis", ctypes.c_uint32),
        ("accuracyMicros", ctypes.c_uint32),
        ("ordering", ctypes.c_uint32),
        ("nonce", ctypes.c_uint8 * 40),
        ("nonceLength", ctypes.c_uint32),
        ("tsaName", ctypes.c_char * 512),
    ]


class QEX_TSTINFO(ctypes.Structure):
    _fields_ = [
        ("version", ctypes.c_uint32),
        ("policy", ctypes.c_char * 128),
        ("hashAlgorithm", ctypes.c_char * 128),
        ("hashedMessage", ctypes.c_uint8 * 40),
        ("hashedMessageLength", ctypes.c_uint32),
        ("serialNumber", QEX_U64),
        ("genTime", ctypes.c_char * 32),
        ("accuracySeconds", ctypes.c_uint32),
        ("accuracyMillis", ctypes.c_uint32),
        ("accuracyMicros", ctypes.c_uint32),
        ("ordering", ctypes.c_uint32),
        ("nonce", QEX_U64),
        ("tsaName", ctypes.c_char * 512),
    ]


class QEX_TACINFO_EX(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("version", ctypes.c_int32),
        ("holderName", ctypes.c_char * 512),
        ("digestAlgorithm", ctypes.c_char * 128),
        ("objectDigest", ctypes.c_uint8 * 128),
        ("objectDigestLen", ctypes.c_int32),
        ("issuerName", ctypes.c_char * 512),
        ("serialNumber", ctypes.c_uint8 * 40),
        ("serialNumberLen", ctypes.c_int32),
        ("notBefore", ctypes.c_char * 32),
        ("notAfter", ctypes.c_char * 32),
        ("signatureAlgorithm", ctypes.c_char * 128),
        ("signatureValue", ctypes.c_uint8 * 1024),
        ("signatureValueLen", ctypes.c_int32),
    ]


class QEX_TACINFO(ctypes.Structure):
    _fields_ = [
        ("version", ctypes.c_int32),
        ("holderName", ctypes.c_char * 512),
        ("digestAlgorithm", ctypes.c_char * 128),
        ("objectDigest", ctypes.c_uint8 * 40),
        ("objectDigestLen", ctypes.c_int32),
        ("issuerName", ctypes.c_char * 512),
        ("serialNumber", QEX_U64),
        ("notBefore", ctypes.c_char * 32),
        ("notAfter", ctypes.c_char * 32),
        ("signatureAlgorithm", ctypes.c_char * 128),
        ("signatureValue", ctypes.c_uint8 * 1024),
        ("signatureValueLen", ctypes.c_int32),
    ]


class QEX_TIMING_METRICS_EX(ctypes.Structure):
    _fields_ = [
        ("ntpTime", ctypes.c_char * 32),
        ("offset", ctypes.c_float),
        ("delay", ctypes.c_float),
        ("expiration", ctypes.c_char * 32),
        ("leapAction", ctypes.c_int32),
        ("leapTime", ctypes.c_char * 32),
    ]


class QEX_TIMING_METRICS(ctypes.Structure):
    _fields_ = [
        ("ntpTime", ctypes.c_char * 32),
        ("offset", ctypes.c_float),
        ("delay", ctypes.c_float),
        ("expiration", ctypes.c_char * 32),
    ]


class QEX_TIMING_POLICY(ctypes.Structure):
    _fields_ = [
        ("policyID", ctypes.c_char * 128),
        ("maxOffset", ctypes.c_float),
        ("maxDelay", ctypes.c_float),
    ]


@dataclasses.dataclass(frozen=True, kw_only=True)
class TsqDataEx(Record):
    """QEX_TSQ_DATA_EX: a time-stamp request (RFC 3161, 2.4.1)."""

    hash_algorithm: str = ""
    hashed_message: bytes = b""
    hashed_message_length: int = 0
    req_policy: str = ""
    nonce: bytes = b""
    nonce_length: int = 0
    cert_req: int = 0

    STRUCTURE = QEX_TSQ_DATA_EX
    SIZED = True
    FIELDS = (
        ("hash_algorithm", "hashAlgorithm", "text"),
        ("hashed_message", "hashedMessage", "octets"),
        ("hashed_message_length", "hashedMessageLength", "length"),
        ("req_policy", "reqPolicy", "text"),
        ("nonce", "nonce", "octets"),
        ("nonce_length", "nonceLength", "length"),
        ("cert_req", "certReq", "number"),
    )


@dataclasses.dataclass(frozen=True, kw_only=True)
class TsqData(Record):
    """QEX_TSQ_DATA: a time-stamp request, short form."""

    hash_algorithm: str = ""
    hashed_message: bytes = b""
    hashed_message_length: int = 0
    req_policy: str = ""
    nonce: int = 0
    cert_req: int = 0

    STRUCTURE = QEX_TSQ_DATA
    SIZED = False
    FIELDS = (
        ("hash_algorithm", "hashAlgorithm", "text"),
        ("hashed_message", "hashedMessage", "octets"),
        ("hashed_message_length", "hashedMessageLength", "length"),
        ("req_policy", "reqPolicy", "text"),
        ("nonce", "nonce", "u64"),
        ("cert_req", "certReq", "number"),
    )


@dataclasses.dataclass(frozen=True, kw_only=True)
class TsrStatus(Record):
    """QEX_TSR_STATUS: the status of a response (RFC 3161, 2.4.2)."""

    status: int = 0
    status_text: str = ""
    fail_info: int = 0

    STRUCTURE = QEX_TSR_STATUS
    SIZED = False
    FIELDS = (
        ("status", "status", "number"),
        ("status_text", "statusText", "text"),
        ("fail_info", "failInfo", "number"),
    )


@dataclasses.dataclass(frozen=True, kw_only=True)
class TstInfoEx(Record):
    """QEX_TSTINFO_EX: the content of a time-stamp token (RFC 3161, 2.4.2, TSTInfo)."""

    version: int = 0
    policy: str = ""
    hash_algorithm: str = ""
    hashed_message: bytes = b""
    hashed_message_length: int = 0
    serial_number: bytes = b""
    serial_number_length: int = 0
    gen_time: str = ""
    accuracy_seconds: int = 0
    accuracy_millis: int = 0
    accuracy_micros: int = 0
    ordering: int = 0
    nonce: bytes = b""
    nonce_length: int = 0
    tsa_name: str = ""

    STRUCTURE = QEX_TSTINFO_EX
    SIZED = True
    FIELDS = (
        ("version", "version", "number"),
        ("policy", "policy", "text"),
        ("hash_algorithm", "hashAlgorithm", "text"),
        ("hashed_message", "hashedMessage", "octets"),
        ("hashed_message_length", "hashedMessageLength", "length"),
        ("serial_number", "serialNumber", "octets"),
        ("serial_number_length", "serialNumberLength", "length"),
        ("gen_time", "genTime", "text"),
        ("accuracy_seconds", "accuracySeconds", "number"),
        ("accuracy_millis", "accuracyMillis", "number"),
        ("accuracy_micros", "accuracyMicros", "number"),
        ("ordering", "ordering", "number"),
        ("nonce", "nonce", "octets"),
        ("nonce_length", "nonceLength", "length"),
        ("tsa_name", "tsaName", "text"),
    )


@dataclasses.dataclass(frozen=True, kw_only=True)
class TstInfo(Record):
    """QEX_TSTINFO: the content of a time-stamp token, short form."""

    version: int = 0
    policy: str = ""
    hash_algorithm: str = ""
    hashed_message: bytes = b""
    hashed_message_length: int = 0
    serial_number: int = 0
    gen_time: str = ""
    accuracy_seconds: int = 0
    accuracy_millis: int = 0
    accuracy_micros: int = 0
    ordering: int = 0
    nonce: int = 0
    tsa_name: str = ""

    STRUCTURE = QEX_TSTINFO
    SIZED = False
    FIELDS = (
        ("version", "version", "number"),
        ("policy", "policy", "text"),
        ("hash_algorithm", "hashAlgorithm", "text"),
        ("hashed_message", "hashedMessage", "octets"),
        ("hashed_message_length", "hashedMessageLength", "length"),
        ("serial_number", "serialNumber", "u64"),
        ("gen_time", "genTime", "text"),
        ("accuracy_seconds", "accuracySeconds", "number"),
        ("accuracy_millis", "accuracyMillis", "number"),
        ("accuracy_micros", "accuracyMicros", "number"),
        ("ordering", "ordering", "number"),
        ("nonce", "nonce", "u64"),
        ("tsa_name", "tsaName", "text"),
    )


@dataclasses.dataclass(frozen=True, kw_only=True)
class TacInfoEx(Record):
    """QEX_TACINFO_EX: holder, issuer and signature of a time attribute certificate (RFC 3281, 4.1)."""

    version: int = 0
    holder_name: str = ""
    digest_algorithm: str = ""
    object_digest: bytes = b""
    object_digest_len: int = 0
    issuer_name: str = ""
    serial_number: bytes = b""
    serial_number_len: int = 0
    not_before: str = ""
    not_after: str = ""
    signature_algorithm: str = ""
    signature_value: bytes = b""
    signature_value_len: int = 0

    STRUCTURE = QEX_TACINFO_EX
    SIZED = True
    FIELDS = (
        ("version", "version", "number"),
        ("holder_name", "holderName", "text"),
        ("digest_algorithm", "digestAlgorithm", "text"),
        ("object_digest", "objectDigest", "octets"),
        ("object_digest_len", "objectDigestLen", "length"),
        ("issuer_name", "issuerName", "text"),
        ("serial_number", "serialNumber", "octets"),
        ("serial_number_len", "serialNumberLen", "length"),
        ("not_before", "notBefore", "text"),
        ("not_after", "notAfter", "text"),
        ("signature_algorithm", "signatureAlgorithm", "text"),
        ("signature_value", "signatureValue", "octets"),
        ("signature_value_len", "signatureValueLen", "length"),
    )


@dataclasses.dataclass(frozen=True, kw_only=True)
class TacInfo(Record):
    """QEX_TACINFO: holder, issuer and signature of a time attribute certificate, short form."""

    version: int = 0
    holder_name: str = ""
    digest_algorithm: str = ""
    object_digest: bytes = b""
    object_digest_len: int = 0
    issuer_name: str = ""
    serial_number: int = 0
    not_before: str = ""
    not_after: str = ""
    signature_algorithm: str = ""
    signature_value: bytes = b""
    signature_value_len: int = 0

    STRUCTURE = QEX_TACINFO
    SIZED = False
    FIELDS = (
        ("version", "version", "number"),
        ("holder_name", "holderName", "text"),
        ("digest_algorithm", "digestAlgorithm", "text"),
        ("object_digest", "objectDigest", "octets"),
        ("object_digest_len", "objectDigestLen", "length"),
        ("issuer_name", "issuerName", "text"),
        ("serial_number", "serialNumber", "u64"),
        ("not_before", "notBefore", "text"),
        ("not_after", "notAfter", "text"),
        ("signature_algorithm", "signatureAlgorithm", "text"),
        ("signature_value", "signatureValue", "octets"),
        ("signature_value_len", "signatureValueLen", "length"),
    )


@dataclasses.dataclass(frozen=True, kw_only=True)
class TimingMetricsEx(Record):
    """QEX_TIMING_METRICS_EX: the authority's timing metrics. Times are UTC, YYYYMMDDhhmmssZ; durations are in seconds."""

    ntp_time: str = ""
    offset: float = 0.0
    delay: float = 0.0
    expiration: str = ""
    leap_action: int = 0
    leap_time: str = ""

    STRUCTURE = QEX_TIMING_METRICS_EX
    SIZED = False
    FIELDS = (
        ("ntp_time", "ntpTime", "text"),
        ("offset", "offset", "number"),
        ("delay", "delay", "number"),
        ("expiration", "expiration", "text"),
        ("leap_action", "leapAction", "number"),
        ("leap_time", "leapTime", "text"),
    )


@dataclasses.dataclass(frozen=True, kw_only=True)
class TimingMetrics(Record):
    """QEX_TIMING_METRICS: the authority's timing metrics without the leap event."""

    ntp_time: str = ""
    offset: float = 0.0
    delay: float = 0.0
    expiration: str = ""

    STRUCTURE = QEX_TIMING_METRICS
    SIZED = False
    FIELDS = (
        ("ntp_time", "ntpTime", "text"),
        ("offset", "offset", "number"),
        ("delay", "delay", "number"),
        ("expiration", "expiration", "text"),
    )


@dataclasses.dataclass(frozen=True, kw_only=True)
class TimingPolicy(Record):
    """QEX_TIMING_POLICY: the authority's timing policy."""

    policy_id: str = ""
    max_offset: float = 0.0
    max_delay: float = 0.0

    STRUCTURE = QEX_TIMING_POLICY
    SIZED = False
    FIELDS = (
        ("policy_id", "policyID", "text"),
        ("max_offset", "maxOffset", "number"),
        ("max_delay", "maxDelay", "number"),
    )


# The result and the arguments of each function.
FUNCTIONS: dict[str, tuple[Any, list[Any]]] = {
    "QEX_MD5_Init": (ctypes.c_void_p, []),
    "QEX_MD5_Update": (None, [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_uint32]),
    "QEX_MD5_Final": (None, [ctypes.c_void_p, ctypes.c_void_p]),
    "QEX_SHA1_Init": (ctypes.c_void_p, []),
    "QEX_SHA1_Update": (None, [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_uint32]),
    "QEX_SHA1_Final": (None, [ctypes.c_void_p, ctypes.c_void_p]),
    "QEX_SHA256_Init": (ctypes.c_void_p, []),
    "QEX_SHA256_Update": (None, [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_uint32]),
    "QEX_SHA256_Final": (None, [ctypes.c_void_p, ctypes.c_void_p]),
    "QEX_SHA384_Init": (ctypes.c_void_p, []),
    "QEX_SHA384_Update": (None, [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_uint32]),
    "QEX_SHA384_Final": (None, [ctypes.c_void_p, ctypes.c_void_p]),
    "QEX_SHA512_Init": (ctypes.c_void_p, []),
    "QEX_SHA512_Update": (None, [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_uint32]),
    "QEX_SHA512_Final": (None, [ctypes.c_void_p, ctypes.c_void_p]),
    "QEX_GetLastAsnError": (ctypes.c_int32, []),
    "QEX_EncodeTSQ_Ex": (
        ctypes.c_int32,
        [ctypes.POINTER(QEX_TSQ_DATA_EX), ctypes.c_void_p, ctypes.POINTER(ctypes.c_uint32), ctypes.c_uint32],
    ),
    "QEX_EncodeTSQ": (
        ctypes.c_int32,
        [ctypes.POINTER(QEX_TSQ_DATA), ctypes.c_void_p, ctypes.POINTER(ctypes.c_uint32), ctypes.c_int32],
    ),
    "QEX_DecodeTSQ_Ex": (ctypes.c_int32, [ctypes.POINTER(QEX_TSQ_DATA_EX), ctypes.c_char_p, ctypes.c_uint32]),
    "QEX_DecodeTSQ": (ctypes.c_int32, [ctypes.POINTER(QEX_TSQ_DATA), ctypes.c_char_p, ctypes.c_uint32]),
    "QEX_UnpackTSR": (
        ctypes.c_int32,
        [ctypes.c_void_p, ctypes.POINTER(ctypes.c_uint32), ctypes.POINTER(ctypes.c_uint32), ctypes.c_int32],
    ),
    "QEX_GetTSR_Status": (ctypes.c_int32, [ctypes.POINTER(QEX_TSR_STATUS), ctypes.c_char_p, ctypes.c_uint32]),
    "QEX_GetTSR_EncodedToken": (
        ctypes.c_int32,
        [ctypes.c_void_p, ctypes.POINTER(ctypes.c_uint32), ctypes.c_char_p, ctypes.c_uint32],
    ),
    "QEX_GetTST_TSTInfoEx": (ctypes.c_int32, [ctypes.POINTER(QEX_TSTINFO_EX), ctypes.c_char_p, ctypes.c_uint32]),
    "QEX_GetTST_TSTInfo": (ctypes.c_int32, [ctypes.POINTER(QEX_TSTINFO), ctypes.c_char_p, ctypes.c_uint32]),
    "QEX_GetTST_TSACert": (
        ctypes.c_int32,
        [ctypes.c_void_p, ctypes.POINTER(ctypes.c_uint32), ctypes.c_char_p, ctypes.c_uint32],
    ),
    "QEX_VerifyTST_Signature": (ctypes.c_int32, [ctypes.c_char_p, ctypes.c_uint32, ctypes.c_char_p, ctypes.c_uint32]),
    "QEX_TSTInfoToIDData": (
        ctypes.c_int32,
        [ctypes.c_char_p, ctypes.c_uint32, ctypes.c_void_p, ctypes.POINTER(ctypes.c_uint32)],
    ),
    "QEX_RemoveAttrCerts": (
        ctypes.c_int32,
        [ctypes.c_char_p, ctypes.c_uint32, ctypes.c_void_p, ctypes.POINTER(ctypes.c_uint32)],
    ),
    "QEX_GetTST_TimeAttributeCert": (
        ctypes.c_int32,
        [ctypes.c_void_p, ctypes.POINTER(ctypes.c_uint32), ctypes.c_char_p, ctypes.c_uint32],
    ),
    "QEX_CheckTAC_MatchesTST": (ctypes.c_int32, [ctypes.c_char_p, ctypes.c_uint32, ctypes.c_char_p, ctypes.c_uint32]),
    "QEX_GetTAC_CertInfoEx": (ctypes.c_int32, [ctypes.POINTER(QEX_TACINFO_EX), ctypes.c_char_p, ctypes.c_uint32]),
    "QEX_GetTAC_CertInfo": (ctypes.c_int32, [ctypes.POINTER(QEX_TACINFO), ctypes.c_char_p, ctypes.c_uint32]),
    "QEX_GetTAC_TimingMetricsEx": (
        ctypes.c_int32,
        [ctypes.POINTER(QEX_TIMING_METRICS_EX), ctypes.c_char_p, ctypes.c_uint32],
    ),
    "QEX_GetTAC_TimingMetrics": (
        ctypes.c_int32,
        [ctypes.POINTER(QEX_TIMING_METRICS), ctypes.c_char_p, ctypes.c_uint32],
    ),
    "QEX_GetTAC_TimingPolicy": (ctypes.c_int32, [ctypes.POINTER(QEX_TIMING_POLICY), ctypes.c_char_p, ctypes.c_uint32]),
}
