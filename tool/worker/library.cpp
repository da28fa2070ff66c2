// Every call into the library about a token.
#include "tool/worker/library.h"

#include <algorithm>
#include <cstring>

#include "api/qex.h"
#include "tool/base/failure.h"
#include "tool/base/hash.h"
#include "tool/message/oid_text.h"
#include "tool/worker/inspect/code_texts.h"
#include "tool/worker/inspect/describe.h"
#include "tool/worker/library_call.h"

namespace qex::tool {
namespace {

constexpr size_t kDsaOrderBits = 160;

std::vector<std::string> what_was_cut(const QEX_TSTINFO_EX& info) {
  std::vector<std::string> cut;
  if (info.serialNumberLength > sizeof info.serialNumber) cut.emplace_back("serial number");
  if (info.hashedMessageLength > sizeof info.hashedMessage) cut.emplace_back("imprint");
  if (info.nonceLength > sizeof info.nonce) cut.emplace_back("nonce");
  if (std::strlen(info.policy) + 1 == sizeof info.policy) cut.emplace_back("policy");
  if (std::strlen(info.hashAlgorithm) + 1 == sizeof info.hashAlgorithm) cut.emplace_back("hash algorithm");
  return cut;
}

// The contents, and the parts that do not fit the library's record.
LibraryReading read_contents(ByteView token) {
  QEX_TSTINFO_EX info{};
  info.size = sizeof info;
  const int32_t code = QEX_GetTST_TSTInfoEx(&info, token.data(), LengthOf(token));
  if (code != QEX_OK && code != QEX_E_SIZE) throw LibraryStop("the token cannot be read", code, token);
  std::optional<LibraryReading> reading = inspect::InspectToken(token);
  if (!reading) throw LibraryStop("the token cannot be read", QEX_E_DECODE, token);
  if (code == QEX_E_SIZE) reading->cut = what_was_cut(info);
  return std::move(*reading);
}

void read_signer(LibraryReading& reading, ByteView token) {
  Bytes certificate;
  const int32_t code = FetchOutput(certificate, 2048, [&](uint8_t* out, uint32_t* length) {
    return QEX_GetTST_TSACert(out, length, token.data(), LengthOf(token));
  });
  RequireMemory("the authority's certificate cannot be taken out", code);
  if (code != QEX_OK) return;
  SignerCertificate signer;
  signer.key = inspect::InspectKey(certificate);
  signer.subject = inspect::SubjectText(certificate);
  signer.sha256 = Sha256(certificate);
  signer.der = std::move(certificate);
  reading.signer = std::move(signer);
}

// The certificates to verify with, one after the other until one passes; an empty one is the token's own. One
// that is trusted and did not sign is tried too, for the library to say so.
std::vector<Bytes> candidates_for(const LibraryReading& reading, const Trust& trust, const Bytes& found) {
  if (trust.signers.empty()) return {reading.signer ? Bytes{} : found};
  std::vector<Bytes> candidates;
  for (const TrustItem& item : trust.signers) {
    const bool signs = reading.signer ? item.der == reading.signer->der : item.der == found;
    signs ? candidates.assign(1, item.der) : candidates.push_back(item.der);
    if (signs) return candidates;
  }
  // None of them is known to be the signer's: one answer is enough where the signer is known.
  if (reading.signer || !found.empty()) candidates.resize(1);
  return candidates;
}

[[nodiscard]] int32_t check_signature(ByteView token, const Bytes& certificate) {
  return CallWithMemory("the signature cannot be checked", [&] {
    return QEX_VerifyTST_Signature(token.data(), LengthOf(token),
                                   certificate.empty() ? nullptr : certificate.data(), LengthOf(certificate));
  });
}

[[nodiscard]] bool is_digested(const Bytes& algorithm) {
  const HashAlgorithm* digest = FindHash(algorithm);
  return digest != nullptr && digest->computed == Computed::ByLibrary;
}

// The library does not support the algorithm that `identifier` names, or this combination of two.
[[nodiscard]] Stop algorithm_stop(std::string text, std::string identifier, int32_t code) {
  return {.text = std::move(text), .identifier = std::move(identifier), .algorithm = true, .code = code};
}

// Why a code says nothing about the signature.
[[nodiscard]] std::optional<Stop> stop_of(const LibraryReading& reading, int32_t code,
                                          const Bytes& certificate, const SignerKey& key,
                                          const std::string& serves) {
  if (code == QEX_E_ARG && !certificate.empty()) {
    return LibraryStop("the certificate does not decode", code, certificate);
  }
  if (code == QEX_E_MISMATCH && serves == "v2" && !reading.essHash.empty() && !is_digested(reading.essHash)) {
    const std::string hash = inspect::NamedOid(inspect::DecodeOid(reading.essHash));
    return algorithm_stop("the certificate is named by its " + hash + ", which the library does not compute",
                          hash, code);
  }
  const bool unknownDigest = !is_digested(reading.digestAlgorithm);
  if (code == QEX_E_UNSUPPORTED || (code == QEX_E_SIGNATURE && unknownDigest)) {
    const std::string pair = "digest " + inspect::NamedOid(inspect::DecodeOid(reading.digestAlgorithm)) +
                             " with signature " +
                             inspect::NamedOid(inspect::DecodeOid(reading.signatureAlgorithm));
    return algorithm_stop(key.type + " key, " + pair + ": not supported by the library", pair, code);
  }
  // Deliberate in the library: no more than 20 octets of a digest take part in DSA.
  if (code == QEX_E_SIGNATURE && key.type == "dsa" &&
      inspect::DsaOrderBits(certificate.empty() && reading.signer ? reading.signer->der : certificate) >
          kDsaOrderBits) {
    const std::string algorithm = inspect::NamedOid(inspect::DecodeOid(reading.signatureAlgorithm));
    return algorithm_stop("the library verifies DSA with a q of 160 bits alone, not this " + algorithm,
                          algorithm, code);
  }
  return std::nullopt;
}

// The library bounds neither the size of a key nor the time that it takes: one that is too large does not
// reach it.
[[nodiscard]] std::optional<LibraryCheck> check_with(LibraryReading& reading, ByteView token,
                                                     const Bytes& certificate, const std::string& serves) {
  const bool own = certificate.empty();
  const bool ownTooLarge = reading.signer && !reading.signer->key.excess.empty();
  SignerKey key;
  if (!own) {
    key = inspect::InspectKey(certificate);
  } else if (reading.signer) {
    key = reading.signer->key;
  }
  if (!key.excess.empty()) {
    reading.tooLarge = key;
    return std::nullopt;
  }
  LibraryCheck check;
  check.ess = serves;
  check.code = check_signature(token, certificate);
  check.asn1Error = QEX_GetLastAsnError();
  check.meaning = inspect::CodeMeaning(check.code);
  if (check.code != QEX_OK) check.stop = stop_of(reading, check.code, certificate, key, serves);
  // Distinguishes a token of another authority from a broken one.
  if (!own && check.code != QEX_OK && !ownTooLarge) check.ownCode = check_signature(token, {});
  return check;
}

// A token without its signer's certificate that verifies with one of the caller's was signed with that.
SignerCertificate signer_from(const Bytes& certificate) {
  return {certificate, Sha256(certificate), inspect::SubjectText(certificate),
          inspect::InspectKey(certificate)};
}

void verify(LibraryReading& reading, ByteView token, const std::vector<Bytes>& candidates,
            const std::string& serves) {
  std::optional<LibraryCheck> best;
  for (const Bytes& certificate : candidates) {
    std::optional<LibraryCheck> check = check_with(reading, token, certificate, serves);
    if (!check) continue;
    const bool passed = check->code == QEX_OK;
    if (passed && !reading.signer && !certificate.empty()) reading.signer = signer_from(certificate);
    if (!best || passed) best = std::move(check);
    if (passed) break;
  }
  if (best) reading.checks.push_back(std::move(*best));
}

// With `auto` a process checks its own version when the token carries it, or carries none.
[[nodiscard]] bool is_served(const LibraryReading& reading, const Job& job, const std::string& serves) {
  if (job.ess != "auto") return true;
  const bool carried = serves == "v2" ? reading.hasEssV2 : reading.hasEssV1;
  return carried || (!reading.hasEssV1 && !reading.hasEssV2);
}

}  // namespace

LibraryReading ReadByLibrary(ByteView token, const Job& job, const Trust& trust, const Bytes& found,
                             const std::string& serves) {
  LibraryReading reading = read_contents(token);
  read_signer(reading, token);
  if (job.verify && is_served(reading, job, serves)) {
    verify(reading, token, candidates_for(reading, trust, found), serves);
  }
  return reading;
}

LibraryToken TakeTokenByLibrary(ByteView reply) {
  LibraryToken taken;
  taken.code = FetchOutput(taken.token, reply.size(), [&](uint8_t* out, uint32_t* length) {
    return QEX_GetTSR_EncodedToken(out, length, reply.data(), LengthOf(reply));
  });
  RequireMemory("the token cannot be taken out", taken.code);
  return taken;
}

int32_t StatusByLibrary(ByteView reply) {
  QEX_TSR_STATUS record{};
  const int32_t code = QEX_GetTSR_Status(&record, reply.data(), LengthOf(reply));
  if (code != QEX_OK) throw LibraryStop("the reply cannot be read", code, reply);
  return record.status;
}

int32_t RequestCodeByLibrary(ByteView request) {
  QEX_TSQ_DATA_EX record{};
  record.size = sizeof record;
  return QEX_DecodeTSQ_Ex(&record, request.data(), LengthOf(request));
}

Bytes RewriteByLibrary(ByteView token, Rewriting how) {
  const auto write = how == Rewriting::IdData ? QEX_TSTInfoToIDData : QEX_RemoveAttrCerts;
  Bytes out;
  const int32_t code = FetchOutput(out, token.size(), [&](uint8_t* data, uint32_t* length) {
    return write(token.data(), LengthOf(token), data, length);
  });
  if (code != QEX_OK) throw LibraryFailure("the token cannot be written afresh", code, token);
  return out;
}

}  // namespace qex::tool
