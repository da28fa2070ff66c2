// The calls are put together family by family; see ExportCalls at the end.
#include "tests/support/export_calls.h"

#include <algorithm>
#include <fstream>
#include <utility>

#include "api/qex.h"
#include "tests/support/ber_forms.h"
#include "tests/support/dsa_signer.h"
#include "tests/support/exports.h"
#include "tests/support/files.h"
#include "tests/support/guarded.h"
#include "tests/support/messages.h"
#include "tests/support/small_messages.h"
#include "tests/support/token_samples.h"

namespace qex::test {
namespace {

using Calls = std::vector<ExportCall>;
using Samples = std::vector<std::pair<std::string, Octets>>;

uint32_t size_of(const Octets& octets) {
  return uint32_t(octets.size());
}

// read_with adds a call of each reader with a copy of `input`.
void read_with(Calls& calls, const Readers& readers, const std::string& sample, const Octets& input) {
  for (const Reader& reader : readers) {
    calls.push_back({{reader.name},
                     reader.detail.empty() ? sample : sample + ", " + reader.detail,
                     reader.memory,
                     [read = reader.read, input](uint8_t* memory) {
                       return read(input.data(), size_of(input), memory);
                     }});
  }
}

// write_out adds a call `writes(out, &length)` with room for any output; the length comes before it.
template <class F>
void write_out(Calls& calls, const char* name, const std::string& sample, F writes) {
  calls.push_back({{name}, sample, OutputMemory(), [writes](uint8_t* at) {
                     return writes(at + sizeof(uint32_t), reinterpret_cast<uint32_t*>(at));
                   }});
}

// --- Digests and errors ------------------------------------------------------------------------

template <class Context>
void digest(Calls& calls, const std::string& prefix, size_t size, Context* (*init)(),
            void (*update)(Context*, const uint8_t*, uint32_t), void (*final)(Context*, uint8_t*)) {
  Octets data(1000);
  for (size_t i = 0; i < data.size(); ++i) data[i] = uint8_t(i * 7 + size);
  calls.push_back({{prefix + "Init", prefix + "Update", prefix + "Final"},
                   "1000 octets",
                   Octets(size, Guarded::kFill),
                   [=](uint8_t* memory) {
                     Context* const context = init();
                     for (uint32_t at = 0, n = 1; at < data.size(); at += n, n = 2 * n + 1) {
                       n = std::min(n, size_of(data) - at);
                       update(context, data.data() + at, n);
                     }
                     final(context, memory);
                     return int32_t{0};
                   }});
}

void add_digests(Calls& calls) {
  digest(calls, "QEX_MD5_", 16, QEX_MD5_Init, QEX_MD5_Update, QEX_MD5_Final);
  digest(calls, "QEX_SHA1_", 20, QEX_SHA1_Init, QEX_SHA1_Update, QEX_SHA1_Final);
  digest(calls, "QEX_SHA256_", 32, QEX_SHA256_Init, QEX_SHA256_Update, QEX_SHA256_Final);
  digest(calls, "QEX_SHA384_", 48, QEX_SHA384_Init, QEX_SHA384_Update, QEX_SHA384_Final);
  digest(calls, "QEX_SHA512_", 64, QEX_SHA512_Init, QEX_SHA512_Update, QEX_SHA512_Final);
}

// Its result belongs to the process and not to the call.
void add_last_error(Calls& calls) {
  calls.push_back({{"QEX_GetLastAsnError"}, "", {}, [](uint8_t*) {
                     (void)QEX_GetLastAsnError();
                     return int32_t{0};
                   }});
}

// --- Requests ----------------------------------------------------------------------------------

void add_encoded_requests(Calls& calls) {
  QEX_TSQ_DATA_EX full{};
  full.size = sizeof full;
  PutText(full.hashAlgorithm, kMd5);
  PutOctets(full.hashedMessage, Octets(16, 0x17));
  full.hashedMessageLength = 16;
  PutText(full.reqPolicy, "1.2.3.4");
  PutOctets(full.nonce, {0x01, 0x02, 0x03});
  full.nonceLength = 3;
  full.certReq = 1;
  QEX_TSQ_DATA brief{};
  PutText(brief.hashAlgorithm, kSha256);
  PutOctets(brief.hashedMessage, Octets(32, 0x18));
  brief.hashedMessageLength = 32;
  brief.nonce = {0x80000000, 7};
  for (const int32_t transport : {0, 1, 2}) {
    const std::string sample = "transport " + std::to_string(transport);
    write_out(calls, "QEX_EncodeTSQ_Ex", sample, [=](uint8_t* out, uint32_t* length) {
      return QEX_EncodeTSQ_Ex(&full, out, length, uint32_t(transport));
    });
    write_out(calls, "QEX_EncodeTSQ", sample,
              [=](uint8_t* out, uint32_t* length) { return QEX_EncodeTSQ(&brief, out, length, transport); });
  }
}

Samples requests() {
  const Octets request =
      RequestWith(der::oid("1.2.3"), der::integer(5), der::boolean(true),
                  der::context(0, der::sequence(der::oid("1.2.3"), der::octet_string({1})),
                               der::sequence(der::oid("1.2.4"), der::boolean(true), der::octet_string({2}))));
  const std::string head =
      "POST /tsa HTTP/1.0\r\nContent-Length: " + std::to_string(request.size()) + "\r\n\r\n";
  return {
      {"request without options", RequestWith()},
      {"request with extensions", request},
      {"request of open lengths", InForm(Form::kIndefinite, request)},
      {"request of constructed strings", InForm(Form::kConstructedStrings, request)},
      {"request after a socket head", der::concat(Octets{0, 0, 0, uint8_t(request.size() + 1), 0}, request)},
      {"request after an HTTP head", der::concat(der::octets(head), request)},
      {"request that is cut off", Octets(request.begin(), request.end() - 1)}};
}

void add_decoded_requests(Calls& calls) {
  for (const auto& [sample, octets] : requests()) read_with(calls, RequestReaders(), sample, octets);
}

// --- Replies -----------------------------------------------------------------------------------

void add_replies(Calls& calls, const Samples& tokens) {
  Samples replies = {{"rejected reply", Response(StatusInfo(2, der::sequence(der::utf8_string("no")),
                                                            der::bit_string({0x20}, 5)))}};
  for (const auto& [sample, token] : tokens) {
    replies.emplace_back(
        "reply with " + sample,
        Response(StatusInfo(1, der::sequence(der::utf8_string("granted with mods"))), token));
  }
  for (const auto& [sample, reply] : replies) read_with(calls, ReplyReaders(), sample, reply);

  const Octets& body = replies[0].second;
  const std::string head =
      "HTTP/1.1 200 OK\r\nContent-Type: application/timestamp-reply\r\nContent-Length: " +
      std::to_string(body.size()) + "\r\n\r\n";
  const Octets framed[] = {body, der::concat(Octets{0, 0, 0, uint8_t(body.size() + 1), 5}, body),
                           der::concat(der::octets(head), body)};
  for (const int32_t transport : {0, 1, 2}) {
    // The length, the status, the buffer.
    const Octets memory =
        der::concat(OctetsOfValue(size_of(framed[transport])), Octets(4, Guarded::kFill), framed[transport]);
    calls.push_back({{"QEX_UnpackTSR"}, "transport " + std::to_string(transport), memory, [=](uint8_t* at) {
                       auto* const words = reinterpret_cast<uint32_t*>(at);
                       return QEX_UnpackTSR(at + 2 * sizeof(uint32_t), words, words + 1, transport);
                     }});
  }
}

// --- Tokens ------------------------------------------------------------------------------------

struct TokenSample {
  std::string name;
  Octets token;
  Octets certificate = AuthorityCertificate();
};

TstInfoMaker full_tst_info() {
  TstInfoMaker info = SmallTstInfo();
  info.ordering = der::boolean(true);
  info.extensions = der::context(1, der::sequence(der::oid("1.2.3"), der::octet_string({1})));
  return info;
}

TokenSample dsa_token() {
  TokenMaker maker = DsaTokenMaker(TestDsaKey("1024/160 sha1"));
  return {"token under a DSA key", maker.encode(), maker.certificates[0]};
}

// A token with both versions of the attribute, each naming the authority and an attribute certificate that
// follows other certificates in the set.
Octets token_with_attribute_certificate() {
  TokenParts parts;
  parts.tst_info = full_tst_info().encode();
  parts.certificates = {{PlainCertificate(OtherCertificate()), AttrCert(CertificateParts::kV1),
                         PlainCertificate(), AttrCert(CertificateParts::kV2)}};
  const Octets tac = ByHand(AttrCertParts());
  parts.signer().certificate_ids->push_back(Digest(kSha1, tac));
  parts.signer().certificate_ids_v2 = {
      {{"", Digest(kSha256, AuthorityCertificate())}, {kSha512, Digest(kSha512, tac)}}};
  return ByHand(parts);
}

std::vector<TokenSample> token_samples() {
  std::vector<TokenSample> all;
  const Octets rich = token_with_attribute_certificate();
  all.push_back({"token with an attribute certificate", rich});
  all.push_back({"token of open lengths", InForm(Form::kIndefinite, rich)});
  all.push_back({"token of long lengths", InForm(Form::kLongLengths, rich)});
  all.push_back({"token of constructed strings", InForm(Form::kConstructedStrings, rich)});
  all.push_back({"token that is cut off", Octets(rich.begin(), rich.end() - 1)});
  all.push_back(dsa_token());
  all.push_back({"token of openssl", ReadFile(QEX_TEST_DATA "/samples/token_sha256_v2_cert.der"),
                 ReadFile(QEX_TEST_DATA "/samples/certificate_tsa.der")});
  TokenParts certified;  // the attribute certificate is in the signer attributes, and no identifier names it
  certified.signer().signer_attributes = {{{{}, AttrCertParts()}}};
  all.push_back({"token with a certified attribute", ByHand(certified)});
  for (const auto& [name, parts] : SampleTokens()) all.push_back({"token: " + name, ByHand(parts)});
  return all;
}

void add_tokens(Calls& calls, const std::vector<TokenSample>& samples) {
  const Octets tac = ByHand(AttrCertParts());
  for (const TokenSample& sample : samples) {
    read_with(calls, TokenReaders(sample.certificate, tac), sample.name, sample.token);
  }
}

// --- Attribute certificates --------------------------------------------------------------------

Samples attribute_certificates() {
  Samples all;
  for (const auto& [name, parts] : SampleAttributeCertificates()) {
    all.emplace_back("certificate: " + name, ByHand(parts));
  }
  const Octets plain = all[0].second;
  all.emplace_back("certificate of open lengths", InForm(Form::kIndefinite, plain));
  all.emplace_back("certificate of constructed strings", InForm(Form::kConstructedStrings, plain));
  return all;
}

void add_attribute_certificates(Calls& calls) {
  for (const auto& [sample, octets] : attribute_certificates()) {
    read_with(calls, AttributeCertificateReaders(), sample, octets);
  }
}

}  // namespace

Ran RunCall(const ExportCall& call) {
  Ran ran{0, call.memory};
  ran.code = call.call(ran.memory.data());
  return ran;
}

std::vector<ExportCall> ExportCalls() {
  Calls calls;
  const std::vector<TokenSample> tokens = token_samples();
  Samples first_tokens;
  for (size_t i = 0; i < 6; ++i) first_tokens.emplace_back(tokens[i].name, tokens[i].token);
  add_digests(calls);
  add_last_error(calls);
  add_encoded_requests(calls);
  add_decoded_requests(calls);
  add_replies(calls, first_tokens);
  add_tokens(calls, tokens);
  add_attribute_certificates(calls);
  return calls;
}

std::set<std::string> PublishedExports() {
  std::ifstream map(QEX_SOURCE_DIR "/cmake/qex.map");
  std::set<std::string> names;
  for (std::string word; map >> word;) {
    if (word.starts_with("QEX_") && word.ends_with(';')) names.insert(word.substr(0, word.size() - 1));
  }
  return names;
}

}  // namespace qex::test
