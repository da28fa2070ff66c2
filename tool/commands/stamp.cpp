// qex stamp: turns the command line into a plan for each file.
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

#include "tool/base/escape.h"
#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/hash.h"
#include "tool/commands/command.h"
#include "tool/commands/manifest.h"
#include "tool/commands/many.h"
#include "tool/commands/request_options.h"
#include "tool/commands/stamp_one.h"
#include "tool/commands/trust_options.h"
#include "tool/exchange/login.h"
#include "tool/exchange/socket_transport.h"

namespace qex::tool {
namespace {

using std::chrono::milliseconds;

// The longest pause that an authority can ask for.
constexpr milliseconds kLongestWait{60000};

struct StampArguments {
  RequestOptions request;
  SubjectOptions subjects;
  std::string manifest;
  std::string digest;
  std::vector<std::string> urls;
  std::string output;
  LoginOptions login;
  std::string caFile;
  std::string clientCert;
  std::string clientKey;
  std::string timeout = "30s";
  std::string maxSkew = "5m";
  unsigned retries = 3;
  std::string socket;
  TrustOptions trust;
};

// 30, 30s, 500ms, 2m
milliseconds duration(const char* option, const std::string& text) {
  const size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
  const std::string unit = text.substr(digits);
  const int64_t scale = unit == "ms" ? 1 : unit == "s" || unit.empty() ? 1000 : unit == "m" ? 60000 : 0;
  if (digits == 0 || digits > 6 || scale == 0 || std::stol(text.substr(0, digits)) == 0) {
    throw UsageFailure(std::string(option) + " " + Quoted(text) + ": not a duration",
                       std::string("for example ") + option + " 30s, 500ms or 2m");
  }
  return milliseconds(std::stol(text.substr(0, digits)) * scale);
}

Bytes read_pem(const std::string& path) {
  if (path.empty()) return {};
  Bytes pem = ReadMessage(path);
  constexpr std::string_view kBegin = "-----BEGIN ";
  if (std::search(pem.begin(), pem.end(), kBegin.begin(), kBegin.end()) != pem.end()) return pem;
  throw Failure{ExitStatus::Input, ShownPath(path) + ": holds no PEM",
                "certificates and keys for TLS are PEM; openssl converts others"};
}

std::vector<std::string> authorities(const StampArguments& arguments) {
  if (!arguments.socket.empty()) {
    if (!arguments.urls.empty()) {
      throw UsageFailure("--tsa and --socket exclude each other", "leave one of them out");
    }
    CheckSocketAddress(arguments.socket);
    return {arguments.socket};
  }
  std::vector<std::string> urls = arguments.urls;
  if (const char* url = std::getenv("QEX_TSA_URL"); urls.empty() && url != nullptr && *url != '\0') {
    urls.emplace_back(url);
  }
  if (urls.empty()) throw UsageFailure("no authority is named", "name one with --tsa URL or in QEX_TSA_URL");
  for (const std::string& url : urls) CheckUrl(url);
  return urls;
}

StampSubject stamp_subject(StampArguments& arguments) {
  if (arguments.digest.empty()) return {arguments.subjects.files.front()};
  return {"", ReadDigest(arguments.digest, arguments.request)};
}

std::vector<std::string> inputs_of(const StampArguments& arguments) {
  std::vector<std::string> inputs{arguments.caFile, arguments.clientCert, arguments.clientKey,
                                  arguments.login.userFile};
  for (const auto* more : {&arguments.trust.tsaCerts, &arguments.trust.caFiles, &arguments.trust.untrusted,
                           &arguments.trust.crls}) {
    inputs.insert(inputs.end(), more->begin(), more->end());
  }
  return inputs;
}

StampPlan plan_of(const StampArguments& arguments, const Options& options) {
  RefuseWeakHash(HashNamed(arguments.request.hash), options);
  StampPlan plan;
  plan.request = arguments.request;
  plan.http.timeout = duration("--timeout", arguments.timeout);
  plan.maxSkew = duration("--max-skew", arguments.maxSkew);
  plan.authorities = authorities(arguments);
  plan.socket = !arguments.socket.empty();
  plan.patience = {arguments.retries, std::min(plan.http.timeout, kLongestWait)};
  plan.output = arguments.output;
  plan.inputs = inputs_of(arguments);
  plan.http.roots = read_pem(arguments.caFile);
  plan.http.clientCert = read_pem(arguments.clientCert);
  plan.http.clientKey = read_pem(arguments.clientKey);
  plan.http.user = ReadLogin(arguments.login);
  return plan;
}

// One of a file, a digest and several files.
void check_subjects(const StampArguments& arguments) {
  const SubjectOptions& subjects = arguments.subjects;
  const bool files = !subjects.files.empty() || !subjects.folders.empty() || !subjects.lists.empty();
  if (files == arguments.digest.empty()) return;
  throw UsageFailure("stamp takes one of FILE and --digest", "for example 'qex stamp report.pdf --tsa URL'");
}

[[nodiscard]] ExitStatus stamp_one(const StampPlan& plan, const StampSubject& subject, const Trust& trust,
                                   const Options& options) {
  Worker worker(trust);
  worker.CheckTrust();
  return Emit(StampOne(plan, subject, worker, trust, options));
}

[[nodiscard]] ExitStatus stamp_many(const StampArguments& arguments, const StampPlan& plan,
                                    const Trust& trust, const Options& options) {
  if (!plan.output.empty() && !IsDirectory(plan.output)) {
    throw UsageFailure("-o " + Quoted(plan.output) + " is no folder, and there may be several replies",
                       "name a folder that is there, or leave -o out");
  }
  const FolderRule rule = options.force ? FolderRule::Stampable : FolderRule::Unstamped;
  std::vector<Subject> subjects = FindSubjects(arguments.subjects, rule);
  Worker(trust).CheckTrust();
  Options quiet = options;
  quiet.progress = false;
  const LaneWork work{[&plan, &trust, quiet] {
                        auto worker = std::make_shared<Worker>(trust);
                        return [&plan, &trust, quiet, worker](const std::string& name) {
                          return StampOne(plan, {name}, *worker, trust, quiet);
                        };
                      },
                      [quiet](const std::string& name) { return LostOutcome("stamp", name, quiet); }};
  return RunMany("stamp", std::move(subjects), arguments.subjects.jobs, work, options);
}

// The list and its stamp appear together.
[[nodiscard]] ExitStatus stamp_manifest(const StampArguments& arguments, const StampPlan& plan,
                                        const Trust& trust, const Options& options) {
  if (IsStandardStream(arguments.manifest) || IsStandardStream(plan.output)) {
    throw UsageFailure("the list of --manifest and its reply are files", "name them");
  }
  const HashAlgorithm& hash = ManifestHash(arguments.request.hash);
  StampSubject subject{arguments.manifest};
  subject.content = MakeManifest(arguments.manifest, FindSubjects(arguments.subjects, FolderRule::Every),
                                 hash, arguments.subjects.jobs, options);
  return stamp_one(plan, subject, trust, options);
}

[[nodiscard]] ExitStatus stamp(StampArguments arguments, const Options& options) {
  check_subjects(arguments);
  const bool one = arguments.manifest.empty() && arguments.subjects.Single();
  const StampSubject subject = one || !arguments.digest.empty() ? stamp_subject(arguments) : StampSubject{};
  const StampPlan plan = plan_of(arguments, options);
  const Trust trust = ReadTrust(arguments.trust);
  if (!arguments.manifest.empty()) return stamp_manifest(arguments, plan, trust, options);
  return one ? stamp_one(plan, subject, trust, options) : stamp_many(arguments, plan, trust, options);
}

}  // namespace

Run AddStamp(CLI::App& app) {
  auto arguments = std::make_shared<StampArguments>();
  AddSubjectOptions(app, arguments->subjects, "files to be stamped; - is standard input",
                    "every file below DIR that has no .tsr beside it; with --force every file");
  app.add_option("--manifest", arguments->manifest,
                 "write a list of the files' digests, and have that stamped in their place")
      ->type_name("LIST");
  app.add_option("--digest", arguments->digest, "its digest, in place of the file")->type_name("[ALG:]HEX");
  app.add_option("--tsa", arguments->urls, "an authority; several are asked in turn [QEX_TSA_URL]")
      ->type_name("URL")
      ->allow_extra_args(false);
  AddRequestOptions(app, arguments->request);
  AddTrustOptions(app, arguments->trust);
  app.add_option("-o", arguments->output, "file or folder for the reply; - is standard output")
      ->type_name("FILE|-|DIR");
  app.add_option("--cacert", arguments->caFile, "roots of the server's certificate")->type_name("F");
  app.add_option("--user", arguments->login.user,
                 "user for HTTP; the password is asked for when it is left out [QEX_TSA_USER, ~/.netrc]")
      ->type_name("NAME[:PASSWORD]");
  app.add_option("--user-file", arguments->login.userFile, "a file whose first line is NAME:PASSWORD")
      ->type_name("F");
  CLI::Option* cert =
      app.add_option("--client-cert", arguments->clientCert, "certificate for TLS")->type_name("F");
  app.add_option("--client-key", arguments->clientKey, "key for TLS")->type_name("F")->needs(cert);
  app.add_option("--timeout", arguments->timeout, "for one exchange: 30s, 500ms, 2m")->type_name("TIME");
  app.add_option("--max-skew", arguments->maxSkew,
                 "how far the token's time may be from this clock without a note")
      ->type_name("TIME");
  app.add_option("--retry", arguments->retries, "how often to try again after a fault of the network")
      ->type_name("N")
      ->check(CLI::Range(0, 100));
  app.add_option("--socket", arguments->socket, "use the socket framing")->type_name("HOST:PORT");
  return [arguments](const Options& options) { return stamp(*arguments, options); };
}

}  // namespace qex::tool
