// The digest exports: data in one piece, in pieces that the input decides, through the descriptors and over a
// chain of buffers give one digest, and it equals OpenSSL's where that is installed.
#include "api/digest_by_oid.h"
#include "asn1/oids.h"
#include "crypto/digest/hashinfo.h"
#include "fuzz/support/harness.h"
#include "fuzz/support/values.h"

#ifdef QEX_FUZZ_OPENSSL
#include <openssl/evp.h>
#endif

namespace qex::fuzz {
namespace {

template <auto Init, auto Update, auto Final>
void digest_in_pieces(View in, uint64_t seed, uint8_t* digest) {
  auto* context = Init();
  size_t at = 0;
  while (at < in.size()) {
    seed = seed * 6364136223846793005u + 1442695040888963407u;
    // Around the sizes of blocks, and some of no octets.
    const size_t n = std::min(size_t(seed >> 40 & ((seed >> 60) < 8 ? 7 : 0xFF)), in.size() - at);
    const Input piece(in.subspan(at, n));
    Update(context, piece.data(), piece.size());
    at += n;
  }
  Final(context, digest);
}

struct Digest {
  const char* name;
  uint32_t size;
  const AsnOid& oid;
  const HashInfo& info;
  void (*inPieces)(View, uint64_t, uint8_t*);
};

const Digest kDigests[] = {
    {"MD5", 16, kIdMd5, kMD5Info, digest_in_pieces<QEX_MD5_Init, QEX_MD5_Update, QEX_MD5_Final>},
    {"SHA1", 20, kIdSha1, kSHA1Info, digest_in_pieces<QEX_SHA1_Init, QEX_SHA1_Update, QEX_SHA1_Final>},
    {"SHA256", 32, kIdSha256, kSHA256Info,
     digest_in_pieces<QEX_SHA256_Init, QEX_SHA256_Update, QEX_SHA256_Final>},
    {"SHA384", 48, kIdSha384, kSHA384Info,
     digest_in_pieces<QEX_SHA384_Init, QEX_SHA384_Update, QEX_SHA384_Final>},
    {"SHA512", 64, kIdSha512, kSHA512Info,
     digest_in_pieces<QEX_SHA512_Init, QEX_SHA512_Update, QEX_SHA512_Final>},
};

Octets at_once(const Digest& d, View in) {
  alignas(16) uint8_t context[512];
  FUZZ_CHECK(d.info.ctxsz <= sizeof context, d.info.ctxsz);
  const Block out(d.size);
  d.info.update(d.info.init(context), in.data(), uint32_t(in.size()));
  d.info.final(context, out.data());
  return {out.view().begin(), out.view().end()};
}

void check(const Digest& d, View in) {
  const Octets digest = at_once(d, in);
  const Block pieces(d.size);
  d.inPieces(in, Mix(in), pieces.data());
  FUZZ_CHECK(std::ranges::equal(pieces.view(), digest), d.size);

  const Chain chain(in, Mix(in, 1));
  DigestValue value;
  DigestByOid(chain.front(), d.oid, &value);
  FUZZ_CHECK(value.length == d.size, value.length);
  FUZZ_CHECK(std::ranges::equal(View(value.octets, value.length), digest), d.size);

#ifdef QEX_FUZZ_OPENSSL
  uint8_t theirs[EVP_MAX_MD_SIZE];
  unsigned n = 0;
  FUZZ_CHECK(EVP_Digest(in.data(), in.size(), theirs, &n, EVP_get_digestbyname(d.name), nullptr) == 1,
             d.size);
  FUZZ_CHECK(std::ranges::equal(View(theirs, n), digest), d.size);
#endif
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Input in({data, size});
  ResetProcess();
  for (const Digest& d : kDigests) check(d, in.view());
  return 0;
}

}  // namespace qex::fuzz
