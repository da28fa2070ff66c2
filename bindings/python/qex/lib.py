"""The C interface of libqex as it is: one function here for each function there, with bytes in and bytes out.

Names are those of C in lower case without QEX_. A result code other than QEX_OK is an exception, one class a code. Output
buffers are sized here; records are dataclasses. `qex.h` says what each function does and which codes it returns.

The library's verification is narrow: `verify_tst_signature` checks neither dates nor chain, revocation and key usage, and
reads its switch QEX_VERIFY_ESSCERTIDV2 once in the life of the process, at its first use. To decide whether a token is to
be believed, use `qex.check`; to make requests, take replies apart and read tokens, this module.

All functions may be called from several threads at once.
"""

from __future__ import annotations

import ctypes
from typing import Any, Callable, Union

from ._digests import Md5, Sha1, Sha256, Sha384, Sha512
from ._interface import (ERRORS, ArgError, BadTokenError, Code, DecodeError, FramingError, LengthError, MismatchError,
                         MissingError, NoCertError, NoMemError, NoPolicyError, NoTacError, NoTokenError, RejectedError,
                         SignatureError, SizeError, TacInfo, TacInfoEx, TimingMetrics, TimingMetricsEx, TimingPolicy,
                         Transport, TsqData, TsqDataEx, TsrStatus, TstInfo, TstInfoEx, UnsupportedError)
from ._load import LibraryError, library
from ._record import AnyRecord, QexError, Record, ResultError, empty, from_c

__all__ = [
    "ArgError", "BadTokenError", "Code", "DecodeError", "FramingError", "LengthError", "LibraryError", "Md5",
    "MismatchError", "MissingError", "NoCertError", "NoMemError", "NoPolicyError", "NoTacError", "NoTokenError", "QexError",
    "Record", "RejectedError", "ResultError", "Sha1", "Sha256", "Sha384", "Sha512", "SignatureError", "SizeError", "TacInfo",
    "TacInfoEx", "TimingMetrics", "TimingMetricsEx", "TimingPolicy", "Transport", "TsqData", "TsqDataEx", "TsrStatus",
    "TstInfo", "TstInfoEx", "UnsupportedError", "check_tac_matches_tst", "decode_tsq", "decode_tsq_ex", "encode_tsq",
    "encode_tsq_ex", "get_last_asn_error", "get_tac_cert_info", "get_tac_cert_info_ex", "get_tac_timing_metrics",
    "get_tac_timing_metrics_ex", "get_tac_timing_policy", "get_tsr_encoded_token", "get_tsr_status",
    "get_tst_time_attribute_cert", "get_tst_tsa_cert", "get_tst_tstinfo", "get_tst_tstinfo_ex", "remove_attr_certs",
    "tstinfo_to_id_data", "unpack_tsr", "verify_tst_signature",
]

Octets = Union[bytes, bytearray, memoryview]
_MOST = (1 << 32) - 1


def _octets(data: Octets) -> bytes:
    """Input as the C interface takes it. A longer one would lose its upper bits in a length."""
    if not isinstance(data, (bytes, bytearray, memoryview)):
        raise TypeError(f"octets are expected, not {type(data).__name__}")
    data = bytes(data)
    if len(data) > _MOST:
        raise ValueError(f"the library takes at most {_MOST} octets, not {len(data)}")
    return data


def _check(function: str, code: int, **details: Any) -> None:
    if code == Code.OK:
        return
    if code not in ERRORS:
        raise LibraryError(f"{function} returned {code}, which this package does not know; install its newer version")
    raise ERRORS[code](function, library().QEX_GetLastAsnError(), **details)


def _other_size(function: str, kind: type[Record]) -> LibraryError:
    """With pointers and lengths in order, QEX_E_ARG can only mean the size of the record."""
    return LibraryError(f"{function} expects another size of {kind.STRUCTURE.__name__} than the "
                        f"{ctypes.sizeof(kind.STRUCTURE)} octets of this package; install library and package of one version")


def _encode(function: str, request: Record, transport: Transport) -> bytes:
    structure, mode = request.to_c(), Transport(transport)
    try:
        return _output(function, 1024, lambda out, length: getattr(library(), function)(
            ctypes.byref(structure), out, length, mode))
    except ArgError:
        if not request.SIZED:
            raise
        raise _other_size(function, type(request)) from None


def _fill(function: str, kind: type[AnyRecord], data: Octets) -> AnyRecord:
    """Reads a record from a message."""
    octets, structure = _octets(data), empty(kind)
    code = getattr(library(), function)(ctypes.byref(structure), octets, len(octets))
    if code == Code.ARG and kind.SIZED:
        raise _other_size(function, kind)
    if code == Code.SIZE:
        _check(function, code, record=from_c(kind, structure))
    _check(function, code)
    return from_c(kind, structure)


def _output(function: str, room: int, call: Callable[[Any, Any], Any]) -> bytes:
    """Calls with a buffer that usually suffices; the library says how long another has to be."""
    while True:
        out, length = ctypes.create_string_buffer(room), ctypes.c_uint32(room)
        code = call(out, ctypes.byref(length))
        if code != Code.SIZE or length.value <= room:
            _check(function, code)
            return ctypes.string_at(out, length.value)
        room = length.value


def get_last_asn_error() -> int:
    """QEX_GetLastAsnError: the code of the last decoding or encoding in this process, whichever thread it was in."""
    return int(library().QEX_GetLastAsnError())


def encode_tsq_ex(request: TsqDataEx, transport: Transport = Transport.RAW) -> bytes:
    """QEX_EncodeTSQ_Ex: the request, framed for `transport`."""
    return _encode("QEX_EncodeTSQ_Ex", request, transport)


def encode_tsq(request: TsqData, transport: Transport = Transport.RAW) -> bytes:
    """QEX_EncodeTSQ: the same from the short record."""
    return _encode("QEX_EncodeTSQ", request, transport)


def decode_tsq_ex(data: Octets) -> TsqDataEx:
    """QEX_DecodeTSQ_Ex: reads a request, bare or framed."""
    return _fill("QEX_DecodeTSQ_Ex", TsqDataEx, data)


def decode_tsq(data: Octets) -> TsqData:
    """QEX_DecodeTSQ: the same into the short record, which holds 40 octets of the hash."""
    return _fill("QEX_DecodeTSQ", TsqData, data)


def unpack_tsr(data: Octets, transport: Transport) -> tuple[bytes, int]:
    """QEX_UnpackTSR: the bare response of a framed reply, and its flag (socket) or HTTP status.

    An incomplete reply is a LengthError whose details["announced"] is the length of the whole: read on and call again.
    """
    octets, mode = _octets(data), Transport(transport)
    buffer = ctypes.create_string_buffer(octets, len(octets) or 1)
    length, status = ctypes.c_uint32(len(octets)), ctypes.c_uint32()
    code = library().QEX_UnpackTSR(buffer, ctypes.byref(length), ctypes.byref(status), mode)
    details = {Code.LENGTH: {"announced": length.value}, Code.FRAMING: {"transport_status": status.value}}.get(code, {})
    _check("QEX_UnpackTSR", code, **details)
    return ctypes.string_at(buffer, length.value), status.value


def get_tsr_status(tsr: Octets) -> TsrStatus:
    """QEX_GetTSR_Status: status, text and failure of a bare response."""
    return _fill("QEX_GetTSR_Status", TsrStatus, tsr)


def get_tsr_encoded_token(tsr: Octets) -> bytes:
    """QEX_GetTSR_EncodedToken: the token of a bare response that grants the request."""
    octets = _octets(tsr)
    return _output("QEX_GetTSR_EncodedToken", len(octets),
                   lambda out, length: library().QEX_GetTSR_EncodedToken(out, length, octets, len(octets)))


def get_tst_tstinfo_ex(token: Octets) -> TstInfoEx:
    """QEX_GetTST_TSTInfoEx: what a token says. Verifies nothing."""
    return _fill("QEX_GetTST_TSTInfoEx", TstInfoEx, token)


def get_tst_tstinfo(token: Octets) -> TstInfo:
    """QEX_GetTST_TSTInfo: the same into the short record."""
    return _fill("QEX_GetTST_TSTInfo", TstInfo, token)


def get_tst_tsa_cert(token: Octets) -> bytes:
    """QEX_GetTST_TSACert: the certificate in the token that its signing-certificate attribute names."""
    octets = _octets(token)
    return _output("QEX_GetTST_TSACert", len(octets),
                   lambda out, length: library().QEX_GetTST_TSACert(out, length, octets, len(octets)))


def verify_tst_signature(token: Octets, certificate: Octets | None) -> None:
    """QEX_VerifyTST_Signature: returns when the key of `certificate`, one that you trust, signed the token.

    None accepts any signer whose certificate is in the token. Set QEX_VERIFY_ESSCERTIDV2=1 in os.environ before the first
    call for tokens with version 2 of the signing-certificate attribute, which most authorities send.
    """
    octets = _octets(token)
    signer = None if certificate is None else _octets(certificate)
    if signer is not None and not signer:
        # The library would take it for no certificate, and so accept any.
        raise ValueError("the certificate is empty; None accepts any signer")
    _check("QEX_VerifyTST_Signature", library().QEX_VerifyTST_Signature(octets, len(octets), signer, len(signer or b"")))


def tstinfo_to_id_data(token: Octets) -> bytes:
    """QEX_TSTInfoToIDData: the token with its content typed as plain data."""
    octets = _octets(token)
    return _output("QEX_TSTInfoToIDData", len(octets),
                   lambda out, length: library().QEX_TSTInfoToIDData(octets, len(octets), out, length))


def remove_attr_certs(token: Octets) -> bytes:
    """QEX_RemoveAttrCerts: the token without attribute certificates."""
    octets = _octets(token)
    return _output("QEX_RemoveAttrCerts", len(octets),
                   lambda out, length: library().QEX_RemoveAttrCerts(octets, len(octets), out, length))


def get_tst_time_attribute_cert(token: Octets) -> bytes:
    """QEX_GetTST_TimeAttributeCert: the time attribute certificate of a token."""
    octets = _octets(token)
    return _output("QEX_GetTST_TimeAttributeCert", len(octets),
                   lambda out, length: library().QEX_GetTST_TimeAttributeCert(out, length, octets, len(octets)))


def check_tac_matches_tst(tac: Octets, token: Octets) -> None:
    """QEX_CheckTAC_MatchesTST: returns when the attribute certificate belongs to the token."""
    certificate, octets = _octets(tac), _octets(token)
    _check("QEX_CheckTAC_MatchesTST",
           library().QEX_CheckTAC_MatchesTST(certificate, len(certificate), octets, len(octets)))


def get_tac_cert_info_ex(tac: Octets) -> TacInfoEx:
    """QEX_GetTAC_CertInfoEx: holder, issuer, validity and signature of an attribute certificate."""
    return _fill("QEX_GetTAC_CertInfoEx", TacInfoEx, tac)


def get_tac_cert_info(tac: Octets) -> TacInfo:
    """QEX_GetTAC_CertInfo: the same into the short record."""
    return _fill("QEX_GetTAC_CertInfo", TacInfo, tac)


def get_tac_timing_metrics_ex(tac: Octets) -> TimingMetricsEx:
    """QEX_GetTAC_TimingMetricsEx: how good the authority's clock is."""
    return _fill("QEX_GetTAC_TimingMetricsEx", TimingMetricsEx, tac)


def get_tac_timing_metrics(tac: Octets) -> TimingMetrics:
    """QEX_GetTAC_TimingMetrics: the same into the short record."""
    return _fill("QEX_GetTAC_TimingMetrics", TimingMetrics, tac)


def get_tac_timing_policy(tac: Octets) -> TimingPolicy:
    """QEX_GetTAC_TimingPolicy: how good the authority says that its clock has to be."""
    return _fill("QEX_GetTAC_TimingPolicy", TimingPolicy, tac)
