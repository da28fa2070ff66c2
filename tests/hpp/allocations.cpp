// The forms with a buffer of the caller call operator new never, and those that return a vector once. What
// the library itself allocates comes from malloc and is not counted.
#include <cstdio>
#include <cstdlib>
#include <new>

#include "support.h"

namespace {

int allocations;
int failures;

}  // namespace

void* operator new(std::size_t size) {
  ++allocations;
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) std::abort();
  return block;
}
void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}

namespace {

// expect runs a call that shall succeed and compares its allocations.
template <class Call>
void expect(const char* name, int number, Call call) {
  const int before = allocations;
  const bool done = static_cast<bool>(call());
  const int made = allocations - before;
  if (done && made == number) return;
  std::fprintf(stderr, "%s: %s, %d allocations, %d expected\n", name, done ? "done" : "failed", made, number);
  ++failures;
}

template <class Digest>
void expect_no_allocation_by_a_digest(qex::bytes_in data) {
  expect(Digest::name.data(), 0, [&] {
    Digest hash;
    typename Digest::value_type out;
    hash.update(data).finish(out);
    Digest moved(std::move(hash.update(data)));
    return Digest::of(data) == out;
  });
}

}  // namespace

int main() {
  setenv("QEX_VERIFY_ESSCERTIDV2", "1", 1);
  using hpp_test::sample;
  const qex::bytes reply = sample("samples/reply_sha256_v2_cert.der");
  const qex::bytes token = sample("bouncycastle/token_rsa2048_sha256_v2_tac.der");
  const qex::bytes certificate = sample("bouncycastle/certificate_rsa2048.der");
  const qex::bytes tac = sample("bouncycastle/tac_full_dsa.der");
  const qex::bytes named = sample("bouncycastle/tac_full.der");
  qex::bytes copy = reply;
  static std::array<std::byte, 1 << 14> out;

  expect_no_allocation_by_a_digest<qex::md5>(reply);
  expect_no_allocation_by_a_digest<qex::sha1>(reply);
  expect_no_allocation_by_a_digest<qex::sha256>(reply);
  expect_no_allocation_by_a_digest<qex::sha384>(reply);
  expect_no_allocation_by_a_digest<qex::sha512>(reply);

  const auto asked = qex::request::of<qex::sha256>(qex::sha256::of(reply));
  const auto briefly = qex::short_request::of<qex::sha256>(qex::sha256::of(reply));
  expect("encode_request", 0, [&] { return qex::encode_request(asked, out, qex::transport::http); });
  expect("encode_request, short", 0, [&] { return qex::encode_request(briefly, out); });
  expect("encode_request, vector", 1, [&] { return qex::encode_request(asked, qex::transport::http); });
  const qex::bytes request = *qex::encode_request(asked);
  expect("decode_request", 0, [&] { return qex::decode_request(request); });
  expect("decode_request, short", 0, [&] { return qex::decode_request<qex::short_request>(request); });

  expect("unpack_reply", 0, [&] { return qex::unpack_reply(qex::bytes_out(copy), qex::transport::raw); });
  expect("unpack_reply, vector", 0, [&] { return qex::unpack_reply(copy, qex::transport::raw); });
  expect("read_status", 0, [&] { return qex::read_status(reply); });
  expect("extract_token", 0, [&] { return qex::extract_token(reply, out); });
  expect("extract_token, vector", 1, [&] { return qex::extract_token(reply); });

  expect("read_token", 0, [&] { return qex::read_token(token); });
  qex::short_tst_info info;
  expect("read_token, short", 0,
         [&] { return qex::read_token(token, info).error() == qex::result_code::size; });
  expect("verify_signature", 0, [&] { return qex::verify_signature(token, certificate); });
  expect("verify_consistency", 0, [&] { return qex::verify_consistency(token); });
  expect("signer_certificate", 0, [&] { return qex::signer_certificate(token, out); });
  expect("signer_certificate, vector", 1, [&] { return qex::signer_certificate(token); });
  expect("to_plain_data", 0, [&] { return qex::to_plain_data(token, out); });
  expect("to_plain_data, vector", 1, [&] { return qex::to_plain_data(token); });
  expect("remove_attribute_certificates", 0, [&] { return qex::remove_attribute_certificates(token, out); });
  expect("remove_attribute_certificates, vector", 1,
         [&] { return qex::remove_attribute_certificates(token); });

  expect("extract_tac", 0, [&] { return qex::extract_tac(token, out); });
  expect("extract_tac, vector", 1, [&] { return qex::extract_tac(token); });
  expect("check_tac", 0, [&] { return qex::check_tac(named, token); });
  expect("read_tac", 0, [&] { return qex::read_tac(tac); });
  expect("read_tac, short", 0, [&] { return qex::read_tac<qex::short_tac_info>(tac); });
  expect("read_timing_metrics", 0, [&] { return qex::read_timing_metrics(tac); });
  expect("read_timing_metrics, short", 0,
         [&] { return qex::read_timing_metrics<qex::short_timing_metrics>(tac); });
  expect("read_timing_policy", 0, [&] { return qex::read_timing_policy(tac); });
  expect("last_asn_error", 0, [] { return qex::last_asn_error() == 0; });
  return failures == 0 ? 0 : 1;
}
