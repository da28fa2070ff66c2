// The digests that messages name by an identifier: one table of what depends on the digest, and the digest of
// a buffer chain.
#pragma once

#include <cstdint>

#include "asn1/oids.h"
#include "asn1/x509.h"
#include "ber/buffer.h"
#include "crypto/digest/hashinfo.h"

namespace qex {

// The parameters that a request writes after the identifier of a digest.
enum class Parameters : uint8_t { Null, Absent };

// The version of the signing-certificate attribute that accepts a digest as the hash of a certificate.
enum class EssVersion : uint8_t { None, V1, V2 };

struct DigestAlgorithm {
  AsnOid identifier;
  const HashInfo* hash;
  Parameters parameters;
  EssVersion essVersion;
  const AsnOid* withRsa;  // signature algorithm of the digest and an RSA key
  const AsnOid* withDsa;  // of the digest and a DSA key; null: not supported
};

// clang-format off
inline constexpr DigestAlgorithm kDigestAlgorithms[] = {
    {kIdSha1,   &kSHA1Info,   Parameters::Absent, EssVersion::V1,   &kIdSha1WithRsa,   &kIdDsaWithSha1},
    {kIdMd5,    &kMD5Info,    Parameters::Null,   EssVersion::None, &kIdMd5WithRsa,    nullptr},
    {kIdSha256, &kSHA256Info, Parameters::Absent, EssVersion::V2,   &kIdSha256WithRsa, &kIdDsaWithSha256},
    {kIdSha384, &kSHA384Info, Parameters::Absent, EssVersion::V2,   &kIdSha384WithRsa, nullptr},
    {kIdSha512, &kSHA512Info, Parameters::Absent, EssVersion::V2,   &kIdSha512WithRsa, nullptr},
};
// clang-format on

// FindDigestAlgorithm returns the row of an identifier, or null.
[[nodiscard]] const DigestAlgorithm* FindDigestAlgorithm(const AsnOid& identifier);

struct DigestValue {
  uint32_t length = 0;  // 0 before computation
  uint8_t octets[64];
};

// DigestByOid digests all data of the chain, from its first block to its last, with the digest that
// `digestAlgorithm` names. For an identifier without a row `*digest` is unchanged.
void DigestByOid(ExpBuf* buffer, const AlgorithmIdentifier& digestAlgorithm, DigestValue* digest);
void DigestByOid(ExpBuf* buffer, const AsnOid& digestAlgorithm, DigestValue* digest);

// DigestEquals returns whether `octets` are the digest, in length and in content.
[[nodiscard]] bool DigestEquals(const DigestValue& digest, const AsnOcts& octets);

}  // namespace qex
