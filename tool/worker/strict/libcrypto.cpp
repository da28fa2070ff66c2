// The strict reader's use of libcrypto. A result of its functions counts only if no allocation has failed
// since: many of them answer "no" then, some without an entry in the error queue.
#include "tool/worker/strict/libcrypto.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <map>

#include <openssl/err.h>
#include <openssl/objects.h>

#include "tool/message/gen_time.h"
#include "tool/message/oid_text.h"
#include "tool/message/structure.h"

namespace qex::tool::strict {
namespace {

thread_local bool allocation_failed = false;

void* allocate(size_t size, const char*, int) {
  if (size == 0) return nullptr;
  void* memory = std::malloc(size);
  if (memory == nullptr) allocation_failed = true;
  return memory;
}

void release(void* memory, const char*, int) {
  std::free(memory);
}

void* reallocate(void* memory, size_t size, const char*, int) {
  if (size == 0) {
    std::free(memory);
    return nullptr;
  }
  void* larger = std::realloc(memory, size);
  if (larger == nullptr) allocation_failed = true;
  return larger;
}

// The texts of errors of the parts that decode and verify. Once they have been left out they can be had in
// this way alone, which libcrypto keeps for older programs.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
void load_texts() {
  ERR_load_ERR_strings();
  ERR_load_ASN1_strings();
  ERR_load_BN_strings();
  ERR_load_CMS_strings();
  ERR_load_CRYPTO_strings();
  ERR_load_DSA_strings();
  ERR_load_EC_strings();
  ERR_load_EVP_strings();
  ERR_load_OBJ_strings();
  ERR_load_RSA_strings();
  ERR_load_TS_strings();
  ERR_load_X509_strings();
  ERR_load_X509V3_strings();
}
#pragma GCC diagnostic pop

Digest fetch_digest(int nid) {
  const char* shortName = OBJ_nid2sn(nid);
  if (shortName == nullptr) return {};
  Digest digest;
  digest.routine.reset(EVP_MD_fetch(nullptr, shortName, nullptr));
  ThrowIfMemoryFailed();
  if (!digest.routine) return {};
  digest.name = shortName;
  std::ranges::transform(digest.name, digest.name.begin(),
                         [](char c) { return char(std::tolower(static_cast<unsigned char>(c))); });
  if ((EVP_MD_get_flags(digest.routine.get()) & EVP_MD_FLAG_XOF) == 0) {
    digest.length = size_t(std::max(EVP_MD_get_size(digest.routine.get()), 0));
  } else if (nid == NID_shake128) {
    digest.length = 32;
  } else if (nid == NID_shake256) {
    digest.length = 64;
  }
  return digest.length == 0 ? Digest{} : std::move(digest);
}

}  // namespace

void Start() {
  static const bool started = [] {
    // Refused when something in this process has used libcrypto already; its queue of errors has to do then.
    CRYPTO_set_mem_functions(allocate, reallocate, release);
    // Ciphers are of no use here, and texts of errors seldom: each takes a good part of the time of a token.
    constexpr uint64_t kLeftOut =
        OPENSSL_INIT_NO_LOAD_CONFIG | OPENSSL_INIT_NO_ADD_ALL_CIPHERS | OPENSSL_INIT_NO_LOAD_CRYPTO_STRINGS;
    return OPENSSL_init_crypto(kLeftOut, nullptr) == 1;
  }();
  if (!started) throw std::bad_alloc();  // it has no other way to fail
  allocation_failed = false;
  ERR_clear_error();
}

void ThrowIfMemoryFailed() {
  bool failed = allocation_failed;
  allocation_failed = false;
  while (const unsigned long error = ERR_get_error()) {
    if (ERR_GET_REASON(error) == ERR_R_MALLOC_FAILURE) failed = true;
  }
  if (failed) throw std::bad_alloc();
}

std::string LastReason() {
  load_texts();
  const char* reason = ERR_reason_error_string(ERR_peek_error());
  return reason == nullptr ? "" : reason;
}

ByteView OctetsOf(const ASN1_STRING* string) {
  if (string == nullptr) return {};
  return {ASN1_STRING_get0_data(string), size_t(ASN1_STRING_length(string))};
}

ByteView OctetsOf(const ASN1_OBJECT* identifier) {
  if (identifier == nullptr) return {};
  return {OBJ_get0_data(identifier), OBJ_length(identifier)};
}

Bytes IntegerOctets(const ASN1_INTEGER* number) {
  const Bytes encoded = Encoded<i2d_ASN1_INTEGER>(number);
  const auto element = inspect::Elements(encoded).next();
  return MinimalInteger(element ? element->content : ByteView{});
}

const ASN1_OBJECT* IdentifierOf(const X509_ALGOR* algorithm) {
  const ASN1_OBJECT* identifier = nullptr;
  X509_ALGOR_get0(&identifier, nullptr, nullptr, algorithm);
  return identifier;
}

std::string OidText(const ASN1_OBJECT* identifier) {
  return inspect::NamedOid(inspect::DecodeOid(OctetsOf(identifier)));
}

std::optional<int64_t> SecondsOf(const ASN1_TIME* time) {
  tm calendar{};
  if (time == nullptr || ASN1_TIME_to_tm(time, &calendar) != 1) return std::nullopt;
  using namespace std::chrono;
  const sys_days day = year(calendar.tm_year + 1900) / (calendar.tm_mon + 1) / calendar.tm_mday;
  const sys_seconds seconds =
      day + hours(calendar.tm_hour) + minutes(calendar.tm_min) + std::chrono::seconds(calendar.tm_sec);
  return seconds.time_since_epoch().count();
}

std::string MomentOf(const ASN1_TIME* time) {
  const auto seconds = SecondsOf(time);
  return seconds ? IsoTime(*seconds) : "an unreadable time";
}

const Digest* FindDigest(const ASN1_OBJECT* identifier) {
  return FindDigest(OBJ_obj2nid(identifier));
}

const Digest* FindDigest(int nid) {
  if (nid == NID_undef) return nullptr;
  static std::map<int, Digest> fetched;
  auto found = fetched.find(nid);
  if (found == fetched.end()) found = fetched.emplace(nid, fetch_digest(nid)).first;
  return found->second.routine ? &found->second : nullptr;
}

Bytes DigestOf(const Digest& digest, ByteView data) {
  const OwnedDigestContext context(Needed(EVP_MD_CTX_new()));
  Bytes value(digest.length);
  const bool extendable = (EVP_MD_get_flags(digest.routine.get()) & EVP_MD_FLAG_XOF) != 0;
  const bool done = EVP_DigestInit_ex2(context.get(), digest.routine.get(), nullptr) == 1 &&
                    EVP_DigestUpdate(context.get(), data.data(), data.size()) == 1 &&
                    (extendable ? EVP_DigestFinalXOF(context.get(), value.data(), value.size())
                                : EVP_DigestFinal_ex(context.get(), value.data(), nullptr)) == 1;
  // The digest of octets in memory cannot fail in any other way.
  if (!done) {
    ThrowIfMemoryFailed();
    throw std::bad_alloc();
  }
  return value;
}

}  // namespace qex::tool::strict
