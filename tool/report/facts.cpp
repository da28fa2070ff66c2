// Members of the documents, and the path of certificates.
#include "tool/report/facts.h"

#include <algorithm>

#include "tool/base/json.h"
#include "tool/message/gen_time.h"

namespace qex::tool {
namespace {

constexpr size_t kLongestPath = 10;

[[nodiscard]] bool is_in_path(const CertificatePath& path, const Json& certificate) {
  return std::ranges::find(path.certificates, &certificate) != path.certificates.end();
}

// The certificate with the name of the issuer of the last one in the path.
const Json* issuer_in(const Json& certificates, const CertificatePath& path) {
  const std::string name = IssuerName(*path.certificates.back());
  for (const Json& certificate : certificates) {
    if (SubjectName(certificate) == name && !is_in_path(path, certificate)) return &certificate;
  }
  return nullptr;
}

void follow_issuers(CertificatePath& path, const Json& certificates) {
  for (;;) {
    const Json& last = *path.certificates.back();
    if (SubjectName(last) == IssuerName(last)) return;
    const Json* issuer = issuer_in(certificates, path);
    if (issuer == nullptr) {
      path.missing = IssuerName(last);
      path.circle = std::ranges::any_of(path.certificates, [&path](const Json* certificate) {
        return SubjectName(*certificate) == path.missing;
      });
      return;
    }
    if (path.certificates.size() == kLongestPath) {
      path.cut = true;
      return;
    }
    path.certificates.push_back(issuer);
  }
}

const Json* signer_in(const Json& certificates, const std::string& sha256) {
  if (sha256.empty()) return nullptr;
  for (const Json& certificate : certificates) {
    if (TextOf(certificate, "sha256") == sha256) return &certificate;
  }
  return nullptr;
}

}  // namespace

const Json* PartOf(const Json& object, const char* name) {
  if (!object.is_object()) return nullptr;
  const auto found = object.find(name);
  return found == object.end() || found->is_null() ? nullptr : &*found;
}

std::string TextOf(const Json& object, const char* name) {
  const Json* part = PartOf(object, name);
  return part != nullptr && part->is_string() ? part->get<std::string>() : "";
}

std::string SubjectName(const Json& certificate) {
  // Of a document that shows a certificate, the subject is its file.
  return TextOf(certificate, PartOf(certificate, "subject_name") != nullptr ? "subject_name" : "subject");
}

std::string IssuerName(const Json& certificate) {
  const Json* issuer = PartOf(certificate, "issuer");
  if (issuer != nullptr && issuer->is_array() && !issuer->empty()) issuer = &issuer->front();
  return issuer != nullptr && issuer->is_string() ? issuer->get<std::string>() : "";
}

const Json* FindCheck(const Json& verified, std::string_view name) {
  const Json* checks = PartOf(verified, "checks");
  const Json* found = nullptr;
  if (checks == nullptr) return found;
  for (const Json& check : *checks) {
    if (TextOf(check, "name") == name && TextOf(check, "verdict") != "note") found = &check;
  }
  return found;
}

std::optional<int64_t> SecondsOf(std::string_view time) {
  std::string whole(time);
  if (const size_t point = whole.find('.'); point != std::string::npos) {
    const size_t end = whole.find_first_not_of("0123456789", point + 1);
    whole.erase(point, end == std::string::npos ? end : end - point);
  }
  return ParseIsoTime(whole);
}

CertificatePath PathOf(const Json& shown) {
  CertificatePath path;
  if (TextOf(shown, "kind") == "certificate") {
    path.certificates.push_back(&shown);
    follow_issuers(path, Json::array());
    return path;
  }
  const Json* certificates = PartOf(shown, "certificates");
  const Json* authority = PartOf(shown, "authority_certificate");
  if (certificates == nullptr) return path;
  const Json* signer =
      authority == nullptr ? nullptr : signer_in(*certificates, TextOf(*authority, "sha256"));
  if (signer != nullptr) {
    path.certificates.push_back(signer);
    follow_issuers(path, *certificates);
  }
  path.others = certificates->size() - path.certificates.size();
  return path;
}

}  // namespace qex::tool
