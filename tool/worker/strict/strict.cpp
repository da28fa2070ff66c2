// One token, from its octets to all that the strict reader says of it.
#include "tool/worker/strict/strict.h"

#include <algorithm>
#include <ctime>

#include "tool/message/gen_time.h"
#include "tool/worker/strict/attributes.h"
#include "tool/worker/strict/certificate.h"
#include "tool/worker/strict/chain.h"
#include "tool/worker/strict/key.h"
#include "tool/worker/strict/known_certificates.h"
#include "tool/worker/strict/revocation.h"
#include "tool/worker/strict/signature.h"
#include "tool/worker/strict/signer.h"
#include "tool/worker/strict/trust_store.h"

namespace qex::tool {
namespace {

using namespace strict;

std::vector<Bytes> critical_extensions(TS_TST_INFO* info) {
  std::vector<Bytes> critical;
  for (int i = 0; i < TS_TST_INFO_get_ext_count(info); ++i) {
    X509_EXTENSION* extension = TS_TST_INFO_get_ext(info, i);
    if (X509_EXTENSION_get_critical(extension) != 0) {
      critical.push_back(CopyOf(OctetsOf(X509_EXTENSION_get_object(extension))));
    }
  }
  return critical;
}

// A hash takes no parameters: they are absent or NULL (RFC 5754, 2).
[[nodiscard]] bool has_plain_imprint(TS_TST_INFO* info) {
  int type = V_ASN1_UNDEF;
  X509_ALGOR_get0(nullptr, &type, nullptr, TS_MSG_IMPRINT_get_algo(TS_TST_INFO_get_msg_imprint(info)));
  return type == V_ASN1_UNDEF || type == V_ASN1_NULL;
}

Structure structure_of(const Token& token, X509* certificate) {
  Structure structure;
  structure.signers = uint64_t(std::max(sk_CMS_SignerInfo_num(CMS_get0_SignerInfos(token.message.get())), 0));
  structure.contentType = CopyOf(OctetsOf(CMS_get0_eContentType(token.message.get())));
  structure.imprintParametersFit = has_plain_imprint(token.info.get());
  structure.unknownCritical = critical_extensions(token.info.get());
  if (token.signer == nullptr) return structure;
  const ASN1_TYPE* contentType = FirstValue(token, NID_pkcs9_contentType);
  if (contentType != nullptr && contentType->type == V_ASN1_OBJECT) {
    structure.contentTypeAttribute = CopyOf(OctetsOf(contentType->value.object));
  }
  structure.messageDigestPresent = HasAttribute(token, NID_pkcs9_messageDigest);
  structure.repeatedAttributes = RepeatedAttributes(token);
  GENERAL_NAME* tsa = TS_TST_INFO_get_tsa(token.info.get());
  if (tsa != nullptr && certificate != nullptr) structure.tsaNameFits = NamesSigner(tsa, certificate);
  return structure;
}

// The time at which certificates are judged; nothing when that of the token cannot be read.
[[nodiscard]] std::optional<int64_t> judged_time(const Trust& trust, const std::optional<GenTime>& genTime,
                                                 int64_t now) {
  switch (trust.time) {
    case TrustTime::Now: return now;
    case TrustTime::Given: return trust.givenTime;
    case TrustTime::GenTime: break;
  }
  return genTime ? std::optional(genTime->seconds) : std::nullopt;
}

std::vector<X509*> untrusted_of(const Token& token, const TrustStore& store) {
  const int own = std::max(sk_X509_num(token.certificates.get()), 0);
  std::vector<X509*> certificates;
  certificates.reserve(size_t(own) + store.untrusted.size() + store.signers.size());
  for (int i = 0; i < own; ++i) certificates.push_back(sk_X509_value(token.certificates.get(), i));
  for (const OwnedCertificate& certificate : store.untrusted) certificates.push_back(certificate.get());
  for (const OwnedCertificate& certificate : store.signers) certificates.push_back(certificate.get());
  return certificates;
}

// Whose certificate it is, and whether it may be believed.
void judge_signer(StrictReading& reading, const Token& token, X509* certificate, const Trust& trust,
                  bool allowWeak) {
  const TrustStore& store = StoreOf(trust);
  reading.signerIsPinned =
      std::ranges::find(store.signerEncodings, reading.signer->der) != store.signerEncodings.end();
  reading.keyUsage = JudgeUsage(certificate);
  const auto genTime = ParseGenTime(reading.info.genTime);
  const int64_t now = std::time(nullptr);
  const auto time = judged_time(trust, genTime, now);
  const auto stamped = genTime ? std::optional(genTime->seconds) : std::nullopt;
  if (time) reading.validity = ValidityAt(certificate, {*time, now, stamped});
  ThrowIfMemoryFailed();
  if (!trust.chainWanted) return;
  if (!time) {
    reading.chain = Chain{ChainResult::NoTime, "the time of the token cannot be read", "", 0};
    return;
  }
  ChainAnswer answer =
      FindChain({certificate, untrusted_of(token, store), store.roots.get(), *time, allowWeak});
  reading.chain = std::move(answer.chain);
  if (answer.path && !store.lists.empty()) {
    reading.revocation = JudgeRevocation({answer.path.get(), &store.lists, *time, stamped,
                                          trust.time == TrustTime::GenTime ? now : *time, allowWeak});
  }
}

StrictReading read(ByteView octets, const Trust& trust, bool allowWeak) {
  const TrustStore& store = StoreOf(trust);
  const Token token = OpenToken(octets);
  const Signer signer = FindSigner(token, store);
  StrictReading reading;
  reading.info = TstInfoOf(token);
  reading.structure = structure_of(token, signer.certificate);
  reading.essV1 = signer.essV1;
  reading.essV2 = signer.essV2;
  SignerKey key;
  if (signer.certificate != nullptr) {
    reading.signer = DescribeCertificate(signer.certificate);
    key = reading.signer->key = DescribeKey(signer.certificate);
  }
  reading.signature = VerifySignature(token, signer.certificate, key);
  if (signer.certificate != nullptr) judge_signer(reading, token, signer.certificate, trust, allowWeak);
  ThrowIfMemoryFailed();
  return reading;
}

}  // namespace

bool HasStrictReader() {
  return true;
}

StrictReading ReadStrictly(ByteView token, const Trust& trust, bool allowWeak) {
  Start();
  try {
    return read(token, trust, allowWeak);
  } catch (const std::bad_alloc&) {
    ForgetCertificates();
    ForgetStore();  // libcrypto's notes in its certificates may be wrong now
    throw;
  }
}

}  // namespace qex::tool
