// The last decoded Trust, identified by its address: a process serves one set of trust options.
#include "tool/worker/strict/trust_store.h"

#include "tool/base/failure.h"
#include "tool/worker/strict/known_certificates.h"
#include "tool/worker/strict/strict.h"

namespace qex::tool {
namespace strict {
namespace {

struct Latest {
  const Trust* trust = nullptr;
  TrustStore store;
};

Latest& latest() {
  static Latest value;
  return value;
}

[[noreturn]] void refuse(const TrustItem& item, const char* what) {
  ThrowIfMemoryFailed();
  throw Failure{ExitStatus::Input, item.source + ": " + what + " in it cannot be read",
                std::string("name a file with whole ones, in PEM or DER")};
}

std::vector<OwnedCertificate> certificates_of(const std::vector<TrustItem>& items) {
  std::vector<OwnedCertificate> certificates;
  for (const TrustItem& item : items) {
    certificates.push_back(KnownCertificate(item.der));
    if (!certificates.back()) refuse(item, "a certificate");
  }
  return certificates;
}

void add_root(STACK_OF(X509) * roots, OwnedCertificate certificate) {
  if (sk_X509_push(roots, certificate.get()) <= 0) throw std::bad_alloc();
  (void)certificate.release();
}

TrustStore decode_trust(const Trust& trust) {
  TrustStore store;
  store.signers = certificates_of(trust.signers);
  for (const OwnedCertificate& signer : store.signers) {
    store.signerEncodings.push_back(Encoded<i2d_X509>(signer.get()));
  }
  store.untrusted = certificates_of(trust.untrusted);
  store.roots.reset(Needed(sk_X509_new_null()));
  for (OwnedCertificate& root : certificates_of(trust.roots)) add_root(store.roots.get(), std::move(root));
  for (const TrustItem& item : trust.systemRoots) {
    OwnedCertificate root = DecodeWhole<OwnedCertificate, d2i_X509>(item.der);
    ThrowIfMemoryFailed();
    if (root) add_root(store.roots.get(), std::move(root));
  }
  for (const TrustItem& item : trust.crls) {
    store.lists.push_back(DecodeWhole<OwnedCrl, d2i_X509_CRL>(item.der));
    if (!store.lists.back()) refuse(item, "a list of revoked certificates");
  }
  ThrowIfMemoryFailed();
  return store;
}

void keep(const Trust& trust) {
  Start();
  Latest& value = latest();
  value = {};
  value.store = decode_trust(trust);
  value.trust = &trust;
}

}  // namespace

const TrustStore& StoreOf(const Trust& trust) {
  if (latest().trust != &trust) keep(trust);
  return latest().store;
}

void ForgetStore() {
  latest() = {};
}

}  // namespace strict

void CheckTrust(const Trust& trust) {
  strict::keep(trust);
}

}  // namespace qex::tool
