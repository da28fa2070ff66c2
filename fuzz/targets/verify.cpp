// QEX_VerifyTST_Signature, with the certificate of the token and with a given one: the input is a token,
// optionally followed by a certificate.
//
// A changed token has a signature that does not verify. Every token is therefore checked once more, signed
// again under a certificate whose public exponent is 1 (fuzz/support/resigned.h).
//
// Inputs with a number of more than 4096 bits in a key are skipped, since an exponent of that size takes long
// for any input; their count is printed at the end.
#include <bit>
#include <cstdio>
#include <cstdlib>

#include "api/token.h"
#include "asn1/oids.h"
#include "asn1/x509.h"
#include "fuzz/support/expected.h"
#include "fuzz/support/harness.h"
#include "fuzz/support/resigned.h"

namespace qex::fuzz {
namespace {

constexpr size_t kMaxKeyBits = 4096;

size_t left_out = 0;

void print_left_out() {
  std::fprintf(stderr, "left out for keys above 4096 bits: %zu\n", left_out);
}

size_t bits_of(const AsnOcts& number) {
  const uint8_t* end = number.octs + number.count;
  const uint8_t* first =
      std::find_if(static_cast<const uint8_t*>(number.octs), end, [](uint8_t o) { return o != 0; });
  return first == end ? 0 : size_t(end - first) * 8 - size_t(std::countl_zero(*first));
}

size_t most_bits(std::initializer_list<AsnOcts> numbers) {
  size_t most = 0;
  for (const AsnOcts& number : numbers) most = std::max(most, bits_of(number));
  return most;
}

// The size of the largest number in the key of a certificate.
size_t key_bits(const Certificate& certificate) {
  const SubjectPublicKeyInfo* info =
      certificate.tbsCertificate == nullptr ? nullptr : certificate.tbsCertificate->subjectPublicKeyInfo;
  if (info == nullptr || info->algorithm == nullptr) return 0;
  const AsnBits& bits = info->subjectPublicKey;
  Decoded<RSAPublicKey> rsa;
  Decoded<AsnOcts> y;
  ResetProcess();
  // What does not decode is of no bits.
  static_cast<void>(rsa.decode(BDecRSAPublicKey, bits.octs, bits.count / 8));
  static_cast<void>(y.decode(BDecBigIntegerStr, bits.octs, bits.count / 8));
  const size_t most = most_bits({rsa.value.modulus, rsa.value.publicExponent, y.value});
  const auto* parms = ValueAs<Dss_Parms>(info->algorithm->parameters, kAnyDsa);
  return parms == nullptr ? most : std::max(most, most_bits({parms->p, parms->q, parms->g}));
}

[[nodiscard]] bool is_left_out(View token, View certificate) {
  FUZZ_CHECK(EnsureAsnInit(), 0);
  size_t most = 0;
  DecodedToken contentInfo;
  ResetProcess();
  if (DecodeToken(token.data(), uint32_t(token.size()), &contentInfo)) {
    if (const SignedData* signedData = SignedDataOf(contentInfo.value)) {
      for (const auto* element : ElementsOf<CertificateChoices>(signedData->certificates)) {
        if (element->choice != CertificateChoices::kX509Certificate) continue;
        most = std::max(most, key_bits(*element->certificate));
      }
    }
    if (const SignerInfo* signer = FirstSignerInfo(contentInfo.value)) {
      most = std::max(most, bits_of(signer->signature));
    }
  }
  Decoded<Certificate> given;
  ResetProcess();
  static_cast<void>(given.decode(BDecCertificate, certificate.data(), certificate.size()));
  most = std::max(most, key_bits(given.value));
  return most > kMaxKeyBits;
}

[[nodiscard]] int32_t verify(View token, View certificate, SigningCertificate which) {
  ResetProcess(which);
  return QEX_VerifyTST_Signature(token.data(), uint32_t(token.size()),
                                 certificate.empty() ? nullptr : certificate.data(),
                                 uint32_t(certificate.size()));
}

// The last ASN.1 error shows how far the check came.
void check_last_error(int32_t code) {
  const int32_t last = QEX_GetLastAsnError();
  switch (code) {
    case QEX_E_BADTOKEN: FUZZ_CHECK(last < 0 || last == 100, last); break;
    case QEX_E_ARG: FUZZ_CHECK(last < 0 || last == 100, last); break;
    case QEX_E_NOCERT: FUZZ_CHECK(last == 100, last); break;
    case QEX_E_MISSING: FUZZ_CHECK(last == 0 || last == 100, last); break;
    default: FUZZ_CHECK(last == 0, last); break;
  }
}

// A token that verifies with its own certificate also verifies with that certificate given, and does not
// verify with another content.
void check_verified(View token, SigningCertificate which) {
  Octets certificate(token.size() + 64);
  auto length = uint32_t(certificate.size());
  ResetProcess(which);
  const int32_t found = QEX_GetTST_TSACert(certificate.data(), &length, token.data(), uint32_t(token.size()));
  FUZZ_CHECK(found == QEX_OK, found);
  certificate.resize(length);
  const int32_t code = verify(token, certificate, which);
  FUZZ_CHECK(code == QEX_OK, code);

  const auto other = WithOtherContent(token);
  if (!other) return;
  const int32_t changed = verify(*other, {}, which);
  FUZZ_CHECK(changed == QEX_E_SIGNATURE, changed);
}

// is_own_encoding returns whether the library would write exactly these octets for the token.
[[nodiscard]] bool is_own_encoding(View token) {
  DecodedToken contentInfo;
  ResetProcess();
  if (!DecodeToken(token.data(), uint32_t(token.size()), &contentInfo)) return false;
  ExpBufHolder buf;
  if (!EncodeInto(buf, [&](ExpBuf** b) { BEncContentInfo(b, &contentInfo.value); })) return false;
  Octets out(EncodedLength(buf));
  ExpBufCopyOut(out.data(), buf.handle(), out.size());
  return std::ranges::equal(out, token);
}

// A signature over the encoding that the library itself would write verifies.
void check_resigned(View token, SigningCertificate which) {
  const auto resigned = Resign(token, which);
  if (!resigned) return;
  const Input in(*resigned);
  const Input certificate(ResigningCertificate());
  const int32_t code = verify(in.view(), certificate.view(), which);
  CheckCode(code, {QEX_OK, QEX_E_BADTOKEN, QEX_E_SIGNATURE, QEX_E_DECODE, QEX_E_MISMATCH},
            "a token signed anew");
  if (!is_own_encoding(in.view())) return;
  FUZZ_CHECK(code == QEX_OK, code);
  const auto other = WithOtherContent(in.view());
  if (!other) return;
  const int32_t changed = verify(*other, certificate.view(), which);
  FUZZ_CHECK(changed == QEX_E_SIGNATURE, changed);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  std::atexit(print_left_out);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Tlv first;
  const size_t tokenSize = ReadTlv({data, size}, &first).value_or(size);
  const Input token({data, tokenSize});
  const Input certificate({data + tokenSize, size - tokenSize});
  if (is_left_out(token.view(), certificate.view())) {
    ++left_out;
    return 0;
  }
  for (const SigningCertificate which : {SigningCertificate::V1, SigningCertificate::V2}) {
    const int32_t own = verify(token.view(), {}, which);
    CheckCode(own,
              {QEX_OK, QEX_E_NOMEM, QEX_E_MISSING, QEX_E_BADTOKEN, QEX_E_SIGNATURE, QEX_E_UNSUPPORTED,
               QEX_E_NOCERT},
              "QEX_VerifyTST_Signature");
    check_last_error(own);
    if (own == QEX_OK) check_verified(token.view(), which);
    check_resigned(token.view(), which);
    if (certificate.size() == 0) continue;
    const int32_t given = verify(token.view(), certificate.view(), which);
    CheckCode(given,
              {QEX_OK, QEX_E_ARG, QEX_E_NOMEM, QEX_E_MISSING, QEX_E_DECODE, QEX_E_BADTOKEN, QEX_E_SIGNATURE,
               QEX_E_UNSUPPORTED, QEX_E_MISMATCH},
              "QEX_VerifyTST_Signature, certificate given");
    check_last_error(given);
    FUZZ_CHECK((own == QEX_E_BADTOKEN) == (given == QEX_E_BADTOKEN), given);
  }
  return 0;
}

}  // namespace qex::fuzz
