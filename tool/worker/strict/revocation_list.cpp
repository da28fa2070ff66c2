// Revocation lists by RFC 5280, 5 and 6.3.3. libcrypto decodes them and verifies their signatures. Its own
// revocation check is not used: it ignores partial lists, uses one entry of several, treats lists of changes
// as complete ones, and stops before later entries that may matter.
#include "tool/worker/strict/revocation_list.h"

#include <algorithm>
#include <iterator>

#include <openssl/objects.h>

#include "tool/base/escape.h"
#include "tool/worker/strict/certificate.h"
#include "tool/worker/strict/chain.h"

namespace qex::tool::strict {
namespace {

using OwnedDistributionPoints = Handle<CRL_DIST_POINTS, CRL_DIST_POINTS_free>;
using OwnedIdentifier = Handle<ASN1_OBJECT, ASN1_OBJECT_free>;

constexpr const char* kInvalidExtensions = "its extensions are not valid";
constexpr const char* kUnknownExtension = "it has a critical extension that is not known";

constexpr int kKnownExtensions[] = {
    NID_authority_key_identifier,
    NID_crl_number,
    NID_delta_crl,
    NID_issuing_distribution_point,
};
constexpr int kKnownEntryExtensions[] = {
    NID_crl_reason,
    NID_invalidity_date,
    NID_certificate_issuer,
};

[[nodiscard]] int kind_of(X509_EXTENSION* extension) {
  return OBJ_obj2nid(X509_EXTENSION_get_object(extension));
}

template <size_t N>
[[nodiscard]] bool is_unknown_critical(X509_EXTENSION* extension, const int (&known)[N]) {
  if (X509_EXTENSION_get_critical(extension) == 0) return false;
  return std::ranges::find(known, kind_of(extension)) == std::end(known);
}

// The value of an extension of a list; a repeated or undecodable one is a fault of the list.
template <class Owner>
Owner extension_of(RevocationList& list, int kind) {
  using Value = typename Owner::element_type;
  int found = 0;
  Owner value(static_cast<Value*>(X509_CRL_get_ext_d2i(list.crl, kind, &found, nullptr)));
  constexpr int kAbsent = -1;
  if (!value && found != kAbsent) list.fault = kInvalidExtensions;
  return value;
}

// libcrypto compares only times that are in the form of RFC 5280, 5.1.2.4.
[[nodiscard]] bool is_well_formed(const ASN1_TIME* time) {
  return time != nullptr && X509_cmp_time(time, nullptr) != 0;
}

void read_dates(RevocationList& list) {
  const ASN1_TIME* issued = X509_CRL_get0_lastUpdate(list.crl);
  const ASN1_TIME* end = X509_CRL_get0_nextUpdate(list.crl);
  list.issued = SecondsOf(issued).value_or(0);
  if (!is_well_formed(issued) || (end != nullptr && !is_well_formed(end))) {
    list.fault = "its dates cannot be read";
  }
}

void read_extensions(RevocationList& list) {
  for (int i = 0; i < X509_CRL_get_ext_count(list.crl); ++i) {
    if (is_unknown_critical(X509_CRL_get_ext(list.crl, i), kKnownExtensions)) list.fault = kUnknownExtension;
  }
  list.scope = extension_of<OwnedListScope>(list, NID_issuing_distribution_point);
  list.keyOfIssuer = extension_of<OwnedKeyIdentifier>(list, NID_authority_key_identifier);
  list.isDelta = X509_CRL_get_ext_by_NID(list.crl, NID_delta_crl, -1) >= 0;
  if (!list.scope) return;
  const int kinds = (list.scope->onlyuser != 0) + (list.scope->onlyCA != 0) + (list.scope->onlyattr != 0);
  if (kinds > 1) list.fault = kInvalidExtensions;  // RFC 5280, 5.2.5
}

[[nodiscard]] bool holds_name(const GENERAL_NAMES* names, const X509_NAME* wanted) {
  for (int i = 0; i < sk_GENERAL_NAME_num(names); ++i) {
    const GENERAL_NAME* name = sk_GENERAL_NAME_value(names, i);
    if (name->type == GEN_DIRNAME && X509_NAME_cmp(name->d.directoryName, wanted) == 0) return true;
  }
  return false;
}

// Reads the entries in their order: the issuer that one names also applies to those after it (RFC 5280,
// 5.3.3).
class EntryReader {
 public:
  EntryReader(RevocationList& list, STACK_OF(X509) * path) : list_(list), path_(path) {
    list_.entries.resize(size_t(sk_X509_num(path)));
  }

  void Run() {
    // An attribute certificate may have the same number.
    if (list_.scope && list_.scope->onlyattr != 0) return;
    STACK_OF(X509_REVOKED)* all = X509_CRL_get_REVOKED(list_.crl);
    for (int i = 0; i < sk_X509_REVOKED_num(all); ++i) {
      X509_REVOKED* entry = sk_X509_REVOKED_value(all, i);
      read_extensions_of(entry);
      pick(entry);
    }
  }

 private:
  void read_extensions_of(X509_REVOKED* entry) {
    for (int i = 0; i < X509_REVOKED_get_ext_count(entry); ++i) {
      X509_EXTENSION* extension = X509_REVOKED_get_ext(entry, i);
      if (kind_of(extension) == NID_certificate_issuer) {
        issuer_.reset(static_cast<GENERAL_NAMES*>(X509V3_EXT_d2i(extension)));
        if (!issuer_) list_.fault = kInvalidExtensions;
      } else if (is_unknown_critical(extension, kKnownEntryExtensions)) {
        list_.fault = kUnknownExtension;
      }
    }
  }

  void pick(X509_REVOKED* entry) {
    const ASN1_INTEGER* serial = X509_REVOKED_get0_serialNumber(entry);
    for (size_t i = 0; i < list_.entries.size(); ++i) {
      const X509* certificate = sk_X509_value(path_, int(i));
      if (ASN1_INTEGER_cmp(serial, X509_get0_serialNumber(certificate)) != 0) continue;
      if (is_of(X509_get_issuer_name(certificate))) list_.entries[i].push_back(entry);
    }
  }

  [[nodiscard]] bool is_of(const X509_NAME* issuer) const {
    return issuer_ ? holds_name(issuer_.get(), issuer)
                   : X509_NAME_cmp(X509_CRL_get_issuer(list_.crl), issuer) == 0;
  }

  RevocationList& list_;
  STACK_OF(X509) * path_;
  OwnedGeneralNames issuer_;  // null: that of the list
};

// A name relative to the issuer's has been completed.
[[nodiscard]] bool is_named(const X509_NAME* name, const DIST_POINT_NAME* point) {
  if (point->type == 0) return holds_name(point->name.fullname, name);
  return point->dpname != nullptr && X509_NAME_cmp(name, point->dpname) == 0;
}

[[nodiscard]] bool share_a_name(const DIST_POINT_NAME* left, const DIST_POINT_NAME* right) {
  if (left->type != 0) return left->dpname != nullptr && is_named(left->dpname, right);
  for (int i = 0; i < sk_GENERAL_NAME_num(left->name.fullname); ++i) {
    GENERAL_NAME* name = sk_GENERAL_NAME_value(left->name.fullname, i);
    if (name->type == GEN_DIRNAME && is_named(name->d.directoryName, right)) return true;
    for (int j = 0; right->type == 0 && j < sk_GENERAL_NAME_num(right->name.fullname); ++j) {
      if (GENERAL_NAME_cmp(name, sk_GENERAL_NAME_value(right->name.fullname, j)) == 0) return true;
    }
  }
  return false;
}

// Whether a certificate names the list's distribution point as one for all reasons.
[[nodiscard]] bool names_point(X509* certificate, DIST_POINT_NAME* wanted) {
  const X509_NAME* issuer = X509_get_issuer_name(certificate);
  const OwnedDistributionPoints points(static_cast<CRL_DIST_POINTS*>(
      X509_get_ext_d2i(certificate, NID_crl_distribution_points, nullptr, nullptr)));
  if (DIST_POINT_set_dpname(wanted, issuer) != 1) return false;
  for (int i = 0; i < sk_DIST_POINT_num(points.get()); ++i) {
    const DIST_POINT* point = sk_DIST_POINT_value(points.get(), i);
    if (point->distpoint == nullptr || point->reasons != nullptr) continue;
    if (point->CRLissuer != nullptr && !holds_name(point->CRLissuer, issuer)) continue;
    if (DIST_POINT_set_dpname(point->distpoint, issuer) == 1 && share_a_name(point->distpoint, wanted)) {
      return true;
    }
  }
  return false;
}

// The moment since which certificates that expire stay in the list (X.509, 9.5.2.6); nothing when they do
// not.
[[nodiscard]] std::optional<int64_t> keeps_expired_since(const X509_CRL* list) {
  const OwnedIdentifier identifier(Needed(OBJ_txt2obj("2.5.29.60", 1)));
  const int place = X509_CRL_get_ext_by_OBJ(list, identifier.get(), -1);
  if (place < 0) return std::nullopt;
  const ByteView value = OctetsOf(X509_EXTENSION_get_data(X509_CRL_get_ext(list, place)));
  const auto since = DecodeWhole<OwnedTime, d2i_ASN1_GENERALIZEDTIME>(value);
  return SecondsOf(since.get());
}

// Lists drop expired certificates (RFC 5280, 3.3).
[[nodiscard]] bool may_have_dropped(const RevocationList& list, const X509* certificate) {
  const auto end = SecondsOf(X509_get0_notAfter(certificate));
  if (end && list.issued <= *end) return false;
  const auto kept = keeps_expired_since(list.crl);
  return !end || !kept || *kept > *end;
}

}  // namespace

std::string RevocationList::Name() const {
  return std::string(IsIndirect() ? "the indirect list of " : "the list of ") +
         Quoted(NameForPeople(X509_CRL_get_issuer(crl))) + " of " + MomentOf(X509_CRL_get0_lastUpdate(crl));
}

bool RevocationList::IsWeak() const {
  const X509_ALGOR* algorithm = nullptr;
  X509_CRL_get0_signature(crl, nullptr, &algorithm);
  return HasWeakDigest(algorithm);
}

RevocationList ReadRevocationList(X509_CRL* crl, STACK_OF(X509) * path) {
  RevocationList list;
  list.crl = crl;
  read_dates(list);
  read_extensions(list);
  EntryReader(list, path).Run();
  ThrowIfMemoryFailed();
  return list;
}

X509* IssuerOnPath(const RevocationList& list, STACK_OF(X509) * path, int place) {
  const X509_NAME* name = X509_CRL_get_issuer(list.crl);
  if (X509_NAME_cmp(name, X509_get_issuer_name(sk_X509_value(path, place))) != 0) return nullptr;
  const int root = sk_X509_num(path) - 1;
  // An authority that has changed its key is on the path more than once.
  for (int i = std::min(place + 1, root); i <= root; ++i) {
    X509* issuer = sk_X509_value(path, i);
    if (X509_NAME_cmp(name, X509_get_subject_name(issuer)) == 0 &&
        X509_check_akid(issuer, list.keyOfIssuer.get()) == X509_V_OK) {
      return issuer;
    }
  }
  ThrowIfMemoryFailed();
  return nullptr;
}

const char* FaultOfList(const RevocationList& list, X509* issuer) {
  if (list.fault != nullptr) return list.fault;
  if ((X509_get_key_usage(issuer) & KU_CRL_SIGN) == 0) {
    return "the key usage of its issuer does not allow lists";
  }
  EVP_PKEY* key = X509_get0_pubkey(issuer);
  const bool verified = key != nullptr && X509_CRL_verify(list.crl, key) == 1;
  ThrowIfMemoryFailed();
  return verified ? nullptr : "its signature does not verify";
}

const char* GapOfList(const RevocationList& list, X509* certificate) {
  // Who is not in a list of changes to another may be in the other.
  if (list.isDelta) return "is of changes to another list";
  if (may_have_dropped(list, certificate)) return "was issued after the certificate had expired";
  if (!list.scope) return nullptr;
  const bool isAuthority = (X509_get_extension_flags(certificate) & EXFLAG_CA) != 0;
  const bool isOther = isAuthority ? list.scope->onlyuser != 0 : list.scope->onlyCA != 0;
  if (isOther || list.scope->onlyattr != 0) return "is of other certificates";
  if (list.IsOfSomeReasons()) return "is of some reasons only";
  if (list.IsIndirect()) return "may leave certificates of its own issuer to another";
  if (list.scope->distpoint != nullptr && !names_point(certificate, list.scope->distpoint)) {
    return "is of another distribution point";
  }
  ThrowIfMemoryFailed();
  return nullptr;
}

}  // namespace qex::tool::strict
