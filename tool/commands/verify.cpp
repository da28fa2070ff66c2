// qex verify: tokens against files, requests and an authority; one, or many at once.
#include <memory>
#include <string>
#include <utility>

#include <CLI/CLI.hpp>

#include "tool/base/failure.h"
#include "tool/commands/command.h"
#include "tool/commands/jobs.h"
#include "tool/commands/manifest.h"
#include "tool/commands/many.h"
#include "tool/commands/trust_options.h"
#include "tool/commands/verify_one.h"

namespace qex::tool {
namespace {

struct VerifyCommandLine {
  VerifyArguments one;
  SubjectOptions subjects;
  TrustOptions trust;
  std::string jobs;
  std::string manifest;
};

// An option that is about one token; null when none was given.
const char* given_for_one(const VerifyArguments& one) {
  if (!one.token.path.empty()) return "--token";
  if (!one.request.path.empty()) return "--request";
  if (!one.digest.empty()) return "--digest";
  if (!one.nonce.empty()) return "--nonce";
  return nullptr;
}

// A lane has a worker of its own, which it begins with.
LaneWork lane_work(const VerifyArguments& common, const Trust& trust, const Options& options) {
  Options quiet = options;
  quiet.progress = false;
  return {[&common, &trust, quiet] {
            auto worker = std::make_shared<Worker>(trust);
            return [&common, &trust, quiet, worker](const std::string& name) {
              VerifyArguments arguments = common;
              arguments.lineOnly = true;
              arguments.file = name;
              return VerifyOne(arguments, *worker, trust, quiet);
            };
          },
          [quiet](const std::string& name) { return LostOutcome("verify", name, quiet); }};
}

[[nodiscard]] ExitStatus verify_many(const VerifyCommandLine& arguments, const Trust& trust,
                                     const Options& options) {
  if (const char* option = given_for_one(arguments.one)) {
    throw UsageFailure(std::string(option) + " is about one token, and there may be several",
                       "leave it out, or verify that one by itself");
  }
  std::vector<Subject> subjects = FindSubjects(arguments.subjects, FolderRule::Stamped);
  Worker(trust).CheckTrust();
  return RunMany("verify", std::move(subjects), arguments.subjects.jobs,
                 lane_work(arguments.one, trust, options), options);
}

// The members of a job, each as the option of its name.
void set_member(VerifyArguments& arguments, const std::string& name, const std::string& value) {
  if (name == "file") {
    arguments.file = value;
  } else if (name == "token") {
    arguments.token = JobSource(name, value);
  } else if (name == "request") {
    arguments.request = JobSource(name, value);
  } else if (name == "digest") {
    arguments.digest = value;
  } else if (name == "nonce") {
    arguments.nonce = value;
  } else if (name == "policy") {
    arguments.policy = value;
  }
}

[[nodiscard]] ExitStatus verify_jobs(const VerifyCommandLine& arguments, const Trust& trust,
                                     const Options& options) {
  if (given_for_one(arguments.one) != nullptr || !arguments.one.policy.empty() ||
      !arguments.subjects.files.empty() || !arguments.subjects.Single()) {
    throw UsageFailure("--jobs says of each job what it is about", "leave the other subjects out");
  }
  Worker(trust).CheckTrust();
  const VerifyArguments& common = arguments.one;
  return RunJobs("verify", {"file", "token", "request", "digest", "nonce", "policy"}, arguments.jobs,
                 arguments.subjects.jobs, options, [&common, &trust](const Options& quiet) {
                   auto worker = std::make_shared<Worker>(trust);
                   return [&common, &trust, quiet, worker](const JobMembers& members) {
                     VerifyArguments job = common;
                     for (const auto& [name, value] : members) set_member(job, name, value);
                     if (job.file.empty() && job.token.path.empty()) {
                       throw UsageFailure("a job without file and token", "add one of these members");
                     }
                     return VerifyOne(job, *worker, trust, quiet);
                   };
                 });
}

[[nodiscard]] ExitStatus verify_manifest(const VerifyCommandLine& arguments, const Trust& trust,
                                         const Options& options) {
  if (!arguments.jobs.empty() || !arguments.subjects.files.empty() || !arguments.subjects.lists.empty() ||
      !arguments.one.digest.empty()) {
    throw UsageFailure("--manifest says which files there are",
                       "leave FILE, --list, --digest and --jobs out");
  }
  Worker(trust).CheckTrust();
  return VerifyManifest(arguments.manifest, arguments.subjects.folders, arguments.subjects.jobs,
                        arguments.one, trust, options);
}

[[nodiscard]] ExitStatus verify(const VerifyCommandLine& arguments, const Options& options) {
  const Trust trust = ReadTrust(arguments.trust);
  if (!arguments.manifest.empty()) return verify_manifest(arguments, trust, options);
  if (!arguments.jobs.empty()) return verify_jobs(arguments, trust, options);
  if (!arguments.subjects.Single()) return verify_many(arguments, trust, options);
  VerifyArguments one = arguments.one;
  one.last = true;
  if (!arguments.subjects.files.empty()) one.file = arguments.subjects.files.front();
  Worker worker(trust);
  return Emit(VerifyOne(one, worker, trust, options));
}

}  // namespace

Run AddVerify(CLI::App& app) {
  auto arguments = std::make_shared<VerifyCommandLine>();
  VerifyArguments& one = arguments->one;
  AddSubjectOptions(app, arguments->subjects, "stamped files; FILE.tsr and FILE.tsq are found beside each",
                    "every file below DIR that has a .tsr beside it");
  AddJobsOption(app, arguments->jobs);
  app.add_option("--manifest", arguments->manifest,
                 "a stamped list of digests: its token, then every file that it names; with --dir also those "
                 "that it does not name")
      ->type_name("LIST");
  app.add_option("--token", one.token.path, "the reply or token")->type_name("TSR|TOKEN");
  app.add_option("--request", one.request.path, "the request that it answers")->type_name("TSQ");
  app.add_option("--digest", one.digest, "the file's digest, in place of reading it")->type_name("[ALG:]HEX");
  app.add_option("--nonce", one.nonce, "the nonce that was sent")->type_name("HEX");
  app.add_option("--policy", one.policy, "the policy that is wanted")->type_name("OID");
  AddTrustOptions(app, arguments->trust);
  app.add_option("--ess", one.manner.ess, "signing-certificate attribute: auto, v1 or v2")
      ->check(CLI::IsMember({"auto", "v1", "v2"}))
      ->type_name("VERSION");
  app.add_flag("--library-only", one.manner.libraryOnly, "leave the strict reader out");
  return [arguments](const Options& options) { return verify(*arguments, options); };
}

}  // namespace qex::tool
