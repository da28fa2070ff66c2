// Requests and replies by hand; tokens as parts, for either maker.
#include "tests/support/small_messages.h"

#include "tests/support/messages.h"

namespace qex::test {

Octets SmallRequest() {
  return RequestWith(der::oid("1.2.3"), der::integer(5), der::boolean(true),
                     der::context(0, der::sequence(der::oid("1.2.3"), der::octet_string({1, 2}))));
}

Octets SmallReply(const Octets& fail_info) {
  const Octets texts = der::sequence(der::utf8_string("no"), der::utf8_string("more"));
  return Response(StatusInfo(1, texts, fail_info),
                  der::sequence(der::oid(kData), der::context(0, der::octet_string({1}))));
}

TstInfoMaker SmallTstInfo() {
  TstInfoMaker info;
  info.accuracy = der::sequence(der::integer(1), der::context_primitive(0, Octets{2}));
  info.nonce = der::integer(77);
  info.tsa = der::context(0, der::context(4, CertificateMaker().subject));
  return info;
}

AttrCertParts SmallAttrCert() {
  AttrCertParts parts;
  parts.signature = Octets(8, 0x5A);
  return parts;
}

TokenParts SmallToken() {
  const AttrCertParts tac = SmallAttrCert();
  TokenParts parts;
  parts.tst_info = SmallTstInfo().encode();
  parts.certificates = {{PlainCertificate(), AttrCert(CertificateParts::kV1, tac), OtherFormat()}};
  parts.signer().signer_attributes = {{{{{PlainAttribute()}, {}}, {{}, tac}}}};
  return parts;
}

}  // namespace qex::test
