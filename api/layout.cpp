// The layout of the public records: programs are compiled against these sizes and offsets, so none may
// change.
//
// Every record of qex.h is listed with all of its members, in the order of the header.
#include <cstddef>
#include <limits>

#include "api/qex.h"

#define SIZE(record, size) static_assert(sizeof(record) == (size), #record " has not " #size " bytes")
#define AT(record, member, offset) \
  static_assert(offsetof(record, member) == (offset), #record "." #member " is not at " #offset)

static_assert(sizeof(float) == 4 && std::numeric_limits<float>::is_iec559,
              "a float is of IEEE 754, where cleared octets are 0");

// clang-format off
SIZE(QEX_U64, 8);
AT(QEX_U64, high,    0);
AT(QEX_U64, low,     4);

SIZE(QEX_TSQ_DATA_EX, 440);
AT(QEX_TSQ_DATA_EX, size,                   0);
AT(QEX_TSQ_DATA_EX, hashAlgorithm,          4);
AT(QEX_TSQ_DATA_EX, hashedMessage,        132);
AT(QEX_TSQ_DATA_EX, hashedMessageLength,  260);
AT(QEX_TSQ_DATA_EX, reqPolicy,            264);
AT(QEX_TSQ_DATA_EX, nonce,                392);
AT(QEX_TSQ_DATA_EX, nonceLength,          432);
AT(QEX_TSQ_DATA_EX, certReq,              436);

SIZE(QEX_TSQ_DATA, 312);
AT(QEX_TSQ_DATA, hashAlgorithm,          0);
AT(QEX_TSQ_DATA, hashedMessage,        128);
AT(QEX_TSQ_DATA, hashedMessageLength,  168);
AT(QEX_TSQ_DATA, reqPolicy,            172);
AT(QEX_TSQ_DATA, nonce,                300);
AT(QEX_TSQ_DATA, certReq,              308);

SIZE(QEX_TSR_STATUS, 88);
AT(QEX_TSR_STATUS, status,        0);
AT(QEX_TSR_STATUS, statusText,    4);
AT(QEX_TSR_STATUS, failInfo,     84);

SIZE(QEX_TSTINFO_EX, 1044);
AT(QEX_TSTINFO_EX, size,                   0);
AT(QEX_TSTINFO_EX, version,                4);
AT(QEX_TSTINFO_EX, policy,                 8);
AT(QEX_TSTINFO_EX, hashAlgorithm,        136);
AT(QEX_TSTINFO_EX, hashedMessage,        264);
AT(QEX_TSTINFO_EX, hashedMessageLength,  392);
AT(QEX_TSTINFO_EX, serialNumber,         396);
AT(QEX_TSTINFO_EX, serialNumberLength,   436);
AT(QEX_TSTINFO_EX, genTime,              440);
AT(QEX_TSTINFO_EX, accuracySeconds,      472);
AT(QEX_TSTINFO_EX, accuracyMillis,       476);
AT(QEX_TSTINFO_EX, accuracyMicros,       480);
AT(QEX_TSTINFO_EX, ordering,             484);
AT(QEX_TSTINFO_EX, nonce,                488);
AT(QEX_TSTINFO_EX, nonceLength,          528);
AT(QEX_TSTINFO_EX, tsaName,              532);

SIZE(QEX_TSTINFO, 880);
AT(QEX_TSTINFO, version,                0);
AT(QEX_TSTINFO, policy,                 4);
AT(QEX_TSTINFO, hashAlgorithm,        132);
AT(QEX_TSTINFO, hashedMessage,        260);
AT(QEX_TSTINFO, hashedMessageLength,  300);
AT(QEX_TSTINFO, serialNumber,         304);
AT(QEX_TSTINFO, genTime,              312);
AT(QEX_TSTINFO, accuracySeconds,      344);
AT(QEX_TSTINFO, accuracyMillis,       348);
AT(QEX_TSTINFO, accuracyMicros,       352);
AT(QEX_TSTINFO, ordering,             356);
AT(QEX_TSTINFO, nonce,                360);
AT(QEX_TSTINFO, tsaName,              368);

SIZE(QEX_TACINFO_EX, 2556);
AT(QEX_TACINFO_EX, size,                  0);
AT(QEX_TACINFO_EX, version,               4);
AT(QEX_TACINFO_EX, holderName,            8);
AT(QEX_TACINFO_EX, digestAlgorithm,     520);
AT(QEX_TACINFO_EX, objectDigest,        648);
AT(QEX_TACINFO_EX, objectDigestLen,     776);
AT(QEX_TACINFO_EX, issuerName,          780);
AT(QEX_TACINFO_EX, serialNumber,       1292);
AT(QEX_TACINFO_EX, serialNumberLen,    1332);
AT(QEX_TACINFO_EX, notBefore,          1336);
AT(QEX_TACINFO_EX, notAfter,           1368);
AT(QEX_TACINFO_EX, signatureAlgorithm, 1400);
AT(QEX_TACINFO_EX, signatureValue,     1528);
AT(QEX_TACINFO_EX, signatureValueLen,  2552);

SIZE(QEX_TACINFO, 2428);
AT(QEX_TACINFO, version,               0);
AT(QEX_TACINFO, holderName,            4);
AT(QEX_TACINFO, digestAlgorithm,     516);
AT(QEX_TACINFO, objectDigest,        644);
AT(QEX_TACINFO, objectDigestLen,     684);
AT(QEX_TACINFO, issuerName,          688);
AT(QEX_TACINFO, serialNumber,       1200);
AT(QEX_TACINFO, notBefore,          1208);
AT(QEX_TACINFO, notAfter,           1240);
AT(QEX_TACINFO, signatureAlgorithm, 1272);
AT(QEX_TACINFO, signatureValue,     1400);
AT(QEX_TACINFO, signatureValueLen,  2424);

SIZE(QEX_TIMING_METRICS_EX, 108);
AT(QEX_TIMING_METRICS_EX, ntpTime,       0);
AT(QEX_TIMING_METRICS_EX, offset,       32);
AT(QEX_TIMING_METRICS_EX, delay,        36);
AT(QEX_TIMING_METRICS_EX, expiration,   40);
AT(QEX_TIMING_METRICS_EX, leapAction,   72);
AT(QEX_TIMING_METRICS_EX, leapTime,     76);

SIZE(QEX_TIMING_METRICS, 72);
AT(QEX_TIMING_METRICS, ntpTime,       0);
AT(QEX_TIMING_METRICS, offset,       32);
AT(QEX_TIMING_METRICS, delay,        36);
AT(QEX_TIMING_METRICS, expiration,   40);

SIZE(QEX_TIMING_POLICY, 136);
AT(QEX_TIMING_POLICY, policyID,     0);
AT(QEX_TIMING_POLICY, maxOffset,  128);
AT(QEX_TIMING_POLICY, maxDelay,   132);
// clang-format on
