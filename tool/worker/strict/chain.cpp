// Chains are built and verified by libcrypto. It follows one issuer of each name, so that a twin of the right
// one can lead it astray: when it finds no chain, every path by names is tried, up to a bound.
#include "tool/worker/strict/chain.h"

#include <algorithm>
#include <ctime>

#include "tool/worker/strict/certificate.h"
#include "tool/worker/strict/chain_fault.h"
#include "tool/worker/strict/scheme.h"

namespace qex::tool::strict {
namespace {

constexpr int kMaxDepth = 10;     // certificates between the signer and the root
constexpr int kMaxAttempts = 32;  // further paths to verify, after libcrypto's own
constexpr int kMaxNodes = 64;  // certificates that paths are extended from; of many twins there are too many
constexpr int kStrongLevel = 2;      // of libcrypto: RSA of 2048, no SHA-1
constexpr size_t kStrongBits = 112;  // of that level
constexpr int kLeastModulusBits = 1024;
constexpr int kLeastCurveBits = 160;

CertificateRow row_of(const std::vector<X509*>& certificates) {
  CertificateRow row(Needed(sk_X509_new_null()));
  for (X509* certificate : certificates) {
    if (sk_X509_push(row.get(), certificate) <= 0) throw std::bad_alloc();
  }
  return row;
}

// Keys that are too short at every level, which has no name in libcrypto.
Chain judge_sizes(STACK_OF(X509) * path) {
  for (int i = 0; i < sk_X509_num(path); ++i) {
    X509* certificate = sk_X509_value(path, i);
    const EVP_PKEY* key = X509_get0_pubkey(certificate);
    const int kind = key == nullptr ? EVP_PKEY_NONE : EVP_PKEY_get_base_id(key);
    const bool hasModulus = kind == EVP_PKEY_RSA || kind == EVP_PKEY_RSA_PSS || kind == EVP_PKEY_DSA;
    const int least = hasModulus ? kLeastModulusBits : kind == EVP_PKEY_EC ? kLeastCurveBits : 0;
    if (key != nullptr && EVP_PKEY_get_bits(key) < least) {
      return ChainFault(X509_V_ERR_CA_KEY_TOO_SMALL, certificate);
    }
  }
  Chain chain;
  chain.result = ChainResult::Trusted;
  return chain;
}

// A certificate is valid through its last second (RFC 5280, 4.1.2.5); libcrypto treats it as expired then.
[[nodiscard]] int allow_last_second(int ok, X509_STORE_CTX* context) {
  if (ok != 0 || X509_STORE_CTX_get_error(context) != X509_V_ERR_CERT_HAS_EXPIRED) return ok;
  const int64_t time = X509_VERIFY_PARAM_get_time(X509_STORE_CTX_get0_param(context));
  if (SecondsOf(X509_get0_notAfter(X509_STORE_CTX_get_current_cert(context))) != time) return ok;
  X509_STORE_CTX_set_error(context, X509_V_OK);
  return 1;
}

// False when this platform's time_t cannot hold the time.
[[nodiscard]] bool set_judged_time(X509_VERIFY_PARAM* parameters, int64_t time) {
  const time_t narrow = time_t(time);
  if (narrow != time) return false;
  X509_VERIFY_PARAM_set_time(parameters, narrow);
  return true;
}

// One verification by libcrypto.
ChainAnswer verify(const ChainQuestion& question, STACK_OF(X509) * untrusted, STACK_OF(X509) * roots) {
  const OwnedStoreContext context(Needed(X509_STORE_CTX_new()));
  if (X509_STORE_CTX_init(context.get(), nullptr, question.signer, untrusted) != 1) {
    ThrowIfMemoryFailed();
    throw std::bad_alloc();
  }
  X509_STORE_CTX_set0_trusted_stack(context.get(), roots);
  X509_VERIFY_PARAM* parameters = X509_STORE_CTX_get0_param(context.get());
  ChainAnswer answer;
  if (!set_judged_time(parameters, question.time)) {
    answer.chain.result = ChainResult::NoTime;
    answer.chain.text = "the time is beyond what can be judged";
    return answer;
  }
  // Any policy will do (RFC 5280, 6.1.1), if an authority demands one at all.
  X509_VERIFY_PARAM_set_flags(parameters, X509_V_FLAG_POLICY_CHECK);
  if (X509_VERIFY_PARAM_add0_policy(parameters, OBJ_nid2obj(NID_any_policy)) != 1) throw std::bad_alloc();
  X509_VERIFY_PARAM_set_depth(parameters, kMaxDepth);
  X509_VERIFY_PARAM_set_auth_level(parameters, question.allowWeak ? 0 : kStrongLevel);
  X509_STORE_CTX_set_verify_cb(context.get(), allow_last_second);
  const bool verified = X509_verify_cert(context.get()) == 1;
  const int error = X509_STORE_CTX_get_error(context.get());
  ThrowIfMemoryFailed();
  if (error == X509_V_ERR_OUT_OF_MEM) throw std::bad_alloc();
  STACK_OF(X509)* path = X509_STORE_CTX_get0_chain(context.get());
  if (!verified) {
    answer.chain = ChainFault(error, X509_STORE_CTX_get_current_cert(context.get()));
    answer.chain.length = uint64_t(std::max(sk_X509_num(path), 0));
    return answer;
  }
  answer.chain = judge_sizes(path);
  answer.chain.length = uint64_t(sk_X509_num(path));
  if (answer.chain.result != ChainResult::Trusted) return answer;
  const X509* anchor = sk_X509_value(path, sk_X509_num(path) - 1);
  answer.chain.anchor = NameForPeople(X509_get_subject_name(anchor));
  answer.path.reset(Needed(X509_STORE_CTX_get1_chain(context.get())));
  return answer;
}

// The paths by names, depth first.
class PathSearch {
 public:
  explicit PathSearch(const ChainQuestion& question) : question_(question) {}

  // Run returns the first path that verifies; `first` when none does.
  ChainAnswer Run(ChainAnswer first) {
    answer_ = std::move(first);
    path_.push_back(question_.signer);
    extend();
    return std::move(answer_);
  }

 private:
  [[nodiscard]] bool done() const {
    return attempts_ >= kMaxAttempts || nodes_ >= kMaxNodes || answer_.chain.result == ChainResult::Trusted;
  }

  void extend() {
    for (int i = 0; i < sk_X509_num(question_.roots) && !done(); ++i) {
      X509* root = sk_X509_value(question_.roots, i);
      if (X509_check_issued(root, path_.back()) == X509_V_OK) attempt(root);
    }
    ++nodes_;
    if (path_.size() > size_t{kMaxDepth}) return;
    for (X509* next : question_.untrusted) {
      if (done()) return;
      if (std::ranges::find(path_, next) != path_.end()) continue;
      if (X509_check_issued(next, path_.back()) != X509_V_OK) continue;
      path_.push_back(next);
      extend();
      path_.pop_back();
    }
  }

  void attempt(X509* root) {
    ++attempts_;
    const CertificateRow untrusted = row_of({path_.begin() + 1, path_.end()});
    const CertificateRow roots = row_of({root});
    ChainAnswer found = verify(question_, untrusted.get(), roots.get());
    if (found.chain.result == ChainResult::Trusted) answer_ = std::move(found);
  }

  const ChainQuestion& question_;
  ChainAnswer answer_;
  std::vector<X509*> path_;
  int attempts_ = 0;
  int nodes_ = 0;
};

}  // namespace

ChainAnswer FindChain(const ChainQuestion& question) {
  const CertificateRow untrusted = row_of(question.untrusted);
  ChainAnswer first = verify(question, untrusted.get(), question.roots);
  if (first.chain.result == ChainResult::Trusted || first.chain.result == ChainResult::NoTime) return first;
  ChainAnswer found = PathSearch(question).Run(std::move(first));
  ThrowIfMemoryFailed();
  return found;
}

// A digest resists collisions by half of its length.
bool HasWeakDigest(const X509_ALGOR* signatureAlgorithm) {
  const Scheme scheme = SchemeOf(signatureAlgorithm, signatureAlgorithm);
  return scheme.digest != nullptr && scheme.digest->length * 8 / 2 < kStrongBits;
}

}  // namespace qex::tool::strict
