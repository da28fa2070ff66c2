// Rounds of asking.
#include "tool/exchange/in_turn.h"

#include <algorithm>
#include <optional>
#include <thread>
#include <utility>

namespace qex::tool {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr milliseconds kFirstPause{500};
constexpr milliseconds kLongestPause{8000};

struct Turn {
  std::string authority;
  Clock::time_point notBefore;
};

// A refusal, a wrong reply and the like come as plain failures: they are the authority's, and final.
[[nodiscard]] std::optional<ExchangeFailure> failure_of(const std::string& authority,
                                                        const std::function<void(const std::string&)>& ask) {
  try {
    ask(authority);
  } catch (const ExchangeFailure& failure) {
    return failure;
  } catch (const Failure& failure) {
    ExchangeFailure plain{failure};
    plain.own = failure.exit == ExitStatus::Usage || failure.exit == ExitStatus::File;
    return plain;
  }
  return std::nullopt;
}

}  // namespace

void AskInTurn(const std::vector<std::string>& authorities, const Patience& patience,
               const std::function<void(const std::string&)>& ask, std::vector<Attempt>& attempts) {
  std::vector<Turn> turns;
  turns.reserve(authorities.size());
  for (const std::string& authority : authorities) turns.push_back({authority, Clock::now()});
  milliseconds pause = kFirstPause;
  for (unsigned round = 0; !turns.empty(); ++round) {
    std::vector<Turn> next;
    for (const Turn& turn : turns) {
      std::this_thread::sleep_until(turn.notBefore);
      const auto failure = failure_of(turn.authority, ask);
      if (!failure) return;
      attempts.push_back({turn.authority, *failure});
      if (failure->own) throw ExchangeFailure(*failure);
      if (!failure->again || round >= patience.retries) continue;
      const milliseconds wanted = std::min<milliseconds>(failure->retryAfter, patience.longestWait);
      next.push_back({turn.authority, Clock::now() + std::max(pause, wanted)});
    }
    std::ranges::stable_sort(next, {}, &Turn::notBefore);
    turns = std::move(next);
    pause = std::min(pause * 2, kLongestPause);
  }
  throw ExchangeFailure(attempts.back().failure);
}

}  // namespace qex::tool
