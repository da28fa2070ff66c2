// The facts that a worker found about one message. Every part has a type: an absent part, or one misspelt on
// its way through the pipe, cannot pass for one in order (facts_json.h).
//
// Two readers examine a token: the library, and a strict one on OpenSSL's libcrypto. Either may stop, and
// then reports where.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tool/base/bytes.h"
#include "tool/base/failure.h"
#include "tool/message/structure.h"

namespace qex::tool {

// An imprint never travels without its algorithm (contents octets of the identifier).
struct Imprint {
  Bytes algorithm;
  Bytes digest;
  bool operator==(const Imprint&) const = default;
};

struct Accuracy {
  std::optional<int64_t> seconds;
  std::optional<int64_t> millis;
  std::optional<int64_t> micros;
  bool operator==(const Accuracy&) const = default;
};

// The TSTInfo that was signed, as one reader has it. Integers are minimal contents octets.
struct TstInfo {
  int64_t version = 0;
  Bytes policy;  // contents octets of the identifier
  Imprint imprint;
  Bytes serial;
  std::string genTime;  // as received
  std::optional<Accuracy> accuracy;
  bool ordering = false;
  std::optional<Bytes> nonce;
  bool operator==(const TstInfo&) const = default;
};

// Facts for the structure check. Identifiers are contents octets.
struct Structure {
  uint64_t signers = 0;
  Bytes contentType;                          // of the signed content
  std::optional<Bytes> contentTypeAttribute;  // the first one of the first signer
  bool messageDigestPresent = false;
  std::vector<Bytes>
      repeatedAttributes;  // signed attributes that occur more than once, or do not have exactly one value
  bool imprintParametersFit = false;   // absent or NULL
  std::vector<Bytes> unknownCritical;  // critical extensions of the TSTInfo
  std::optional<bool> tsaNameFits;  // the tsa name is one of the signer's; absent: no name, or not compared
  bool operator==(const Structure&) const = default;
};

struct SignerKey {
  std::string type;         // rsa, dsa, ec, ed25519 ...
  std::string name;         // for people: "rsa 2048", "ec P-256"
  uint64_t bits = 0;        // 0: unknown
  Bytes exponent;           // of RSA, big-endian without zeros in front
  bool lowExponent = true;  // RSA with an exponent below 65537, or one that cannot be read
  std::string excess;       // the first number that is too long to be tried, in words; empty: none
};

struct SignerCertificate {
  Bytes der;
  Bytes sha256;
  std::string subject;
  SignerKey key;
};

// Where a reader stopped.
struct Stop {
  std::string text;             // for people
  std::string identifier = {};  // "name (dotted)" of the identifier without a type; empty: another reason
  bool algorithm = false;       // that identifier names an algorithm
  int32_t code = 0;             // of the library
  int32_t asn1Error = 0;
};

// One run of the library's verification, for one version of the signing-certificate attribute.
struct LibraryCheck {
  std::string ess;  // v1 or v2
  int32_t code = 0;
  int32_t asn1Error = 0;
  std::string meaning;             // of the code
  std::optional<int32_t> ownCode;  // with the token's own certificate, when it failed with a given one
  std::optional<Stop> stop;        // why the code says nothing about the signature: it could not be tried
};

struct LibraryReading {
  TstInfo info;
  Structure structure;
  Bytes digestAlgorithm;  // of the first signer
  Bytes signatureAlgorithm;
  bool hasEssV1 = false;
  bool hasEssV2 = false;
  Bytes essHash;                            // the algorithm by which the second version names the certificate
  std::vector<std::string> cut;             // parts that are longer than the library's record
  std::optional<SignerCertificate> signer;  // the token's own certificate that the attribute names
  std::vector<LibraryCheck> checks;         // empty: not asked for, or the key is too large
  std::optional<SignerKey> tooLarge;        // that key
};

enum class SignatureResult : uint8_t {
  Valid,
  Invalid,        // it was tried, and does not verify
  Unsupported,    // the algorithm is unknown to the reader; it was not tried
  KeyTooLarge,    // not tried
  NoCertificate,  // the token names a certificate that is not available
};

struct StrictSignature {
  SignatureResult result = SignatureResult::NoCertificate;
  std::string reason;  // why it is not valid, in words; empty for a valid one
  std::string digest;  // "sha256", in the usual spelling; the dotted identifier of an unknown one
  std::string scheme;  // "rsa", "rsa-pss", "ecdsa", "dsa", "ed25519"; the dotted identifier of an unknown one
  uint64_t digestBits = 0;  // 0: unknown
};

// The statement of an ESS signing-certificate attribute (RFC 2634, RFC 5035) about the signer's certificate.
enum class EssMatch : uint8_t { Absent, Names, NamesAnother, Unreadable };

// A judgement with its reason, for people.
struct Judgement {
  bool good = false;
  std::string text;
};

enum class ValidityResult : uint8_t { Valid, NotYet, Expired, Unreadable };

struct Validity {
  ValidityResult result = ValidityResult::Unreadable;  // at the time of the trust options
  std::string notBefore;                               // ISO 8601
  std::string notAfter;
  bool expiredNow = false;
  bool stampedBefore = false;   // genTime is before the certificate's first second
  bool keyPeriodEnded = false;  // genTime is after the end of the private key's usage period
};

enum class ChainResult : uint8_t {
  Trusted,
  NotFound,     // no path to a root
  NotYetValid,  // a certificate of the path
  Expired,
  Constraints,  // path length, name constraints, policies, usage of a CA
  Weak,         // a key or signature of the path
  Faulty,       // anything else
  NoTime,       // the time of the token cannot be read, so nothing is judged
};

struct Chain {
  ChainResult result = ChainResult::Faulty;
  std::string text;    // the fault in words; empty when trusted
  std::string anchor;  // the root's name for people
  uint64_t length = 0;
};

enum class RevocationResult : uint8_t {
  Good,
  StillValid,  // revoked later for a reason that leaves older stamps valid (RFC 3161, 4)
  Revoked,
  NoList,     // none of the lists covers the signer
  ListStale,  // the list that covers it ended before the time of the check
  ListWeak,   // it is signed with a weak digest
  ListBad,    // its signature does not verify, or it is unusable
};

struct Revocation {
  RevocationResult result = RevocationResult::ListBad;
  std::string text;
  bool ofCa = false;  // the fault is of a CA certificate of the path
};

struct StrictReading {
  TstInfo info;
  Structure structure;
  EssMatch essV1 = EssMatch::Absent;
  EssMatch essV2 = EssMatch::Absent;
  StrictSignature signature;
  std::optional<SignerCertificate> signer;  // the one that the signer identifier and the attributes name
  bool signerIsPinned = false;              // it is one of Trust::signers
  std::optional<Judgement> keyUsage;        // present with a signer
  std::optional<Validity> validity;         // present with a signer and a readable time
  std::optional<Chain> chain;               // present with a signer when a chain is wanted
  std::optional<Revocation> revocation;     // present when the chain holds and lists were given
};

// PKIStatusInfo of a reply.
struct Status {
  int64_t value = 0;
  std::vector<std::string> texts;
  std::optional<std::vector<uint32_t>> failures;  // numbers of the bits that are set; absent: no failInfo
};

// A time-stamp request.
struct RequestFacts {
  std::optional<Bytes> policy;
  Imprint imprint;
  std::optional<Bytes> nonce;
  bool certificateWanted = false;
  uint64_t extensions = 0;
};

// A time attribute certificate: of a token the one that it carries.
struct TacFacts {
  int32_t code = 0;  // of taking it out; the rest holds something when it is QEX_OK
  int32_t asn1Error = 0;
  std::string meaning;  // of the code
  Bytes der;
  Bytes sha256;
  std::optional<Failure> failure;  // it is present, and unreadable
  std::string info;                // for people: the text of a JSON object
  int32_t metricsCode = 0;         // results of reading the two timing attributes
  int32_t policyCode = 0;
};

// Whether an attribute certificate belongs to a token.
struct TacMatch {
  int32_t code = 0;
  int32_t asn1Error = 0;
  std::string meaning;
  std::string ess;  // the version of the attribute that was examined
};

struct Facts {
  inspect::Kind kind = inspect::Kind::Unknown;
  uint64_t trailing = 0;                  // octets after the message
  std::optional<RequestFacts> request;    // the message, or the request that the job came with
  std::optional<Failure> requestFailure;  // why it is unreadable
  std::optional<Status> status;           // of a reply
  std::optional<Bytes> token;             // of a reply, or the message itself
  std::optional<int32_t> tokenCode;       // of a reply: the library's result of taking the token out
  // Of a token: the findings of each reader, or where it stopped; neither when it was not asked.
  std::optional<LibraryReading> library;
  std::optional<Stop> libraryStop;
  std::optional<StrictReading> strict;
  std::optional<Stop> strictStop;
  std::string tsaName;                           // for people; empty: none
  std::optional<SignerCertificate> certificate;  // the message is one
  std::optional<TacFacts> tac;
  std::optional<TacMatch> tacMatch;
  std::optional<Bytes> rewritten;
  std::string asn1;         // the printed message
  std::string description;  // for people: the text of a JSON object, which nothing is compared with
};

}  // namespace qex::tool
