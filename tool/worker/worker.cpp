// Starting a worker and talking with it over three pipes.
#include "tool/worker/worker.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>
#include <utility>

#include "tool/base/failure.h"
#include "tool/worker/examine.h"

#if defined(__SANITIZE_ADDRESS__)
#define QEX_TOOL_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QEX_TOOL_SANITIZED 1
#endif
#endif

namespace qex::tool {
namespace {

constexpr rlim_t kMaxMemory = rlim_t{1} << 30;
constexpr rlim_t kMaxSeconds = 20;
constexpr size_t kMaxAnswer = size_t{256} << 20;
constexpr size_t kMaxMessages = size_t{64} << 10;  // what is written beyond is dropped

struct Pipe {
  int read = -1;
  int write = -1;

  Pipe() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) throw std::bad_alloc();
    read = ends[0];
    write = ends[1];
  }
  ~Pipe() {
    close_read();
    close_write();
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  void close_read() { close(read); }
  void close_write() { close(write); }

 private:
  static void close(int& fd) {
    if (fd >= 0) ::close(fd);
    fd = -1;
  }
};

// Lower limits that the caller has set stay.
void limit(int resource, rlim_t soft, rlim_t hard) {
  struct rlimit now {};
  if (::getrlimit(static_cast<decltype(RLIMIT_CPU)>(resource), &now) != 0) return;
  const struct rlimit wanted { std::min(now.rlim_cur, soft), std::min(now.rlim_max, hard) };
  ::setrlimit(static_cast<decltype(RLIMIT_CPU)>(resource), &wanted);
}

void set_limits() {
  limit(RLIMIT_CORE, 0, 0);
  // SIGXCPU comes at the soft limit; a worker whose caller ignores that signal is killed at the hard one.
  limit(RLIMIT_CPU, kMaxSeconds, kMaxSeconds + 2);
#ifndef QEX_TOOL_SANITIZED  // whose shadow memory alone is beyond any limit
  limit(RLIMIT_AS, kMaxMemory, kMaxMemory);
#endif
}

// In the child, between fork and exec: calls that are safe there alone.
[[noreturn]] void become_worker(const Pipe& in, const Pipe& out, const Pipe& err) {
  const bool ready = ::dup2(in.read, STDIN_FILENO) >= 0 && ::dup2(out.write, STDOUT_FILENO) >= 0 &&
                     ::dup2(err.write, STDERR_FILENO) >= 0;
  char name[] = "qex";
  char word[32];
  std::strncpy(word, kWorkerArgument, sizeof word - 1);
  word[sizeof word - 1] = '\0';
  char* const words[] = {name, word, nullptr};
  if (ready) ::execv("/proc/self/exe", words);
  ::_exit(127);
}

void append_limited(std::string& text, const char* data, size_t length, size_t most) {
  text.append(data, std::min(length, most - std::min(most, text.size())));
}

// Feeds the worker and gathers what it writes, all at once, so that no pipe fills up unread.
void converse(Pipe& in, Pipe& out, Pipe& err, const std::string& question, std::string& answer,
              std::string& messages) {
  ::fcntl(in.write, F_SETFL, O_NONBLOCK);
  size_t sent = 0;
  std::array<char, 65536> buffer{};
  const auto gather = [&](Pipe& from, std::string& text, size_t most) {
    const ssize_t n = ::read(from.read, buffer.data(), buffer.size());
    if (n > 0) append_limited(text, buffer.data(), static_cast<size_t>(n), most);
    if (n == 0 || (n < 0 && errno != EINTR && errno != EAGAIN)) from.close_read();
  };
  while (out.read >= 0 || err.read >= 0) {
    if (sent == question.size()) in.close_write();
    struct pollfd ends[] = {{in.write, POLLOUT, 0}, {out.read, POLLIN, 0}, {err.read, POLLIN, 0}};
    if (::poll(ends, std::size(ends), -1) < 0) {
      if (errno == EINTR) continue;
      throw std::bad_alloc();
    }
    if (ends[0].revents != 0) {
      const ssize_t n = ::write(in.write, question.data() + sent, question.size() - sent);
      if (n > 0) sent += static_cast<size_t>(n);
      if (n < 0 && errno != EINTR && errno != EAGAIN) sent = question.size();  // it has gone
    }
    if (ends[1].revents != 0) gather(out, answer, kMaxAnswer);
    if (ends[2].revents != 0) gather(err, messages, kMaxMessages);
  }
}

int wait_for(pid_t worker) {
  int status = 0;
  while (::waitpid(worker, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

Failure ended(int status, const std::string& name, const std::string& messages) {
  std::string how;
  if (WIFSIGNALED(status)) {
    const int number = WTERMSIG(status);
    if (number == SIGXCPU) {
      how = "it was stopped for taking too much time";
    } else if (number == SIGKILL) {  // by the system, which does not say why
      how = "it was killed, for taking too much time or memory or by somebody";
    } else {
      how = "it was ended by signal " + std::to_string(number) + " (" + ::strsignal(number) + ")";
    }
  } else {
    how = "it ended with status " + std::to_string(WEXITSTATUS(status));
  }
  return {
      ExitStatus::Internal,
      name + ": the worker process that reads it gave no answer: " + how,
      "nothing is known about the message, so do not rely on it; run again with -v, and report what it shows",
      0,
      0,
      messages};
}

// A job crosses the pipe as JSON.
Json to_json(const Job& job) {
  return {{"message", ToHex(job.message)},
          {"verify", job.verify},
          {"certificate", ToHex(job.certificate)},
          {"ess", job.ess},
          {"asn1", job.asn1},
          {"tac", ToHex(job.tac)},
          {"rewriting", static_cast<int>(job.rewriting)}};
}

Job job_from(const Json& json) {
  return {"",
          FromHex(json.at("message").get<std::string>()).value(),
          json.at("verify").get<bool>(),
          FromHex(json.at("certificate").get<std::string>()).value(),
          json.at("ess").get<std::string>(),
          json.at("asn1").get<bool>(),
          FromHex(json.at("tac").get<std::string>()).value(),
          static_cast<Rewriting>(json.at("rewriting").get<int>())};
}

std::string read_standard_input() {
  std::string text;
  std::array<char, 65536> buffer{};
  for (ssize_t n; (n = ::read(STDIN_FILENO, buffer.data(), buffer.size())) != 0;) {
    if (n > 0) text.append(buffer.data(), static_cast<size_t>(n));
    if (n < 0 && errno != EINTR) break;
  }
  return text;
}

std::string text_of(const Json& answer) {
  return answer.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// The answer to a job, whole before any of it crosses the pipe.
std::string answer_to(const std::string& question) {
  try {
    return text_of({{"facts", Examine(job_from(Json::parse(question)))}});
  } catch (const Failure& failure) {
    return text_of({{"failure", ToJson(failure)}});
  }
}

const std::string& out_of_memory_answer() {
  static const std::string text =
      text_of({{"failure", ToJson({ExitStatus::Internal, "reading it takes more memory than is allowed",
                                   "no time-stamp message needs that much; do not rely on it"})}});
  return text;
}

// Answers that memory ran out, which takes none, and ends the worker. Nothing is unwound: JSON values end the
// process when memory runs out while they are built or released.
[[noreturn]] void end_without_memory() {
  const std::string& text = out_of_memory_answer();
  const bool written = ::write(STDOUT_FILENO, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  ::_exit(written ? 0 : 1);
}

}  // namespace

Json ToJson(const Failure& failure) {
  return {{"exit", static_cast<int>(failure.exit)},
          {"message", failure.message},
          {"hint", failure.hint},
          {"code", failure.code},
          {"asn1_error", failure.asn1Error}};
}

Failure FailureFrom(const Json& json, const std::string& name, const std::string& messages) {
  return {static_cast<ExitStatus>(json.at("exit").get<int>()),
          name + ": " + json.at("message").get<std::string>(),
          json.at("hint").get<std::string>(),
          json.at("code").get<int32_t>(),
          json.at("asn1_error").get<int32_t>(),
          messages};
}

Answer Ask(const Job& job) {
  Pipe in;
  Pipe out;
  Pipe err;
  const std::string question = to_json(job).dump();
  std::fflush(nullptr);
  const pid_t worker = ::fork();
  if (worker < 0) {
    throw Failure{ExitStatus::Internal,
                  std::string("no worker process can be started: ") + std::strerror(errno),
                  "the system is out of processes or memory; try again"};
  }
  if (worker == 0) become_worker(in, out, err);
  in.close_read();
  out.close_write();
  err.close_write();
  std::string answer;
  std::string messages;
  converse(in, out, err, question, answer, messages);
  const int status = wait_for(worker);
  const Json json = Json::parse(answer, nullptr, false);
  const bool finished = WIFEXITED(status) && WEXITSTATUS(status) == 0 && json.is_object();
  if (!finished) throw ended(status, job.name, messages);
  if (json.contains("failure")) throw FailureFrom(json["failure"], job.name, messages);
  return {json.at("facts"), messages};
}

int RunWorker() {
  set_limits();
  out_of_memory_answer();
  std::set_new_handler(end_without_memory);
  std::string text;
  try {
    text = answer_to(read_standard_input());
  } catch (const std::bad_alloc&) {  // thrown for what is not allocated by operator new
    end_without_memory();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "worker: %s\n", error.what());
    return 1;
  }
  return std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0 ? 0 : 1;
}

}  // namespace qex::tool
