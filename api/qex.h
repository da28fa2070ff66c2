/*
 * qex.h: the interface of libqex, time-stamping by RFC 3161.
 *
 * Functions take and fill byte buffers and records of fixed layout. The caller owns all of them: the
 * library keeps no pointer after a call and returns no memory (the contexts of digests are the one
 * exception). It opens no file and no connection; the caller carries bytes to and from the authority.
 *
 * A usual exchange:
 *   1. set QEX_VERIFY_ESSCERTIDV2=1 in the environment, unless the authority still uses version 1 of the
 *      signing-certificate attribute (see QEX_VerifyTST_Signature),
 *   2. digest the data (QEX_SHA256_Init ...) and encode a request (QEX_EncodeTSQ_Ex),
 *   3. send it and receive the reply,
 *   4. unpack the reply (QEX_UnpackTSR), read its status (QEX_GetTSR_Status) and take the token
 *      (QEX_GetTSR_EncodedToken),
 *   5. verify the token (QEX_VerifyTST_Signature), read it (QEX_GetTST_TSTInfoEx), and compare imprint,
 *      nonce and policy with the request.
 *
 * Conventions of every function that returns a code:
 * - The code is 0 (QEX_OK) or one of the negative QEX_E_ values. Its description lists every code that it
 *   returns, or names the function whose codes it shares.
 * - Lengths are in bytes, from 0 to 4294967295 unless a range is given. Input is read up to its length and
 *   no further. It is DER or BER, and whatever follows its first value is ignored.
 * - Output buffers: on entry *outLength is the capacity of `out`, on return the length of the complete
 *   output. When `out` is null or too small, nothing is written to it, *outLength is set to the length
 *   needed, and the function returns QEX_E_SIZE. So a call with a null `out` asks for the length.
 * - Text fields of records are zero-terminated. A value longer than its field is cut to the field, the
 *   rest of the record is filled, and the function returns QEX_E_SIZE unless its description says otherwise.
 *   A ...Length field always holds the full length of its value.
 * - A failed allocation returns QEX_E_NOMEM or the code of the step that needed it: while decoding,
 *   QEX_E_DECODE with last ASN.1 error -27. It never returns QEX_OK.
 * - No exception leaves a function. On malformed input the library may write a line to the standard error
 *   stream; QEX_GetLastAsnError returns the code of the failure.
 *
 * Threads: functions may be called from several threads at once. The last ASN.1 error and the switch
 * QEX_VERIFY_ESSCERTIDV2 are one word each for the whole process.
 */
#ifndef QEX_H
#define QEX_H

#include <stdint.h>

/* The version of this header, by semantic versioning. A program compiled with it runs with every library of
   the same major version that is not older. */
#define QEX_VERSION_MAJOR 1
#define QEX_VERSION_MINOR 0
#define QEX_VERSION_PATCH 0

/* On Windows a module definition file lists the exports, and a program that links the static library defines
 * QEX_STATIC. */
#if defined(_WIN32) && (defined(QEX_BUILDING) || defined(QEX_STATIC))
#define QEX_EXPORT
#elif defined(_WIN32)
#define QEX_EXPORT __declspec(dllimport)
#elif defined(__GNUC__)
#define QEX_EXPORT __attribute__((visibility("default")))
#else
#define QEX_EXPORT
#endif

#ifdef __cplusplus
#define QEX_NOEXCEPT noexcept
extern "C" {
#else
#define QEX_NOEXCEPT
#endif

/* ---- Result codes. The value -4 is never returned. Further causes follow the list. ---- */

enum {
  QEX_OK = 0,              /* success */
  QEX_E_ARG = -1,          /* bad argument [1] */
  QEX_E_NOMEM = -2,        /* an allocation failed; in verification also: a number is too large */
  QEX_E_SIZE = -3,         /* the output buffer or a field of the record is too small [2] */
  QEX_E_MISSING = -5,      /* an element that the operation needs is absent [3] */
  QEX_E_DECODE = -6,       /* the input does not decode, or the token lacks a structure that is needed */
  QEX_E_BADTOKEN = -7,     /* not a usable signed token [4] */
  QEX_E_SIGNATURE = -8,    /* the signature, or the digest of the content, does not verify */
  QEX_E_REJECTED = -9,     /* the status is neither granted (0) nor grantedWithMods (1) */
  QEX_E_NOTOKEN = -10,     /* the response carries no time-stamp token */
  QEX_E_LENGTH = -11,      /* the transport framing announces another length than the caller gave */
  QEX_E_FRAMING = -12,     /* the transport framing is not acceptable [5] */
  QEX_E_UNSUPPORTED = -13, /* transport mode 3, key algorithm or pair of algorithms not supported [6] */
  QEX_E_NOCERT = -14,      /* no certificate of the token matches its signing-certificate attribute */
  QEX_E_NOTAC = -15,       /* the token carries no time attribute certificate */
  QEX_E_MISMATCH = -16,    /* a certificate or digest does not match the token's signed attributes [7] */
  QEX_E_NOPOLICY = -17     /* the time attribute certificate has attributes but no timing policy */
};

/*
 * [1] A required pointer is null, a record's size field has another value than the function expects, a
 *     transport mode is out of range, an input text is not terminated inside its field, an input length
 *     exceeds its field, a framed reply does not begin as its transport mode requires, or the authority's
 *     certificate that the caller gave does not decode.
 * [2] The output buffer is absent or too small; or a decoded value is longer than its field in the record,
 *     which is filled all the same.
 * [3] Also: encoding a value again produced nothing.
 * [4] The token does not decode, is not signed data, or lacks its content, a usable first SignerInfo or a
 *     message-digest attribute.
 * [5] HTTP status other than 200, wrong or missing content type, content length 0; socket flag other than 5.
 * [6] The key is the authority's; the pair is that of digest and signature algorithm.
 * [7] Also: a time attribute certificate does not belong to the token.
 */

/* ---- Transport modes: how a message is framed for transport. ---- */

enum {
  QEX_TRANSPORT_RAW = 0,     /* the DER encoding alone */
  QEX_TRANSPORT_SOCKET = 1,  /* 4-byte big-endian length of the rest, flag byte (request 0, reply 5), DER */
  QEX_TRANSPORT_HTTP = 2,    /* an HTTP/1.0 message: head, empty line, DER encoding (RFC 3161, 3.4) */
  QEX_TRANSPORT_RESERVED = 3 /* not supported: QEX_E_UNSUPPORTED */
};

/* ---- Records. Natural alignment, no padding; integers in the machine's byte order. ---- */

/* A 64-bit unsigned number: high * 2^32 + low. */
typedef struct QEX_U64 {
  uint32_t high; /* its upper 32 bits */
  uint32_t low;  /* its lower 32 bits */
} QEX_U64;

/* A time-stamp request (RFC 3161, 2.4.1). 440 bytes. */
typedef struct QEX_TSQ_DATA_EX {
  uint32_t size;                /* 440, set by the caller before the call */
  char hashAlgorithm[128];      /* object identifier of the hash algorithm, dotted text */
  uint8_t hashedMessage[128];   /* hash of the data to be stamped */
  uint32_t hashedMessageLength; /* bytes of hashedMessage, 0 to 128 */
  char reqPolicy[128];          /* requested policy, dotted text; empty: none */
  uint8_t nonce[40];            /* contents octets of the nonce INTEGER, big-endian two's complement */
  uint32_t nonceLength;         /* bytes of nonce, 0 to 40; 0: no nonce */
  uint32_t certReq;             /* non-zero: the authority shall include its certificate */
} QEX_TSQ_DATA_EX;

/* A time-stamp request, short form. 312 bytes. */
typedef struct QEX_TSQ_DATA {
  char hashAlgorithm[128];      /* as above */
  uint8_t hashedMessage[40];    /* room for 40 bytes only */
  uint32_t hashedMessageLength; /* encoding: 0 to 40; decoding: the full length */
  char reqPolicy[128];          /* as above */
  QEX_U64 nonce;                /* 0: no nonce */
  uint32_t certReq;             /* as above */
} QEX_TSQ_DATA;

/* The status of a response (RFC 3161, 2.4.2). 88 bytes. */
typedef struct QEX_TSR_STATUS {
  int32_t status;      /* PKIStatus: 0 granted, 1 grantedWithMods, 2 rejection, 3 waiting,
                          4 revocationWarning, 5 revocationNotification */
  char statusText[80]; /* the first text of statusString, at most 79 bytes; empty when absent */
  uint32_t failInfo;   /* from failInfo, a string of n bits: n - 1, which is the number of the failure
                          when its bit is the last one encoded (0 badAlg, 2 badRequest, 5 badDataFormat,
                          14 timeNotAvailable, 15 unacceptedPolicy, 16 unacceptedExtension,
                          17 addInfoNotAvailable, 25 systemFailure); but the value of the first byte
                          when n is 8, 4294967295 when n is 0, and 0 when failInfo is absent */
} QEX_TSR_STATUS;

/* The content of a time-stamp token (RFC 3161, 2.4.2, TSTInfo). 1044 bytes. */
typedef struct QEX_TSTINFO_EX {
  uint32_t size;                /* 1044, set by the caller before the call; 880 on return */
  uint32_t version;             /* of the TSTInfo */
  char policy[128];             /* the authority's policy, dotted text */
  char hashAlgorithm[128];      /* hash algorithm of the imprint, dotted text */
  uint8_t hashedMessage[128];   /* the imprint's hash, its first up to 128 bytes */
  uint32_t hashedMessageLength; /* its full length */
  uint8_t serialNumber[40];     /* contents octets of the serial number, its first up to 40 bytes */
  uint32_t serialNumberLength;  /* its full length */
  char genTime[32];             /* the GeneralizedTime as encoded (20241115080000Z, or with a fraction),
                                   at most 31 characters */
  uint32_t accuracySeconds;     /* 0 when absent */
  uint32_t accuracyMillis;      /* 0 when absent */
  uint32_t accuracyMicros;      /* 0 when absent */
  uint32_t ordering;            /* 1: ordering is TRUE */
  uint8_t nonce[40];            /* contents octets of the nonce, its first up to 40 bytes */
  uint32_t nonceLength;         /* its full length; 0 when absent */
  char tsaName[512];            /* the authority's directory name, as CN=...;O=...; empty when absent
                                   or a name of another form */
} QEX_TSTINFO_EX;

/* The content of a time-stamp token, short form. 880 bytes. */
typedef struct QEX_TSTINFO {
  uint32_t version;             /* as above */
  char policy[128];             /* as above */
  char hashAlgorithm[128];      /* as above */
  uint8_t hashedMessage[40];    /* the first 40 bytes; more are cut without a report */
  uint32_t hashedMessageLength; /* the full length */
  QEX_U64 serialNumber;         /* its 64 bits; see QEX_GetTST_TSTInfo for longer ones */
  char genTime[32];             /* as above */
  uint32_t accuracySeconds;     /* as above */
  uint32_t accuracyMillis;      /* as above */
  uint32_t accuracyMicros;      /* as above */
  uint32_t ordering;            /* as above */
  QEX_U64 nonce;                /* 0 when absent */
  char tsaName[512];            /* as above */
} QEX_TSTINFO;

/* Holder, issuer and signature of a time attribute certificate (RFC 3281, 4.1). 2556 bytes. */
typedef struct QEX_TACINFO_EX {
  uint32_t size;                /* 2556, set by the caller before the call; kept */
  int32_t version;              /* of the certificate; 1 is v2 */
  char holderName[512];         /* the holder's first name, as CN=...;O=...; empty when absent or
                                   not a directory name */
  char digestAlgorithm[128];    /* of the holder's objectDigestInfo, dotted text; empty when absent */
  uint8_t objectDigest[128];    /* its digest, the first up to 128 bytes */
  int32_t objectDigestLen;      /* its full length */
  char issuerName[512];         /* the issuer's first name, like holderName */
  uint8_t serialNumber[40];     /* contents octets of the serial number, the first up to 40 bytes */
  int32_t serialNumberLen;      /* its full length */
  char notBefore[32];           /* validity, a GeneralizedTime as encoded, at most 31 characters */
  char notAfter[32];            /* likewise */
  char signatureAlgorithm[128]; /* the algorithm inside the signed part, dotted text */
  uint8_t signatureValue[1024]; /* the signature, its first up to 1024 bytes */
  int32_t signatureValueLen;    /* its full length */
} QEX_TACINFO_EX;

/* Holder, issuer and signature of a time attribute certificate, short form. 2428 bytes. */
typedef struct QEX_TACINFO {
  int32_t version;              /* as above */
  char holderName[512];         /* as above */
  char digestAlgorithm[128];    /* as above */
  uint8_t objectDigest[40];     /* the first 40 bytes; more are cut without a report */
  int32_t objectDigestLen;      /* the full length, which may exceed 40 */
  char issuerName[512];         /* as above */
  QEX_U64 serialNumber;         /* 0 when it has more than 64 bits */
  char notBefore[32];           /* as above */
  char notAfter[32];            /* as above */
  char signatureAlgorithm[128]; /* as above */
  uint8_t signatureValue[1024]; /* as above */
  int32_t signatureValueLen;    /* as above */
} QEX_TACINFO;

/* The authority's timing metrics. Times are UTC, YYYYMMDDhhmmssZ; durations are in seconds. 108 bytes. */
typedef struct QEX_TIMING_METRICS_EX {
  char ntpTime[32];    /* the time of its clock */
  float offset;        /* of its clock from the reference */
  float delay;         /* to the reference and back */
  char expiration[32]; /* until when the metrics hold */
  int32_t leapAction;  /* action of the last leap event; 0 when the metrics have no leapEvent */
  char leapTime[32];   /* its time; empty when the metrics have no leapEvent */
} QEX_TIMING_METRICS_EX;

/* The authority's timing metrics without the leap event. 72 bytes. */
typedef struct QEX_TIMING_METRICS {
  char ntpTime[32];    /* as above */
  float offset;        /* as above */
  float delay;         /* as above */
  char expiration[32]; /* as above */
} QEX_TIMING_METRICS;

/* The authority's timing policy. 136 bytes. */
typedef struct QEX_TIMING_POLICY {
  char policyID[128]; /* the first policy identifier, dotted text; empty when there is none */
  float maxOffset;    /* in seconds; 0 when absent */
  float maxDelay;     /* in seconds; 0 when absent */
} QEX_TIMING_POLICY;

/* ---- Digests: MD5 (RFC 1321), SHA-1, SHA-256, SHA-384, SHA-512 (FIPS 180-4). ----
 *
 * QEX_x_Init returns a new context, which the caller owns until QEX_x_Final. It does not handle allocation
 * failure: if memory runs out, the process crashes.
 * QEX_x_Update appends `length` bytes of `data`; a length of 0 changes nothing.
 * QEX_x_Final writes the digest to `digest`, which has room for the number of bytes given below, and
 * releases the context: do not use or free it afterwards. A context without Final is a leak.
 * Pointers are not checked. Contexts are independent: threads may use different ones at once.
 */

typedef struct QEX_MD5_CTX QEX_MD5_CTX;       /* a context of MD5 */
typedef struct QEX_SHA1_CTX QEX_SHA1_CTX;     /* a context of SHA-1 */
typedef struct QEX_SHA256_CTX QEX_SHA256_CTX; /* a context of SHA-256 */
typedef struct QEX_SHA512_CTX QEX_SHA512_CTX; /* a context of SHA-512 or SHA-384 */

/* MD5: 16 bytes. Collisions are known; use it only to check old stamps. */
QEX_EXPORT QEX_MD5_CTX* QEX_MD5_Init(void) QEX_NOEXCEPT;
QEX_EXPORT void QEX_MD5_Update(QEX_MD5_CTX* context, const uint8_t* data, uint32_t length) QEX_NOEXCEPT;
QEX_EXPORT void QEX_MD5_Final(QEX_MD5_CTX* context, uint8_t* digest) QEX_NOEXCEPT;

/* SHA-1: 20 bytes. Collisions are known; use it only to check old stamps. */
QEX_EXPORT QEX_SHA1_CTX* QEX_SHA1_Init(void) QEX_NOEXCEPT;
QEX_EXPORT void QEX_SHA1_Update(QEX_SHA1_CTX* context, const uint8_t* data, uint32_t length) QEX_NOEXCEPT;
QEX_EXPORT void QEX_SHA1_Final(QEX_SHA1_CTX* context, uint8_t* digest) QEX_NOEXCEPT;

/* SHA-256: 32 bytes. */
QEX_EXPORT QEX_SHA256_CTX* QEX_SHA256_Init(void) QEX_NOEXCEPT;
QEX_EXPORT void QEX_SHA256_Update(QEX_SHA256_CTX* context, const uint8_t* data, uint32_t length) QEX_NOEXCEPT;
QEX_EXPORT void QEX_SHA256_Final(QEX_SHA256_CTX* context, uint8_t* digest) QEX_NOEXCEPT;

/* SHA-384: 48 bytes. SHA-384 and SHA-512 share one Update function, so either one accepts a context of the
   other. */
QEX_EXPORT QEX_SHA512_CTX* QEX_SHA384_Init(void) QEX_NOEXCEPT;
QEX_EXPORT void QEX_SHA384_Update(QEX_SHA512_CTX* context, const uint8_t* data, uint32_t length) QEX_NOEXCEPT;
QEX_EXPORT void QEX_SHA384_Final(QEX_SHA512_CTX* context, uint8_t* digest) QEX_NOEXCEPT;

/* SHA-512: 64 bytes. */
QEX_EXPORT QEX_SHA512_CTX* QEX_SHA512_Init(void) QEX_NOEXCEPT;
QEX_EXPORT void QEX_SHA512_Update(QEX_SHA512_CTX* context, const uint8_t* data, uint32_t length) QEX_NOEXCEPT;
QEX_EXPORT void QEX_SHA512_Final(QEX_SHA512_CTX* context, uint8_t* digest) QEX_NOEXCEPT;

/* ---- Errors ---- */

/*
 * QEX_GetLastAsnError returns the code of the most recent decoding or encoding in the process: 0 when it
 * succeeded, a negative number that identifies the place of the failure inside the codec, or 100 when
 * QEX_VerifyTST_Signature met a well-formed token that lacks a part. Calls refused with QEX_E_ARG for their
 * arguments leave it unchanged. It never fails and changes nothing.
 */
QEX_EXPORT int32_t QEX_GetLastAsnError(void) QEX_NOEXCEPT;

/* ---- Requests (RFC 3161, 2.4.1) ---- */

/*
 * QEX_EncodeTSQ_Ex writes a TimeStampReq (RFC 3161, 2.4.1), framed for `transport`, to `out` under the
 * output-buffer rule. The request has version 1 and no extensions. Its nonce is used as given, without
 * adding or removing a sign byte; certReq is encoded only when set. The algorithm's parameters are absent for
 * SHA-1, SHA-256, SHA-384 and SHA-512, and NULL for MD5 and any other algorithm.
 *
 *   req        the request; set size to 440. It is not changed.
 *   out        receives the framed request; may be null to ask for the length
 *   outLength  capacity of `out` in bytes, then the length, head included
 *   transport  QEX_TRANSPORT_RAW (head of 0 bytes), QEX_TRANSPORT_SOCKET (5 bytes) or QEX_TRANSPORT_HTTP
 *              (117 bytes: a POST of VKS/HttpTspServer)
 *
 * Deliberate: the Content-Length of the HTTP head has four digits, and each digit 0 but the last is written
 * as a blank (300 becomes "3 0" after a blank); from 10000 bytes on the first character is not a digit.
 * Deliberate: an identifier text that is not well formed becomes an identifier of no octets, and an arc of
 * 16384 or more loses the base-128 digits of 0 in its middle. Decode the request to check an unusual policy.
 *
 * Result codes:
 *   QEX_OK
 *   QEX_E_ARG          transport above 3; `req` or `outLength` null; size not 440; hashedMessageLength above
 *                      128 or nonceLength above 40; hashAlgorithm or reqPolicy not terminated. Nothing is
 *                      written.
 *   QEX_E_UNSUPPORTED  transport 3. Nothing is written.
 *   QEX_E_NOMEM        the ASN.1 tables could not be built
 *   QEX_E_DECODE       an allocation failed while encoding
 *   QEX_E_SIZE         `out` null or too small; *outLength is the length needed
 */
QEX_EXPORT int32_t QEX_EncodeTSQ_Ex(const QEX_TSQ_DATA_EX* req, uint8_t* out, uint32_t* outLength,
                                    uint32_t transport) QEX_NOEXCEPT;

/*
 * QEX_EncodeTSQ is QEX_EncodeTSQ_Ex for the short record: hashedMessageLength is at most 40, and a nonce of 0
 * means no nonce. It returns the same codes; a negative transport is QEX_E_ARG.
 */
QEX_EXPORT int32_t QEX_EncodeTSQ(const QEX_TSQ_DATA* req, uint8_t* out, uint32_t* outLength,
                                 int32_t transport) QEX_NOEXCEPT;

/*
 * QEX_DecodeTSQ_Ex reads a TimeStampReq (RFC 3161, 2.4.1) into `req`. Version, parameters and extensions are
 * not reported.
 *
 *   req     receives the request; set size to 440
 *   data    the request: bare, after the 5-byte socket head, or in an HTTP POST
 *   length  its length in bytes
 *
 * Result codes:
 *   QEX_OK
 *   QEX_E_ARG      `req` or `data` null, or size not 440; `req` is unchanged
 *   QEX_E_NOMEM    the ASN.1 tables could not be built; `req` is unchanged
 *   QEX_E_DECODE   not a TimeStampReq; `req` is unchanged
 *   QEX_E_MISSING  nothing was decoded; `req` is cleared
 *   QEX_E_SIZE     a hash of more than 128 bytes, a nonce of more than 40, or an identifier whose text is
 *                  longer than its field; `req` is filled as far as values fit
 */
QEX_EXPORT int32_t QEX_DecodeTSQ_Ex(QEX_TSQ_DATA_EX* req, const uint8_t* data, uint32_t length) QEX_NOEXCEPT;

/*
 * QEX_DecodeTSQ is QEX_DecodeTSQ_Ex for the short record. A hash of more than 40 bytes is cut to 40 without a
 * report; hashedMessageLength holds its full length.
 *
 * Pass a cleared record: if hashAlgorithm or reqPolicy of `req` contain no zero byte before the call, the
 * result is QEX_E_SIZE although the record is filled correctly.
 *
 * It returns the codes of QEX_DecodeTSQ_Ex, and any of them but QEX_OK leaves `req` unchanged. Two further
 * cases return QEX_E_SIZE with a filled record: the one above, and a nonce of more than 64 bits.
 */
QEX_EXPORT int32_t QEX_DecodeTSQ(QEX_TSQ_DATA* req, const uint8_t* data, uint32_t length) QEX_NOEXCEPT;

/* ---- Responses (RFC 3161, 2.4.2) ---- */

/*
 * QEX_UnpackTSR removes the transport framing from a reply. On success `buffer` starts with the bare
 * TimeStampResp and *length is its length.
 *
 *   buffer           the reply, rewritten in place
 *   length           its length in bytes, then that of the bare TimeStampResp
 *   transportStatus  receives 0 (raw), the flag byte (socket) or the HTTP status code (HTTP; 0 until known)
 *   transport        QEX_TRANSPORT_RAW, QEX_TRANSPORT_SOCKET or QEX_TRANSPORT_HTTP
 *
 * HTTP (RFC 3161, 3.4): the head ends at the first empty line; the status must be 200, and one content-type
 * line must read application/timestamp-reply, in upper or lower case and without a parameter. Without a
 * content-length line, or with a negative one, everything after the head is the body.
 *
 * Result codes:
 *   QEX_OK
 *   QEX_E_ARG          transport negative or above 3; a pointer null; fewer than 5 bytes (socket) or 6
 *                      (HTTP); no HTTP/ at the start, no end of the head, or no status in the status line.
 *                      `buffer` is unchanged.
 *   QEX_E_UNSUPPORTED  transport 3; nothing is changed
 *   QEX_E_NOMEM        an allocation failed; `buffer` is unchanged
 *   QEX_E_LENGTH       the announced length differs from *length, which is set to the announced total, head
 *                      included (4294967295 when it is more): read on until that many bytes are there, and
 *                      call again
 *   QEX_E_FRAMING      HTTP status not 200, content type missing or different, content length 0; socket flag
 *                      not 5
 */
QEX_EXPORT int32_t QEX_UnpackTSR(uint8_t* buffer, uint32_t* length, uint32_t* transportStatus,
                                 int32_t transport) QEX_NOEXCEPT;

/*
 * QEX_GetTSR_Status reads the PKIStatusInfo of a bare TimeStampResp (RFC 3161, 2.4.2) into `status`. A status
 * text of more than 79 bytes is cut without a report.
 *
 *   status     receives status, text and failure
 *   tsr        the response
 *   tsrLength  its length in bytes
 *
 * Result codes, which leave `status` unchanged unless QEX_OK:
 *   QEX_OK
 *   QEX_E_ARG      a pointer is null
 *   QEX_E_NOMEM    the ASN.1 tables could not be built
 *   QEX_E_DECODE   not a TimeStampResp
 *   QEX_E_MISSING  it has no status
 */
QEX_EXPORT int32_t QEX_GetTSR_Status(QEX_TSR_STATUS* status, const uint8_t* tsr,
                                     uint32_t tsrLength) QEX_NOEXCEPT;

/*
 * QEX_GetTSR_EncodedToken writes the time-stamp token of a bare TimeStampResp, a CMS ContentInfo (RFC 3161,
 * 2.4.2; RFC 5652), to `out` under the output-buffer rule. It encodes the token again, in definite lengths.
 *
 *   out        receives the token; may be null to ask for the length
 *   outLength  capacity of `out` in bytes, then the length of the token
 *   tsr        the response
 *   tsrLength  its length in bytes
 *
 * Result codes; only QEX_OK and QEX_E_SIZE set *outLength:
 *   QEX_OK
 *   QEX_E_ARG       `tsr` or `outLength` null
 *   QEX_E_NOMEM     an allocation failed
 *   QEX_E_DECODE    not a TimeStampResp
 *   QEX_E_MISSING   no status
 *   QEX_E_REJECTED  the status is neither 0 nor 1
 *   QEX_E_NOTOKEN   no token
 *   QEX_E_SIZE      `out` null or too small
 */
QEX_EXPORT int32_t QEX_GetTSR_EncodedToken(uint8_t* out, uint32_t* outLength, const uint8_t* tsr,
                                           uint32_t tsrLength) QEX_NOEXCEPT;

/* ---- Tokens (RFC 3161, 2.4.2; RFC 5652) ---- */

/*
 * QEX_GetTST_TSTInfoEx reads the TSTInfo (RFC 3161, 2.4.2) of a token into `info`. It checks no content types
 * and verifies nothing: see QEX_VerifyTST_Signature.
 *
 *   info         receives the TSTInfo. Set size to 1044 before every call: it holds 880 on return. Only the
 *                first 880 bytes of the record are cleared: when the token names no authority, tsaName
 *                holds a terminator, and its last 164 bytes keep their previous value. A part of the name
 *                that does not fit into tsaName is left out without a report.
 *   token        the token
 *   tokenLength  its length in bytes
 *
 * Result codes:
 *   QEX_OK
 *   QEX_E_ARG      a pointer is null or size is not 1044; `info` is unchanged
 *   QEX_E_NOMEM    the ASN.1 tables could not be built; `info` is unchanged
 *   QEX_E_DECODE   the token, or its TSTInfo, does not decode; `info` is unchanged
 *   QEX_E_MISSING  the token has no content, or its signed data has none; `info` is unchanged
 *   QEX_E_SIZE     a serial number of more than 40 bytes, a hash of more than 128, a nonce of more than
 *                  40, or an identifier whose text is longer than its field; `info` is filled as far as
 *                  values fit
 */
QEX_EXPORT int32_t QEX_GetTST_TSTInfoEx(QEX_TSTINFO_EX* info, const uint8_t* token,
                                        uint32_t tokenLength) QEX_NOEXCEPT;

/*
 * QEX_GetTST_TSTInfo is QEX_GetTST_TSTInfoEx for the short record. Any code of that function but QEX_OK
 * leaves `info` unchanged. A serial number or nonce of more than 64 bits reads as 0 and returns QEX_E_SIZE
 * with a filled record.
 */
QEX_EXPORT int32_t QEX_GetTST_TSTInfo(QEX_TSTINFO* info, const uint8_t* token,
                                      uint32_t tokenLength) QEX_NOEXCEPT;

/*
 * QEX_GetTST_TSACert writes the authority's certificate to `out` under the output-buffer rule: the
 * certificate of the token that the first identifier of its signing-certificate attribute names (RFC
 * 2634, 5.4; RFC 5035 where QEX_VERIFY_ESSCERTIDV2 selects it). It encodes the certificate again.
 *
 *   out          receives the certificate; may be null to ask for the length
 *   outLength    capacity of `out` in bytes, then the length of the certificate
 *   token        the token
 *   tokenLength  its length in bytes
 *
 * Result codes:
 *   QEX_OK
 *   QEX_E_ARG       `token` or `outLength` null
 *   QEX_E_NOMEM     an allocation failed
 *   QEX_E_BADTOKEN  the token does not decode or has no content
 *   QEX_E_NOCERT    no certificate matches; *outLength is the length of the last certificate that was tried,
 *                   and unchanged when the token has none
 *   QEX_E_MISSING   a certificate could not be encoded
 *   QEX_E_SIZE      `out` null or too small
 */
QEX_EXPORT int32_t QEX_GetTST_TSACert(uint8_t* out, uint32_t* outLength, const uint8_t* token,
                                      uint32_t tokenLength) QEX_NOEXCEPT;

/*
 * QEX_VerifyTST_Signature checks that the authority's key signed the token (RFC 3161, 2.4.2; RFC 5652, 5.4
 * and 5.6): the first SignerInfo's message-digest attribute is the digest of the content, its signature over
 * the signed attributes verifies under the key of the authority's certificate (RSA with PKCS #1 v1.5, or
 * DSA), and the first identifier of its signing-certificate attribute names that certificate.
 *
 *   token       the token
 *   tokenLen    its length in bytes
 *   tsaCert     the authority's certificate, one that you trust. When it is null or tsaCertLen is 0, the
 *               certificates of the token are searched: the result then means only that the token is
 *               consistent in itself, and the caller judges whose key it was.
 *   tsaCertLen  its length in bytes
 *
 * Keys: RSA with MD5, SHA-1, SHA-256, SHA-384 and SHA-512; DSA with SHA-1 and SHA-256.
 * Deliberate: with DSA only the first 20 octets of the digest count, also for a q of 224 or 256 bits. A FIPS
 * 186 signature with such a key and SHA-256 is therefore refused (QEX_E_SIGNATURE).
 *
 * Not checked: certificate dates, chain, revocation and key usage; the content types, the signing time, the
 * signer identifier; further SignerInfos; the octets before the DigestInfo in an RSA block. Therefore accept
 * only certificates that you trust and whose public exponent is at least 65537.
 *
 * Environment: when QEX_VERIFY_ESSCERTIDV2 is exactly 1, the library uses the signing-certificate-v2
 * attribute (RFC 5035) with SHA-256, SHA-384 or SHA-512 and ignores version 1. Otherwise it uses version 1
 * (RFC 2634, SHA-1) and ignores version 2. The variable is read once in the life of the process, at its first
 * use.
 *
 * Result codes:
 *   QEX_OK             the token verifies
 *   QEX_E_ARG          `token` null; or `tsaCert` does not decode
 *   QEX_E_BADTOKEN     the token does not decode, is not signed data, or lacks its content, a usable first
 *                      SignerInfo or a message-digest attribute. If it decodes, the last ASN.1 error is 100.
 *   QEX_E_NOCERT       no certificate of the token matches its signing-certificate attribute
 *   QEX_E_MISSING      the certificate lacks its public key, or the key does not decode
 *   QEX_E_SIGNATURE    digest or signature do not verify
 *   QEX_E_UNSUPPORTED  the key algorithm, or the pair of digest and signature algorithm, is not supported
 *   QEX_E_NOMEM        an allocation failed, or a number of key or signature is too large
 *   QEX_E_DECODE       `tsaCert` was given, but the token has no signing-certificate attribute of the version
 *                      in use
 *   QEX_E_MISMATCH     `tsaCert` was given, and the attribute names another certificate first
 */
QEX_EXPORT int32_t QEX_VerifyTST_Signature(const uint8_t* token, uint32_t tokenLen, const uint8_t* tsaCert,
                                           uint32_t tsaCertLen) QEX_NOEXCEPT;

/*
 * QEX_TSTInfoToIDData writes the token with its content typed as plain data (id-data, RFC 5652, 4) to `out`,
 * for programs that do not know TSTInfo. Content octets and signature stay the same; the version of the
 * SignedData is computed again (RFC 5652, 5.1). It encodes the token again, in definite lengths.
 *
 *   token        the token
 *   tokenLength  its length in bytes
 *   out          receives the rewritten token; null is an error here, not a question for the length
 *   outLength    capacity of `out` in bytes, then the length of the rewritten token
 *
 * Result codes:
 *   QEX_OK
 *   QEX_E_ARG      `token` or `outLength` null
 *   QEX_E_NOMEM    an allocation failed
 *   QEX_E_DECODE   the token does not decode
 *   QEX_E_MISSING  `out` is null; *outLength is unchanged
 *   QEX_E_SIZE     `out` is too small; *outLength is the length needed
 */
QEX_EXPORT int32_t QEX_TSTInfoToIDData(const uint8_t* token, uint32_t tokenLength, uint8_t* out,
                                       uint32_t* outLength) QEX_NOEXCEPT;

/*
 * QEX_RemoveAttrCerts writes the token to `out` without the attribute certificates of its certificate set,
 * and computes the version of the SignedData again (RFC 5652, 5.1).
 *
 *   token        the token
 *   tokenLength  its length in bytes
 *   out          receives the rewritten token; may be `token` itself. Null is an error.
 *   outLength    capacity of `out` in bytes, then the length of the rewritten token
 *
 * Result codes:
 *   QEX_OK
 *   QEX_E_ARG      `token` or `outLength` null
 *   QEX_E_NOMEM    an allocation failed
 *   QEX_E_DECODE   the token does not decode
 *   QEX_E_MISSING  `out` is null; *outLength is unchanged
 *   QEX_E_SIZE     `out` is too small; *outLength is the length needed
 *
 * A token without attribute certificates is copied byte for byte, and *outLength becomes tokenLength whatever
 * the code: QEX_OK when it was copied, QEX_E_SIZE when `out` is too small, and QEX_E_MISSING when `out` is
 * `token` itself and there is nothing to do.
 */
QEX_EXPORT int32_t QEX_RemoveAttrCerts(const uint8_t* token, uint32_t tokenLength, uint8_t* out,
                                       uint32_t* outLength) QEX_NOEXCEPT;

/* ---- Time attribute certificates ----
 *
 * An authority may attach to its tokens an attribute certificate (RFC 3281) that states its timing metrics
 * and its timing policy. Input is the token, or the bare attribute certificate. Nothing here verifies the
 * signature of that certificate.
 */

/*
 * QEX_GetTST_TimeAttributeCert writes the time attribute certificate of a token to `out` under the
 * output-buffer rule: the first attribute certificate of the set that the second or a later identifier of the
 * signing-certificate attribute names (RFC 2634, 5.4, or RFC 5035, as QEX_VERIFY_ESSCERTIDV2 selects). If
 * there is none, it writes the first one of the signer attributes (RFC 5126, 5.11.3), which no identifier
 * needs to name. It encodes the certificate again.
 *
 *   out        receives the certificate; may be null to ask for the length
 *   outLen     capacity of `out` in bytes, then the length of the certificate
 *   token      the token
 *   tokenLen   its length in bytes
 *
 * Result codes:
 *   QEX_OK
 *   QEX_E_ARG      `token` or `outLen` null
 *   QEX_E_NOMEM    an allocation failed
 *   QEX_E_DECODE   the token does not decode
 *   QEX_E_MISSING  it has no signed data, or a certificate could not be encoded
 *   QEX_E_NOTAC    it carries none; *outLen is the length of the last attribute certificate that was
 *                  examined, and unchanged when there was none
 *   QEX_E_SIZE     `out` null or too small
 */
QEX_EXPORT int32_t QEX_GetTST_TimeAttributeCert(uint8_t* out, uint32_t* outLen, const uint8_t* token,
                                                uint32_t tokenLen) QEX_NOEXCEPT;

/*
 * QEX_CheckTAC_MatchesTST checks whether an attribute certificate belongs to a token: the second or a later
 * identifier of the signing-certificate attribute (of the version that QEX_VERIFY_ESSCERTIDV2 selects) holds
 * its digest, or the signer attributes contain it, byte for byte.
 *
 *   tac       the attribute certificate
 *   tacLen    its length in bytes
 *   token     the token
 *   tokenLen  its length in bytes
 *
 * Result codes:
 *   QEX_OK          it belongs to the token
 *   QEX_E_ARG       `tac` or `token` null
 *   QEX_E_NOMEM     the ASN.1 tables could not be built
 *   QEX_E_DECODE    the token does not decode, or has no signing-certificate attribute of the version in use;
 *                   the signer attributes are then not tried
 *   QEX_E_MISMATCH  it does not belong to the token
 */
QEX_EXPORT int32_t QEX_CheckTAC_MatchesTST(const uint8_t* tac, uint32_t tacLen, const uint8_t* token,
                                           uint32_t tokenLen) QEX_NOEXCEPT;

/*
 * QEX_GetTAC_CertInfoEx reads holder, issuer, validity and signature of an attribute certificate (RFC
 * 3281, 4.1). Names other than directory names, and absent parts, leave their fields empty. A part of a name
 * that does not fit into its field is left out without a report.
 *
 *   record  receives the values; set size to 2556
 *   tac     the attribute certificate
 *   tacLen  its length in bytes
 *
 * Result codes:
 *   QEX_OK
 *   QEX_E_ARG      a pointer is null or size is not 2556; the record is unchanged
 *   QEX_E_NOMEM    the ASN.1 tables could not be built; the record is cleared
 *   QEX_E_DECODE   not an AttributeCertificate; the record is cleared
 *   QEX_E_MISSING  it has no signed part; the record is cleared
 *   QEX_E_SIZE     a digest of more than 128 bytes, a serial number of more than 40, a signature of more than
 *                  1024, or an identifier whose text is longer than its field; the record is filled as far as
 *                  values fit
 */
QEX_EXPORT int32_t QEX_GetTAC_CertInfoEx(QEX_TACINFO_EX* record, const uint8_t* tac,
                                         uint32_t tacLen) QEX_NOEXCEPT;

/*
 * QEX_GetTAC_CertInfo is QEX_GetTAC_CertInfoEx for the short record. Any code but QEX_OK leaves the record
 * unchanged, so QEX_E_SIZE fills nothing here. A serial number of more than 64 bits reads as 0.
 */
QEX_EXPORT int32_t QEX_GetTAC_CertInfo(QEX_TACINFO* record, const uint8_t* tac, uint32_t tacLen) QEX_NOEXCEPT;

/*
 * QEX_GetTAC_TimingMetricsEx reads the timing metrics of an attribute certificate (RFC 3281), from the first
 * attribute that holds any. If that attribute holds several, it reads the last, or in the single-value form
 * the first.
 *
 *   record  receives the metrics. Durations are in seconds, times are UTC. Texts are written with their
 *           terminator; the bytes after it are unchanged. An empty list of leap events leaves leapAction and
 *           leapTime unchanged.
 *   tac     the attribute certificate
 *   tacLen  its length in bytes
 *
 * Durations are computed in single precision, from the low 32 bits of the seconds and the microseconds, and
 * multiplied by the sign. Times from 1969-12-31 12:00:00 to 2038-01-19 03:14:07 UTC can be rendered.
 *
 * Result codes:
 *   QEX_OK
 *   QEX_E_ARG      a pointer is null; the record is unchanged
 *   QEX_E_NOMEM    the ASN.1 tables could not be built; the record is unchanged
 *   QEX_E_DECODE   not an AttributeCertificate; the record is unchanged
 *   QEX_E_MISSING  it has no timing metrics; the record is unchanged
 *   QEX_E_SIZE     a number of more than 64 bits, which counts as 0, or a time that cannot be rendered, whose
 *                  text is then empty; the record is filled
 */
QEX_EXPORT int32_t QEX_GetTAC_TimingMetricsEx(QEX_TIMING_METRICS_EX* record, const uint8_t* tac,
                                              uint32_t tacLen) QEX_NOEXCEPT;

/*
 * QEX_GetTAC_TimingMetrics is QEX_GetTAC_TimingMetricsEx for the short record, which any code but QEX_OK
 * leaves unchanged.
 */
QEX_EXPORT int32_t QEX_GetTAC_TimingMetrics(QEX_TIMING_METRICS* record, const uint8_t* tac,
                                            uint32_t tacLen) QEX_NOEXCEPT;

/*
 * QEX_GetTAC_TimingPolicy reads the timing policy of an attribute certificate (RFC 3281); of several
 * policies, the last. An identifier whose text is longer than its field is cut, and a number of more than 64
 * bits counts as 0, without a report.
 *
 *   record  receives the policy; durations are in seconds
 *   tac     the attribute certificate
 *   tacLen  its length in bytes
 *
 * Result codes, which leave the record unchanged unless QEX_OK:
 *   QEX_OK
 *   QEX_E_ARG       a pointer is null
 *   QEX_E_NOMEM     the ASN.1 tables could not be built
 *   QEX_E_DECODE    not an AttributeCertificate
 *   QEX_E_MISSING   it has no attributes
 *   QEX_E_NOPOLICY  it has attributes, but no timing policy
 */
QEX_EXPORT int32_t QEX_GetTAC_TimingPolicy(QEX_TIMING_POLICY* record, const uint8_t* tac,
                                           uint32_t tacLen) QEX_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* QEX_H */
