// The one table of result codes with their texts.
#include "api/result_texts.h"

#include <algorithm>
#include <iterator>

#include "api/qex.h"

namespace qex {
namespace {

// clang-format off
constexpr ResultText kResults[] = {
    {QEX_OK,            "QEX_OK",            "success"},
    {QEX_E_ARG,         "QEX_E_ARG",         "bad argument"},
    {QEX_E_NOMEM,       "QEX_E_NOMEM",       "out of memory, or a number too large"},
    {QEX_E_SIZE,        "QEX_E_SIZE",        "does not fit the output buffer or a field of the record"},
    {QEX_E_MISSING,     "QEX_E_MISSING",     "a needed element is absent"},
    {QEX_E_DECODE,      "QEX_E_DECODE",      "the input does not decode or lacks the expected structure"},
    {QEX_E_BADTOKEN,    "QEX_E_BADTOKEN",    "not a usable time-stamp token"},
    {QEX_E_SIGNATURE,   "QEX_E_SIGNATURE",   "the signature does not verify"},
    {QEX_E_REJECTED,    "QEX_E_REJECTED",    "the authority did not grant the request"},
    {QEX_E_NOTOKEN,     "QEX_E_NOTOKEN",     "the response carries no token"},
    {QEX_E_LENGTH,      "QEX_E_LENGTH",      "the framing announces another length"},
    {QEX_E_FRAMING,     "QEX_E_FRAMING",     "the transport framing is not acceptable"},
    {QEX_E_UNSUPPORTED, "QEX_E_UNSUPPORTED", "algorithm or transport mode not supported"},
    {QEX_E_NOCERT,      "QEX_E_NOCERT",      "no certificate of the token matches its signing-certificate attribute"},
    {QEX_E_NOTAC,       "QEX_E_NOTAC",       "the token carries no time attribute certificate"},
    {QEX_E_MISMATCH,    "QEX_E_MISMATCH",    "the certificate is not the one that the token names"},
    {QEX_E_NOPOLICY,    "QEX_E_NOPOLICY",    "the time attribute certificate has no timing policy"},
};
// clang-format on

static_assert(std::is_sorted(std::begin(kResults), std::end(kResults),
                             [](const ResultText& a, const ResultText& b) { return a.code > b.code; }),
              "the rows of kResults fall by code");

}  // namespace

std::span<const ResultText> ResultTexts() {
  return kResults;
}

const ResultText* FindResultText(int32_t code) {
  const auto* row = std::find_if(std::begin(kResults), std::end(kResults),
                                 [&](const ResultText& r) { return r.code == code; });
  return row == std::end(kResults) ? nullptr : row;
}

}  // namespace qex
