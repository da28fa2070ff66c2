// Causes and next steps.
#include "tool/exchange/cause.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>

#include "tool/base/escape.h"
#include "tool/message/structure.h"

namespace qex::tool {
namespace {

constexpr size_t kMaxShown = 120;  // characters of a content type in an error line

constexpr const char* kProxyHint =
    "look at the proxy that the environment names (http_proxy, https_proxy, all_proxy; no_proxy leaves it "
    "out)";
constexpr const char* kProxyLoginHint =
    "the proxy asks who you are: write NAME:PASSWORD@ in front of its host in http_proxy or https_proxy";
constexpr const char* kClientCertHint =
    "the server asks for a certificate of yours: --client-cert with --client-key";

enum class Again { IsInVain, MayHelp };  // asking once more

struct CodeRow {
  CURLcode code;
  Again again;
  const char* hint;
};

// clang-format off
constexpr CodeRow kCodes[] = {
    {CURLE_COULDNT_RESOLVE_HOST,  Again::MayHelp,  "look at the host's name, and at the connection to the network"},
    {CURLE_COULDNT_RESOLVE_PROXY, Again::MayHelp,  kProxyHint},
    {CURLE_COULDNT_CONNECT,       Again::MayHelp,  "look at the host and port; is the authority running?"},
    {CURLE_OPERATION_TIMEDOUT,    Again::MayHelp,  "wait longer with --timeout, or try again with --retry"},
    {CURLE_PARTIAL_FILE,          Again::MayHelp,  "the connection ended early; try again"},
    {CURLE_GOT_NOTHING,           Again::MayHelp,  "the connection ended early; try again"},
    {CURLE_RECV_ERROR,            Again::MayHelp,  "the exchange broke off; try again with --retry"},
    {CURLE_SEND_ERROR,            Again::MayHelp,  "the exchange broke off; try again with --retry"},
    {CURLE_SSL_CONNECT_ERROR,     Again::MayHelp,  "does the authority speak https at this port?"},
    {CURLE_PEER_FAILED_VERIFICATION, Again::IsInVain, "it may be another server than it says; a root of your own is named with --cacert"},
    {CURLE_SSL_CACERT_BADFILE,    Again::IsInVain, "name a file of PEM certificates with --cacert"},
    {CURLE_SSL_CERTPROBLEM,       Again::IsInVain, "look at the files of --client-cert and --client-key"},
    {CURLE_TOO_MANY_REDIRECTS,    Again::IsInVain, "the authority sends its clients in circles; look at the address"},
    {CURLE_UNSUPPORTED_PROTOCOL,  Again::IsInVain, "is it a service of http? no redirect to another protocol, or from https to http, is followed"},
};

// Results of checking the server's certificate, as OpenSSL numbers them (x509_vfy.h).
struct CertificateRow {
  long result;
  const char* word;  // in libcurl's text, whatever library it was built with; null: none
  const char* hint;
};
constexpr CertificateRow kCertificates[] = {
    {10, "expired", "the server's certificate, or one above it, has expired: its operator has to renew it; is your clock right?"},
    {9, "not yet valid", "the server's certificate is not valid yet; is your clock right?"},
    {62, "subject name", "the server shows the certificate of another host; look at the host's name in the address"},
    {18, "self-signed", "nobody vouches for the server; if that is right, name its certificate with --cacert"},
    {19, "self signed", "the server's root is not one that this system trusts; if that is right, name it with --cacert"},
    {20, "issuer certificate", "the server's root is not one that this system trusts; if that is right, name it with --cacert"},
    {23, "revoked", "the server's certificate is revoked; ask another authority"},
};

struct StatusRow {
  long from;
  long to;
  const char* hint;
};
constexpr StatusRow kStatuses[] = {
    {300, 399, "the authority has moved and does not say where; look at the address"},
    {400, 400, "the authority cannot read the request: another --hash, or no --policy, may help"},
    {401, 401, "the authority asks who you are: --user-file or --user, or --client-cert with --client-key"},
    {403, 403, "the authority lets you not in: --user-file or --user, or --client-cert with --client-key"},
    {404, 405, "look at the path of the address: it is not that of a time-stamp service"},
    {407, 407, kProxyLoginHint},
    {410, 410, "the service is gone; ask its operator, or another authority"},
    {413, 413, "a request of a hundred octets is too large for this server: is it a time-stamp service?"},
    {415, 415, "the server does not take time-stamp requests; look at the path of the address"},
    {429, 429, "the authority takes no more requests from you for now; try again later or ask another one"},
    {495, 496, kClientCertHint},
    {502, 504, "the authority is overloaded or out of service; try again later or ask another one"},
    {500, 599, "the authority has a fault of its own; try again later or ask another one"},
};
// clang-format on

[[nodiscard]] bool contains(std::string_view text, std::string_view word) {
  return text.find(word) != std::string_view::npos;
}

[[nodiscard]] bool proxy_is_named() {
  constexpr const char* kNames[] = {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"};
  return std::ranges::any_of(kNames, [](const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0';
  });
}

// libcurl names whom it tried to connect to; with a proxy that is not the host of the address.
[[nodiscard]] bool failed_at_proxy(const std::string& url, std::string_view detail) {
  if (!proxy_is_named()) return false;
  std::string host = UrlPart(url, CURLUPART_HOST);
  if (host.starts_with('[')) host = host.substr(1, host.size() - 2);
  return !contains(detail, "to " + host + " port " + UrlPart(url, CURLUPART_PORT));
}

std::string certificate_hint(long result, std::string_view detail, const char* otherwise) {
  const auto* row = std::ranges::find_if(kCertificates, [&](const CertificateRow& one) {
    return one.result == result || contains(detail, one.word);
  });
  return row == std::end(kCertificates) ? otherwise : row->hint;
}

// Alerts by which a server ends the connection because the client's certificate is bad or missing.
struct AlertRow {
  const char* word;
  const char* hint;
};
constexpr AlertRow kAlerts[] = {
    {"certificate required", kClientCertHint},
    {"alert bad certificate", "the server does not take the certificate of --client-cert, or asks for one"},
    {"alert unknown ca", "the server does not know who made the certificate of --client-cert"},
    {"alert handshake failure",
     "does the authority speak https at this port, or want a certificate of yours (--client-cert)?"},
};

// The first line of a body with something to read in it, quoted; empty for one that is binary.
std::string first_line(const Bytes& body) {
  std::string line;
  for (const uint8_t octet : body) {
    if (octet == '\n' || octet == '\r') {
      if (line.find_first_not_of(" \t") != std::string::npos) break;
      line.clear();
      continue;
    }
    if (octet < 0x20 && octet != '\t') return "";
    line += char(octet);
    if (line.size() > 4 * kMaxShown) break;
  }
  return line.empty() ? "" : Quoted(line);
}

// Shown unchanged if it has the form of one, else quoted like any foreign text.
std::string shown_type(const char* contentType) {
  if (contentType == nullptr) return "none";
  const std::string_view type = std::string_view(contentType).substr(0, kMaxShown);
  const bool plain = std::ranges::all_of(type, [](char c) {
    return (c >= '0' && c <= '9') || ((c | 0x20) >= 'a' && (c | 0x20) <= 'z') ||
           (c != '\0' && std::strchr("/+-._=;", c) != nullptr);
  });
  return plain ? std::string(type) : Quoted(contentType);
}

std::string what_came(long status, const char* contentType, const Bytes& body) {
  std::string text = "HTTP status " + std::to_string(status) + ", content type " + shown_type(contentType);
  const std::string line = first_line(body);
  return line.empty() ? text : text + ", " + line;
}

}  // namespace

ExchangeFailure TransferFailure(const CurlHandle& handle, const std::string& url, const std::string& name,
                                CURLcode code, const char* detail) {
  if (code == CURLE_OUT_OF_MEMORY) {
    // libcurl has no code of its own for a line that it does not take.
    return LastingFault(ExitStatus::Input,
                        name + ": a line of the reply's head is longer than libcurl takes, or memory ran out",
                        "this is no time-stamp service; look at the address");
  }
  // A text that repeats the address of a proxy may hold a password.
  const bool shown = *detail != '\0' && std::strchr(detail, '@') == nullptr;
  const std::string text = shown ? detail : Curl().easy_strerror(code);
  const auto* row = std::ranges::find(kCodes, code, &CodeRow::code);
  const bool known = row != std::end(kCodes);
  ExchangeFailure failure = LastingFault(ExitStatus::Network, name + ": " + text,
                                         known ? row->hint : "look at the address and the connection");
  failure.again = known && row->again == Again::MayHelp;
  // The contents of the caller's files are not a fault of the network.
  if (code == CURLE_SSL_CACERT_BADFILE || code == CURLE_SSL_CERTPROBLEM) {
    failure.exit = ExitStatus::Input;
    failure.own = true;
  }
  if (code == CURLE_PEER_FAILED_VERIFICATION) {
    failure.hint = certificate_hint(CurlInfo(handle, CURLINFO_SSL_VERIFYRESULT, 0L), text, row->hint);
  } else if (CurlInfo(handle, CURLINFO_HTTP_CONNECTCODE, 0L) == 407) {
    failure.hint = kProxyLoginHint;
    failure.again = false;
  } else if (code == CURLE_COULDNT_CONNECT && failed_at_proxy(url, text)) {
    failure.hint = std::string("no proxy answers there; ") + kProxyHint;
  } else {
    const auto* alert =
        std::ranges::find_if(kAlerts, [&](const AlertRow& one) { return contains(text, one.word); });
    if (alert != std::end(kAlerts)) failure.hint = alert->hint;
  }
  return failure;
}

ExchangeFailure StatusFailure(const CurlHandle& handle, const std::string& name, const char* contentType,
                              const Bytes& body) {
  const long status = CurlInfo(handle, CURLINFO_RESPONSE_CODE, 0L);
  const auto* row = std::ranges::find_if(
      kStatuses, [status](const StatusRow& one) { return one.from <= status && status <= one.to; });
  const std::string_view page(reinterpret_cast<const char*>(body.data()), body.size());
  const bool wantsCertificate = status == 400 && contains(page, "SSL certificate");
  const bool known = row != std::end(kStatuses);
  ExchangeFailure failure =
      LastingFault(ExitStatus::Network, name + ": " + what_came(status, contentType, body),
                   wantsCertificate ? kClientCertHint
                   : known          ? row->hint
                                    : "look at the address, and at what the authority says",
                   status);
  failure.again = status == 408 || status == 429 || status >= 500;
  failure.retryAfter = std::chrono::seconds(CurlInfo(handle, CURLINFO_RETRY_AFTER, curl_off_t{0}));
  if (failure.retryAfter.count() > 0) {
    failure.message += ", asks to be left alone for " + std::to_string(failure.retryAfter.count()) + " s";
    failure.hint = "try again after that time, or ask another authority";
  }
  return failure;
}

ExchangeFailure NoReplyFailure(const std::string& name, const char* contentType, const Bytes& body) {
  const auto failure = [&](const std::string& what, const char* hint) {
    return LastingFault(ExitStatus::Input,
                        name + ": no time-stamp reply: " + what + what_came(200, contentType, body), hint,
                        200);
  };
  if (body.empty()) {
    return failure("an empty body, ",
                   "the authority says nothing at all; ask its operator, or another authority");
  }
  switch (inspect::KindOf(body)) {
    case inspect::Kind::Token:
      return failure("a bare token, ",
                     "the status that belongs around the token is missing; ask the authority's operator, or "
                     "another authority");
    case inspect::Kind::Request:
      return failure("a request, ", "the server sends back what it gets; look at the address");
    default:
      return failure("",
                     "a time-stamp service answers with application/timestamp-reply; look at the address");
  }
}

}  // namespace qex::tool
