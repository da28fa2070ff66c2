// qex stamp: digest, request, exchange, check, and only then write what came.
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <unistd.h>
#include <CLI/CLI.hpp>

#include "api/qex.h"
#include "tool/base/escape.h"
#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/hash.h"
#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/base/outputs.h"
#include "tool/commands/command.h"
#include "tool/commands/request_options.h"
#include "tool/commands/trust_options.h"
#include "tool/exchange/http.h"
#include "tool/exchange/socket_transport.h"
#include "tool/judge/fields.h"
#include "tool/judge/judge.h"
#include "tool/message/message.h"
#include "tool/worker/worker.h"

namespace qex::tool {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kFirstPause{500};
constexpr milliseconds kLongestPause{8000};

struct Arguments {
  RequestOptions request;
  std::string file;
  std::vector<std::string> urls;
  std::string output;
  HttpSettings http;
  std::string caFile;
  std::string clientCert;
  std::string clientKey;
  std::string timeout = "30s";
  unsigned retries = 3;
  std::string socket;
  TrustOptions trust;
};

// 30, 30s, 500ms, 2m
milliseconds duration(const std::string& text) {
  const size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
  const std::string unit = text.substr(digits);
  const int64_t scale = unit == "ms" ? 1 : unit == "s" || unit.empty() ? 1000 : unit == "m" ? 60000 : 0;
  if (digits == 0 || digits > 6 || scale == 0 || std::stol(text.substr(0, digits)) == 0) {
    throw UsageFailure("time-out " + Escaped(text) + ": not a duration",
                       "for example --timeout 30s, 500ms or 2m");
  }
  return milliseconds(std::stol(text.substr(0, digits)) * scale);
}

std::string read_password(const std::string& user) {
  if (::isatty(STDIN_FILENO) == 0) {
    throw UsageFailure("--user " + Escaped(user) + ": a password is missing", "write --user NAME:PASSWORD");
  }
  const char* password = ::getpass(("password of " + Escaped(user) + ": ").c_str());
  return password == nullptr ? "" : password;
}

Bytes read_pem(const std::string& path) {
  Bytes pem = ReadMessage(path);
  constexpr std::string_view kBegin = "-----BEGIN ";
  if (std::search(pem.begin(), pem.end(), kBegin.begin(), kBegin.end()) != pem.end()) return pem;
  throw Failure{ExitStatus::Input, ShownPath(path) + ": holds no PEM",
                "certificates and keys for TLS are PEM; openssl converts others"};
}

// Where the reply and the request go.
struct Places {
  std::string reply;
  std::string request;  // empty: nowhere
};

Places places_of(const Arguments& arguments) {
  const std::string& output = arguments.output;
  if (IsStandardStream(output)) return {"-", ""};
  std::string base = arguments.file;
  if (output.empty()) {
    if (IsStandardStream(arguments.file))
      throw UsageFailure("standard input has no name to store the reply under", "name a file with -o");
  } else if (IsDirectory(output)) {
    if (IsStandardStream(arguments.file))
      throw UsageFailure("standard input has no name to store the reply under",
                         "name a file with -o, not a folder");
    base = output + (output.ends_with('/') ? "" : "/") + BaseName(arguments.file);
  } else {
    const std::string stem = output.ends_with(".tsr") ? output.substr(0, output.size() - 4) : output;
    return {output, stem + ".tsq"};
  }
  return {base + ".tsr", base + ".tsq"};
}

std::vector<std::string> authorities(const Arguments& arguments) {
  if (!arguments.socket.empty()) {
    if (!arguments.urls.empty())
      throw UsageFailure("--tsa and --socket exclude each other", "leave one of them out");
    CheckSocketAddress(arguments.socket);
    return {arguments.socket};
  }
  std::vector<std::string> urls = arguments.urls;
  if (const char* url = std::getenv("QEX_TSA_URL"); urls.empty() && url != nullptr && *url != '\0')
    urls.emplace_back(url);
  if (urls.empty()) throw UsageFailure("no authority is named", "name one with --tsa URL or in QEX_TSA_URL");
  for (const std::string& url : urls) CheckUrl(url);
  return urls;
}

struct Exchange {
  Bytes reply;
  std::string authority;  // as shown
};

Exchange ask_once(const Arguments& arguments, const Request& request, const std::string& authority) {
  if (!arguments.socket.empty()) {
    const Bytes framed = FramedRequest(request, QEX_TRANSPORT_SOCKET);
    return {ExchangeOverSocket(authority, framed, arguments.http.timeout), Escaped(authority)};
  }
  HttpSettings settings = arguments.http;
  settings.url = authority;
  return {PostRequest(settings, request.der), ShownUrl(authority)};
}

// Asks the authorities in turn, and all of them again after a pause that doubles. The last
// failure is the one that is reported.
Exchange ask(const Arguments& arguments, const Request& request, const Options& options) {
  const std::vector<std::string> names = authorities(arguments);
  milliseconds pause = kFirstPause;
  for (unsigned round = 0;; ++round) {
    for (size_t i = 0; i < names.size(); ++i) {
      try {
        return ask_once(arguments, request, names[i]);
      } catch (const Failure& failure) {
        const bool last = i + 1 == names.size() && round >= arguments.retries;
        if (failure.exit != ExitStatus::Network || last) throw;
        if (options.verbose) WriteFailure(failure, options);
      }
    }
    std::this_thread::sleep_for(pause);
    pause = std::min(pause * 2, kLongestPause);
  }
}

Expected expectation(const Arguments& arguments, const HashAlgorithm& hash, const Request& request,
                     ByteView digest) {
  Expected expected;
  expected.imprint = Imprint{{hash.octets.begin(), hash.octets.end()}, {digest.begin(), digest.end()}};
  expected.imprintSource = ShownPath(arguments.file);
  expected.noNonceReason = "sent without one";
  if (request.record.nonceLength != 0) {
    expected.nonce = Bytes(request.record.nonce, request.record.nonce + request.record.nonceLength);
    expected.nonceSource = "the request";
  }
  if (!arguments.request.policy.empty()) {
    expected.policy = PolicyOctets(arguments.request.policy);
    expected.policySource = "the request";
  }
  return expected;
}

// The reply goes under the name that was given, or one beside the file; the request always beside the reply.
std::vector<Output> outputs_of(const Places& places, const Arguments& arguments, const Options& options) {
  const bool given = places.reply == arguments.output;
  if (IsStandardStream(places.reply)) {
    if (options.json) return {};
    return {{"-", false, "name a file with -o"}};
  }
  return {{places.reply, !given}, {places.request, true}};
}

std::vector<std::string> inputs_of(const Arguments& arguments) {
  return {arguments.file, arguments.caFile, arguments.clientCert, arguments.clientKey};
}

ExitStatus stamp(Arguments arguments, const Options& options) {
  const HashAlgorithm& hash = HashNamed(arguments.request.hash);
  RefuseWeakHash(hash, options);
  arguments.http.timeout = duration(arguments.timeout);
  if (!arguments.http.user.empty() && arguments.http.user.find(':') == std::string::npos) {
    arguments.http.user += ":" + read_password(arguments.http.user);
  }
  const Places places = places_of(arguments);
  authorities(arguments);
  if (!arguments.caFile.empty()) arguments.http.roots = read_pem(arguments.caFile);
  if (!arguments.clientCert.empty()) arguments.http.clientCert = read_pem(arguments.clientCert);
  if (!arguments.clientKey.empty()) arguments.http.clientKey = read_pem(arguments.clientKey);
  Outputs outputs(outputs_of(places, arguments, options), inputs_of(arguments), options.force);

  const Trust trust = ReadTrust(arguments.trust);
  Worker worker(trust);
  worker.CheckTrust();
  const Bytes digest = HashFile(arguments.file, hash, options);
  const Request request = MakeRequest(arguments.request, hash, digest);
  const Exchange exchange = ask(arguments, request, options);
  Job job{.name = exchange.authority, .message = exchange.reply};
  job.verify = !arguments.request.noCertificate || trust.Any();
  if (inspect::KindOf(job.message) != inspect::Kind::Reply) {
    throw Failure{ExitStatus::Input, exchange.authority + ": what came is no time-stamp reply",
                  "look at the address"};
  }
  job.allowWeak = options.allowWeak;
  const Answer answer = worker.Ask(job);

  std::optional<Failure> failure = RefusalOf(answer.facts, exchange.authority);
  Report report;
  if (!failure) {
    Manner manner;
    manner.signatureAsked = !arguments.request.noCertificate || trust.Any();
    report = JudgeToken(answer.facts, expectation(arguments, hash, request, digest), trust, manner, options);
    failure = report.FirstFailure(exchange.authority);
  }
  if (!failure) outputs.Commit({exchange.reply, request.der});

  WriteLibraryMessages(answer.libraryMessages, options);
  if (options.json) {
    Json document = NewDocument("stamp", arguments.file);
    if (failure) SetFailure(document, *failure);
    document["authority"] = exchange.authority;
    if (answer.facts.status) document["status"] = StatusFields(*answer.facts.status);
    document["checks"] = report.Checks();
    if (answer.facts.token) document["token"] = TokenFields(answer.facts);
    if (!failure && !IsStandardStream(places.reply)) {
      document["reply_file"] = Escaped(places.reply);
      document["request_file"] = Escaped(places.request);
    } else if (!failure) {
      document["reply"] = ToHex(exchange.reply);
    }
    if (!answer.libraryMessages.empty()) document["library_messages"] = EscapedLines(answer.libraryMessages);
    WriteJson(document);
  } else if (!options.quiet && answer.facts.token) {
    const std::string text = report.Text(options) + TimeLine(answer.facts);
    // Standard output may be the reply's.
    IsStandardStream(places.reply) ? static_cast<void>(std::fputs(text.c_str(), stderr)) : WriteData(text);
  }
  if (!failure) return ExitStatus::Ok;
  WriteFailure(*failure, options);
  return failure->exit;
}

}  // namespace

Run AddStamp(CLI::App& app) {
  auto arguments = std::make_shared<Arguments>();
  app.add_option("FILE", arguments->file, "the file to be stamped; - is standard input")->required();
  app.add_option("--tsa", arguments->urls, "an authority; several are asked in turn [QEX_TSA_URL]")
      ->type_name("URL")
      ->allow_extra_args(false);
  AddRequestOptions(app, arguments->request);
  AddTrustOptions(app, arguments->trust);
  app.add_option("-o", arguments->output, "file or folder for the reply; - is standard output")
      ->type_name("FILE|-|DIR");
  app.add_option("--cacert", arguments->caFile, "roots of the server's certificate")->type_name("F");
  app.add_option("--user", arguments->http.user, "user and password for HTTP")->type_name("NAME:PASSWORD");
  CLI::Option* cert =
      app.add_option("--client-cert", arguments->clientCert, "certificate for TLS")->type_name("F");
  app.add_option("--client-key", arguments->clientKey, "key for TLS")->type_name("F")->needs(cert);
  app.add_option("--timeout", arguments->timeout, "for one exchange: 30s, 500ms, 2m")->type_name("TIME");
  app.add_option("--retry", arguments->retries, "how often to try again after a fault of the network")
      ->type_name("N")
      ->check(CLI::Range(0, 100));
  app.add_option("--socket", arguments->socket, "use the socket framing")->type_name("HOST:PORT");
  return [arguments](const Options& options) { return stamp(*arguments, options); };
}

}  // namespace qex::tool
