// Owners of libcrypto's objects, which they free on every path.
#pragma once

#include <memory>

#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/ts.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

namespace qex::tool::strict {

template <auto Free>
struct FreedBy {
  template <class T>
  void operator()(T* object) const noexcept {
    Free(object);
  }
};

template <class T, auto Free>
using Handle = std::unique_ptr<T, FreedBy<Free>>;

// libcrypto's macros for stacks are not functions.
inline void FreeCertificates(STACK_OF(X509) * stack) noexcept {
  sk_X509_pop_free(stack, X509_free);
}
inline void FreeCertificateStack(STACK_OF(X509) * stack) noexcept {
  sk_X509_free(stack);
}

using OwnedAlgorithm = Handle<X509_ALGOR, X509_ALGOR_free>;
using OwnedBigNumber = Handle<BIGNUM, BN_free>;
using OwnedBio = Handle<BIO, BIO_free_all>;
using OwnedCertificate = Handle<X509, X509_free>;
using OwnedCertificates = Handle<STACK_OF(X509), FreeCertificates>;
using OwnedCms = Handle<CMS_ContentInfo, CMS_ContentInfo_free>;
using OwnedCrl = Handle<X509_CRL, X509_CRL_free>;
using OwnedDigest = Handle<EVP_MD, EVP_MD_free>;
using OwnedDigestContext = Handle<EVP_MD_CTX, EVP_MD_CTX_free>;
using OwnedEnumerated = Handle<ASN1_ENUMERATED, ASN1_ENUMERATED_free>;
using OwnedExtendedUsage = Handle<EXTENDED_KEY_USAGE, EXTENDED_KEY_USAGE_free>;
using OwnedGeneralNames = Handle<GENERAL_NAMES, GENERAL_NAMES_free>;
using OwnedPssParameters = Handle<RSA_PSS_PARAMS, RSA_PSS_PARAMS_free>;
using OwnedStoreContext = Handle<X509_STORE_CTX, X509_STORE_CTX_free>;
using OwnedTstInfo = Handle<TS_TST_INFO, TS_TST_INFO_free>;

// Rows of certificates that belong to others.
using CertificateRow = Handle<STACK_OF(X509), FreeCertificateStack>;

}  // namespace qex::tool::strict
