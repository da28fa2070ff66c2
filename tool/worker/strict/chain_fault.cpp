// The faults of chains: a row for each that libcrypto distinguishes and people meet.
#include "tool/worker/strict/chain_fault.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include <openssl/objects.h>

#include "tool/base/escape.h"
#include "tool/worker/strict/certificate.h"

namespace qex::tool::strict {
namespace {

// In the words % is the subject, @ the issuer, < and > the first and last moment of the certificate at fault.
struct FaultRow {
  int error;
  ChainResult result;
  const char* words;
};

constexpr FaultRow kFaults[] = {
    {X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT, ChainResult::NotFound,
     "no trusted certificate of @ that issued %"},
    {X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY, ChainResult::NotFound,
     "no certificate of @ that issued %"},
    {X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE, ChainResult::NotFound, "no certificate of @ that issued %"},
    {X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT, ChainResult::NotFound,
     "% signed its certificate itself and is none of the trusted roots"},
    {X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN, ChainResult::NotFound,
     "the chain ends at %, which is none of the trusted roots"},
    {X509_V_ERR_CERT_UNTRUSTED, ChainResult::NotFound, "the chain ends at %, which is no root"},
    {X509_V_ERR_CERT_NOT_YET_VALID, ChainResult::NotYetValid, "the certificate of % is valid from < on"},
    {X509_V_ERR_CERT_HAS_EXPIRED, ChainResult::Expired, "the certificate of % was valid until >"},
    {X509_V_ERR_PATH_LENGTH_EXCEEDED, ChainResult::Constraints,
     "% stands above more authorities than its path length allows"},
    {X509_V_ERR_INVALID_CA, ChainResult::Constraints, "the certificate of % is not that of an authority"},
    {X509_V_ERR_INVALID_NON_CA, ChainResult::Constraints, "the certificate of % is that of an authority"},
    {X509_V_ERR_INVALID_PURPOSE, ChainResult::Constraints, "the certificate of % has another purpose"},
    {X509_V_ERR_KEYUSAGE_NO_CERTSIGN, ChainResult::Constraints,
     "the key usage of the issuer @ does not allow it to sign certificates"},
    {X509_V_ERR_PERMITTED_VIOLATION, ChainResult::Constraints,
     "the name constraints of an authority do not permit the name of %"},
    {X509_V_ERR_EXCLUDED_VIOLATION, ChainResult::Constraints,
     "the name constraints of an authority exclude the name of %"},
    {X509_V_ERR_SUBTREE_MINMAX, ChainResult::Constraints, "the name constraints about % cannot be applied"},
    {X509_V_ERR_UNSUPPORTED_CONSTRAINT_TYPE, ChainResult::Constraints,
     "the name constraints about % cannot be applied"},
    {X509_V_ERR_UNSUPPORTED_CONSTRAINT_SYNTAX, ChainResult::Constraints,
     "the name constraints about % cannot be applied"},
    {X509_V_ERR_UNSUPPORTED_NAME_SYNTAX, ChainResult::Constraints,
     "the name constraints about % cannot be applied"},
    {X509_V_ERR_INVALID_POLICY_EXTENSION, ChainResult::Constraints, "the policies of % are not valid"},
    {X509_V_ERR_NO_EXPLICIT_POLICY, ChainResult::Constraints, "an authority asks for a policy that % lacks"},
    {X509_V_ERR_PROXY_CERTIFICATES_NOT_ALLOWED, ChainResult::Constraints, "% is a proxy certificate"},
    {X509_V_ERR_EE_KEY_TOO_SMALL, ChainResult::Weak, "the key of % is too short"},
    {X509_V_ERR_CA_KEY_TOO_SMALL, ChainResult::Weak, "the key of % is too short"},
    {X509_V_ERR_CA_MD_TOO_WEAK, ChainResult::Weak, "the certificate of % is signed with a weak digest"},
    {X509_V_ERR_CERT_SIGNATURE_FAILURE, ChainResult::Faulty,
     "the signature of the certificate of % does not verify with the key of @"},
    {X509_V_ERR_UNSUPPORTED_SIGNATURE_ALGORITHM, ChainResult::Faulty,
     "the certificate of % is signed with an algorithm that is not known"},
    {X509_V_ERR_UNABLE_TO_DECODE_ISSUER_PUBLIC_KEY, ChainResult::Faulty,
     "the key of % is of a kind that cannot be used"},
    {X509_V_ERR_UNHANDLED_CRITICAL_EXTENSION, ChainResult::Faulty,
     "the certificate of % has a critical extension that is not known"},
    {X509_V_ERR_INVALID_EXTENSION, ChainResult::Faulty, "the extensions of % are not valid"},
    {X509_V_ERR_ERROR_IN_CERT_NOT_BEFORE_FIELD, ChainResult::Faulty, "the dates of % cannot be read"},
    {X509_V_ERR_ERROR_IN_CERT_NOT_AFTER_FIELD, ChainResult::Faulty, "the dates of % cannot be read"},
    {X509_V_ERR_CERT_CHAIN_TOO_LONG, ChainResult::Faulty, "the chain is too long"},
    {X509_V_ERR_CERT_REJECTED, ChainResult::Faulty, "% is not trusted"},
};

std::string filled_in(std::string_view words, const X509* certificate) {
  std::string text;
  for (const char c : words) {
    if (c != '%' && c != '@' && c != '<' && c != '>') {
      text += c;
    } else if (certificate == nullptr) {
      text += "a certificate";
    } else if (c == '%' || c == '@') {
      text += Quoted(
          NameForPeople(c == '%' ? X509_get_subject_name(certificate) : X509_get_issuer_name(certificate)));
    } else {
      text += MomentOf(c == '<' ? X509_get0_notBefore(certificate) : X509_get0_notAfter(certificate));
    }
  }
  return text;
}

constexpr int kFaultsOfUnknownAlgorithms[] = {
    X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT,
    X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY,
    X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE,
    X509_V_ERR_CERT_SIGNATURE_FAILURE,
    X509_V_ERR_CA_MD_TOO_WEAK,
};

// A certificate that is signed by an algorithm that libcrypto does not know has no issuer for it, or a weak
// or wrong signature.
[[nodiscard]] bool is_of_unknown_algorithm(int error, const X509* certificate) {
  if (certificate == nullptr) return false;
  if (std::ranges::find(kFaultsOfUnknownAlgorithms, error) == std::end(kFaultsOfUnknownAlgorithms)) {
    return false;
  }
  return OBJ_find_sigid_algs(X509_get_signature_nid(certificate), nullptr, nullptr) == 0;
}

}  // namespace

Chain ChainFault(int error, const X509* certificate) {
  if (is_of_unknown_algorithm(error, certificate)) error = X509_V_ERR_UNSUPPORTED_SIGNATURE_ALGORITHM;
  const auto* row = std::ranges::find(kFaults, error, &FaultRow::error);
  Chain chain;
  if (row == std::end(kFaults)) {
    chain.text = filled_in("the certificate of %: ", certificate) + X509_verify_cert_error_string(error);
  } else {
    chain.result = row->result;
    chain.text = filled_in(row->words, certificate);
  }
  return chain;
}

}  // namespace qex::tool::strict
