// The table of exit statuses, and which result code leads to which.
#include "tool/base/exit_status.h"

#include "api/qex.h"

namespace qex::tool {
namespace {

// clang-format off
constexpr ExitText kExits[] = {
    {ExitStatus::Ok, "all asked checks pass", "nothing is left to do"},
    {ExitStatus::CheckFailed,
     "a check says no: signature, imprint, nonce, policy, structure, time, signer, usage, dates, chain, revocation, weak hash or key",
     "the line that starts with 'fail' names the check; do not rely on the time-stamp"},
    {ExitStatus::Usage, "wrong usage, or 'verify' without anybody to trust", "'qex help COMMAND' lists what a command takes"},
    {ExitStatus::File, "a file cannot be read or written, or exists already",
     "look at its path and permissions, and at the room on the disk; --force replaces a file"},
    {ExitStatus::Input, "the input is not what it should be", "'qex show FILE' says what it is"},
    {ExitStatus::Refused, "the authority refused; its status and failure are named",
     "change what it objects to (hash, policy), or ask another authority"},
    {ExitStatus::Network, "network, TLS, HTTP status, time-out or short reply",
     "look at the address and the connection, wait with --timeout, try again with --retry"},
    {ExitStatus::Unsupported, "an algorithm is not supported by either reader; it is named",
     "ask for a token with another algorithm"},
    {ExitStatus::Absent, "a needed certificate, attribute certificate or timing policy is absent",
     "name the authority's certificate with --tsa-cert, or stamp without --no-cert"},
    {ExitStatus::Internal, "internal: a worker process ended, an assertion failed, or memory ran out",
     "run again with -v, and report what it shows"},
};

struct CodeRow {
  int32_t code;
  ExitStatus exit;
};

// Here QEX_E_SIZE is that of an output buffer; a record that was cut is not a failure.
constexpr CodeRow kCodes[] = {
    {QEX_OK, ExitStatus::Ok},
    {QEX_E_ARG, ExitStatus::Usage},
    {QEX_E_NOMEM, ExitStatus::Internal},
    {QEX_E_SIZE, ExitStatus::Internal},
    {QEX_E_MISSING, ExitStatus::Input},
    {QEX_E_DECODE, ExitStatus::Input},
    {QEX_E_BADTOKEN, ExitStatus::Input},
    {QEX_E_SIGNATURE, ExitStatus::CheckFailed},
    {QEX_E_REJECTED, ExitStatus::Refused},
    {QEX_E_NOTOKEN, ExitStatus::Input},
    {QEX_E_LENGTH, ExitStatus::Network},
    {QEX_E_FRAMING, ExitStatus::Input},
    {QEX_E_UNSUPPORTED, ExitStatus::Unsupported},
    {QEX_E_NOCERT, ExitStatus::Absent},
    {QEX_E_NOTAC, ExitStatus::Absent},
    {QEX_E_MISMATCH, ExitStatus::CheckFailed},
    {QEX_E_NOPOLICY, ExitStatus::Absent},
};
// clang-format on

}  // namespace

std::span<const ExitText> ExitTexts() {
  return kExits;
}

ExitStatus Graver(ExitStatus a, ExitStatus b) {
  constexpr ExitStatus kOrder[] = {ExitStatus::Internal,    ExitStatus::CheckFailed, ExitStatus::Input,
                                   ExitStatus::Unsupported, ExitStatus::Absent,      ExitStatus::Refused,
                                   ExitStatus::Network,     ExitStatus::File,        ExitStatus::Usage};
  for (const ExitStatus status : kOrder) {
    if (a == status || b == status) return status;
  }
  return ExitStatus::Ok;
}

ExitStatus ExitOfCode(int32_t code) {
  for (const CodeRow& row : kCodes) {
    if (row.code == code) return row.exit;
  }
  return ExitStatus::Internal;
}

}  // namespace qex::tool
