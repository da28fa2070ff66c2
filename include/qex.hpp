/// @file
/// qex.hpp: libqex for C++20, header only, over the C interface of qex.h.
///
/// - Input is a view (bytes_in: any std::span, std::vector, std::array or std::string_view of octets); the
///   layer keeps no pointer after a call. An empty view is empty input, whatever its pointer.
/// - Results are values in a result<T>, which is a subset of std::expected<T, failure>.
/// - Output goes to a buffer of the caller (bytes_out), with no allocation besides those of the C call, or
///   into a new vector (bytes).
/// - Records are types around the C records, with texts, octets and numbers as views and values.
///
/// Each comment names the C function that documents behaviour and codes.
/// Differences from the C interface: a record is cleared before every call and its size member is set; a null
/// buffer is a buffer of no octets, so every function with output answers a question for the length in the
/// same way; verify_signature needs a certificate, and verify_consistency goes without.
///
/// No function here throws, except that the forms that return a vector may throw std::bad_alloc, and
/// result<T>::value() throws bad_result_access. The header compiles with -fno-exceptions, without value().
///
/// Everything is in the inline namespace qex::v1. The library's own names are in qex itself, so the two
/// never clash at link time, not even with the static library. The header is for programs that use no other
/// header of the library but qex.h.
#ifndef QEX_HPP
#define QEX_HPP

#if defined(_MSVC_LANG) ? _MSVC_LANG < 202002L : __cplusplus < 202002L
#error "qex.hpp needs C++20: compile with -std=c++20, or use qex.h"
#endif

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <functional>
#include <limits>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "qex.h"

/// libqex for C++. All names are in the inline namespace v1.
namespace qex {

/// The version of this layer, part of every name that a linker sees.
inline namespace v1 {

// --- Codes -----------------------------------------------------------------------

/// The result codes of qex.h.
enum class result_code : std::int32_t {
  ok = QEX_OK,                        ///< QEX_OK
  argument = QEX_E_ARG,               ///< QEX_E_ARG
  no_memory = QEX_E_NOMEM,            ///< QEX_E_NOMEM
  size = QEX_E_SIZE,                  ///< QEX_E_SIZE
  missing = QEX_E_MISSING,            ///< QEX_E_MISSING
  decode = QEX_E_DECODE,              ///< QEX_E_DECODE
  bad_token = QEX_E_BADTOKEN,         ///< QEX_E_BADTOKEN
  signature = QEX_E_SIGNATURE,        ///< QEX_E_SIGNATURE
  rejected = QEX_E_REJECTED,          ///< QEX_E_REJECTED
  no_token = QEX_E_NOTOKEN,           ///< QEX_E_NOTOKEN
  length = QEX_E_LENGTH,              ///< QEX_E_LENGTH
  framing = QEX_E_FRAMING,            ///< QEX_E_FRAMING
  unsupported = QEX_E_UNSUPPORTED,    ///< QEX_E_UNSUPPORTED
  no_certificate = QEX_E_NOCERT,      ///< QEX_E_NOCERT
  no_tac = QEX_E_NOTAC,               ///< QEX_E_NOTAC
  mismatch = QEX_E_MISMATCH,          ///< QEX_E_MISMATCH
  no_timing_policy = QEX_E_NOPOLICY,  ///< QEX_E_NOPOLICY
};

/// How a message is framed for transport.
enum class transport : std::int32_t {
  raw = QEX_TRANSPORT_RAW,            ///< the DER encoding alone
  socket = QEX_TRANSPORT_SOCKET,      ///< length, flag byte, DER
  http = QEX_TRANSPORT_HTTP,          ///< HTTP/1.0
  reserved = QEX_TRANSPORT_RESERVED,  ///< not supported
};

/// PKIStatus (RFC 3161, 2.4.2).
enum class pki_status : std::int32_t {
  granted = 0,                  ///< the reply has the token as asked for
  granted_with_mods = 1,        ///< the reply has a token, with modifications
  rejection = 2,                ///< no token
  waiting = 3,                  ///< not yet processed
  revocation_warning = 4,       ///< a revocation is imminent
  revocation_notification = 5,  ///< a revocation has occurred
};

/// PKIFailureInfo (RFC 3161, 2.4.2): the numbers of its bits.
enum class pki_failure : std::uint32_t {
  bad_algorithm = 0,          ///< badAlg
  bad_request = 2,            ///< badRequest
  bad_data_format = 5,        ///< badDataFormat
  time_not_available = 14,    ///< timeNotAvailable
  unaccepted_policy = 15,     ///< unacceptedPolicy
  unaccepted_extension = 16,  ///< unacceptedExtension
  info_not_available = 17,    ///< addInfoNotAvailable
  system_failure = 25,        ///< systemFailure
};

/// name_of returns the code's name in qex.h.
[[nodiscard]] constexpr std::string_view name_of(result_code code) noexcept {
  switch (code) {
    case result_code::ok: return "QEX_OK";
    case result_code::argument: return "QEX_E_ARG";
    case result_code::no_memory: return "QEX_E_NOMEM";
    case result_code::size: return "QEX_E_SIZE";
    case result_code::missing: return "QEX_E_MISSING";
    case result_code::decode: return "QEX_E_DECODE";
    case result_code::bad_token: return "QEX_E_BADTOKEN";
    case result_code::signature: return "QEX_E_SIGNATURE";
    case result_code::rejected: return "QEX_E_REJECTED";
    case result_code::no_token: return "QEX_E_NOTOKEN";
    case result_code::length: return "QEX_E_LENGTH";
    case result_code::framing: return "QEX_E_FRAMING";
    case result_code::unsupported: return "QEX_E_UNSUPPORTED";
    case result_code::no_certificate: return "QEX_E_NOCERT";
    case result_code::no_tac: return "QEX_E_NOTAC";
    case result_code::mismatch: return "QEX_E_MISMATCH";
    case result_code::no_timing_policy: return "QEX_E_NOPOLICY";
  }
  return "unknown";
}

/// text_of returns the meaning of a code, zero-terminated.
[[nodiscard]] constexpr std::string_view text_of(result_code code) noexcept {
  switch (code) {
    case result_code::ok: return "success";
    case result_code::argument: return "bad argument";
    case result_code::no_memory: return "out of memory, or a number too large";
    case result_code::size: return "does not fit the output buffer or a field of the record";
    case result_code::missing: return "a needed element is absent";
    case result_code::decode: return "the input does not decode or lacks the expected structure";
    case result_code::bad_token: return "not a usable time-stamp token";
    case result_code::signature: return "the signature does not verify";
    case result_code::rejected: return "the authority did not grant the request";
    case result_code::no_token: return "the response carries no token";
    case result_code::length: return "the framing announces another length";
    case result_code::framing: return "the transport framing is not acceptable";
    case result_code::unsupported: return "algorithm or transport mode not supported";
    case result_code::no_certificate:
      return "no certificate of the token matches its signing-certificate attribute";
    case result_code::no_tac: return "the token carries no time attribute certificate";
    case result_code::mismatch: return "the certificate is not the one that the token names";
    case result_code::no_timing_policy: return "the time attribute certificate has no timing policy";
  }
  return "unknown result code";
}

/// text_of returns the name of a status in RFC 3161.
[[nodiscard]] constexpr std::string_view text_of(pki_status status) noexcept {
  switch (status) {
    case pki_status::granted: return "granted";
    case pki_status::granted_with_mods: return "grantedWithMods";
    case pki_status::rejection: return "rejection";
    case pki_status::waiting: return "waiting";
    case pki_status::revocation_warning: return "revocationWarning";
    case pki_status::revocation_notification: return "revocationNotification";
  }
  return "unknown status";
}

/// text_of returns the name of a failure in RFC 3161.
[[nodiscard]] constexpr std::string_view text_of(pki_failure failure) noexcept {
  switch (failure) {
    case pki_failure::bad_algorithm: return "badAlg";
    case pki_failure::bad_request: return "badRequest";
    case pki_failure::bad_data_format: return "badDataFormat";
    case pki_failure::time_not_available: return "timeNotAvailable";
    case pki_failure::unaccepted_policy: return "unacceptedPolicy";
    case pki_failure::unaccepted_extension: return "unacceptedExtension";
    case pki_failure::info_not_available: return "addInfoNotAvailable";
    case pki_failure::system_failure: return "systemFailure";
  }
  return "unknown failure";
}

// --- Results ---------------------------------------------------------------------

/// Why a call failed.
struct failure {
  result_code code = result_code::argument;  ///< never result_code::ok in a failed result
  /// The length that the output needs (result_code::size), or the whole length that the framing announces
  /// (result_code::length). 0 with other codes, and when a field of a record was too small.
  std::uint32_t length = 0;
  std::uint32_t transport_status = 0;  ///< of unpack_reply: the HTTP status or the flag byte, 0 if unknown

  /// text returns the meaning of the code.
  [[nodiscard]] constexpr std::string_view text() const noexcept { return text_of(code); }
  /// Equal when all members are.
  friend constexpr bool operator==(const failure&, const failure&) noexcept = default;
  /// A failure equals its code.
  friend constexpr bool operator==(const failure& a, result_code b) noexcept { return a.code == b; }
};

/// unexpected makes a failed result, like std::unexpected.
class unexpected {
 public:
  /// Wraps a failure.
  constexpr explicit unexpected(failure why) noexcept : error_(why) {}
  /// Wraps a failure of which only the code is known.
  constexpr explicit unexpected(result_code code) noexcept : error_{code} {}
  /// error returns the failure.
  [[nodiscard]] constexpr const failure& error() const noexcept { return error_; }

 private:
  failure error_;
};

#if defined(__cpp_exceptions)
/// What result<T>::value() throws when there is no value.
class bad_result_access : public std::exception {
 public:
  /// Keeps the failure.
  explicit bad_result_access(failure why) noexcept : error_(why) {}
  /// what returns the meaning of the code.
  [[nodiscard]] const char* what() const noexcept override { return error_.text().data(); }
  /// error returns the failure.
  [[nodiscard]] const failure& error() const noexcept { return error_; }

 private:
  failure error_;
};
#endif

template <class T>
class result;

namespace detail {

// Whether a T can be made of a U that is neither a result nor a failure.
template <class U, class T>
concept makes = std::is_constructible_v<T, U> && !std::is_same_v<std::remove_cvref_t<U>, result<T>> &&
                !std::is_same_v<std::remove_cvref_t<U>, unexpected>;

}  // namespace detail

/// A value or the failure to make it: a subset of std::expected<T, failure> with the same names and meanings.
/// `*r`, `r->` and `error()` need the state that they ask for.
template <class T>
class [[nodiscard]] result {
 public:
  using value_type = T;        ///< the value
  using error_type = failure;  ///< what an absent value leaves

  /// Holds a value made by default.
  constexpr result() = default;
  /// Holds the value.
  template <detail::makes<T> U = T>
  // NOLINTNEXTLINE(bugprone-forwarding-reference-overload): the concept leaves copies and moves alone
  constexpr explicit(!std::is_convertible_v<U, T>) result(U&& value)
      : state_(std::in_place_index<0>, std::forward<U>(value)) {}
  /// Holds the failure.
  constexpr result(unexpected why) noexcept : state_(std::in_place_index<1>, why.error()) {}

  /// has_value returns whether there is a value.
  [[nodiscard]] constexpr bool has_value() const noexcept { return state_.index() == 0; }
  /// True when there is a value.
  [[nodiscard]] constexpr explicit operator bool() const noexcept { return has_value(); }

  /// The value.
  [[nodiscard]] constexpr T& operator*() & noexcept { return *std::get_if<0>(&state_); }
  /// The value.
  [[nodiscard]] constexpr const T& operator*() const& noexcept { return *std::get_if<0>(&state_); }
  /// The value, to be moved from.
  [[nodiscard]] constexpr T&& operator*() && noexcept { return std::move(*std::get_if<0>(&state_)); }
  /// A member of the value.
  [[nodiscard]] constexpr T* operator->() noexcept { return std::get_if<0>(&state_); }
  /// A member of the value.
  [[nodiscard]] constexpr const T* operator->() const noexcept { return std::get_if<0>(&state_); }
  /// error returns the failure.
  [[nodiscard]] constexpr const failure& error() const noexcept { return *std::get_if<1>(&state_); }

#if defined(__cpp_exceptions)
  /// value returns the value, or throws bad_result_access.
  constexpr T& value() & {
    return checked(), **this;
  }
  /// value returns the value, or throws bad_result_access.
  constexpr const T& value() const& {
    return checked(), **this;
  }
  /// value returns the value to be moved from, or throws bad_result_access.
  constexpr T&& value() && {
    return checked(), *std::move(*this);
  }
#endif
  /// value_or returns the value, or `other` in its place.
  template <class U>
  [[nodiscard]] constexpr T value_or(U&& other) const& {
    return has_value() ? **this : static_cast<T>(std::forward<U>(other));
  }
  /// value_or returns the value, or `other` in its place.
  template <class U>
  [[nodiscard]] constexpr T value_or(U&& other) && {
    return has_value() ? *std::move(*this) : static_cast<T>(std::forward<U>(other));
  }

  /// and_then returns the result of `next` for the value, or the failure.
  template <class F>
  constexpr auto and_then(F&& next) const& -> std::remove_cvref_t<std::invoke_result_t<F, const T&>> {
    if (!has_value()) return unexpected(error());
    return std::invoke(std::forward<F>(next), **this);
  }
  /// and_then returns the result of `next` for the value, which it may move from, or the failure.
  template <class F>
  constexpr auto and_then(F&& next) && -> std::remove_cvref_t<std::invoke_result_t<F, T>> {
    if (!has_value()) return unexpected(error());
    return std::invoke(std::forward<F>(next), *std::move(*this));
  }
  /// transform returns a result that holds what `change` makes of the value, or the failure.
  template <class F>
  constexpr auto transform(F&& change) const& -> result<std::remove_cv_t<std::invoke_result_t<F, const T&>>> {
    if (!has_value()) return unexpected(error());
    return std::invoke(std::forward<F>(change), **this);
  }
  /// transform returns a result that holds what `change` makes of the value, or the failure.
  template <class F>
  constexpr auto transform(F&& change) && -> result<std::remove_cv_t<std::invoke_result_t<F, T>>> {
    if (!has_value()) return unexpected(error());
    return std::invoke(std::forward<F>(change), *std::move(*this));
  }
  /// or_else returns this result, or that of `instead` for the failure.
  template <class F>
  constexpr result or_else(F&& instead) && {
    if (has_value()) return std::move(*this);
    return std::invoke(std::forward<F>(instead), error());
  }

 private:
#if defined(__cpp_exceptions)
  constexpr void checked() const {
    if (!has_value()) throw bad_result_access(error());
  }
#endif
  std::variant<T, failure> state_;
};

/// Success, or the failure: a subset of std::expected<void, failure>.
template <>
class [[nodiscard]] result<void> {
 public:
  using value_type = void;     ///< nothing
  using error_type = failure;  ///< what an absent success leaves

  /// Success.
  constexpr result() noexcept = default;
  /// Holds the failure.
  constexpr result(unexpected why) noexcept : error_(why.error()) {}
  /// has_value returns whether this is a success.
  [[nodiscard]] constexpr bool has_value() const noexcept { return error_.code == result_code::ok; }
  /// True when this is a success.
  [[nodiscard]] constexpr explicit operator bool() const noexcept { return has_value(); }
  /// error returns the failure.
  [[nodiscard]] constexpr const failure& error() const noexcept { return error_; }
#if defined(__cpp_exceptions)
  /// value throws bad_result_access unless this is a success.
  constexpr void value() const {
    if (!has_value()) throw bad_result_access(error_);
  }
#endif
  /// and_then returns the result of `next`, or the failure.
  template <class F>
  constexpr auto and_then(F&& next) const -> std::remove_cvref_t<std::invoke_result_t<F>> {
    if (!has_value()) return unexpected(error_);
    return std::invoke(std::forward<F>(next));
  }

 private:
  failure error_{result_code::ok};
};

// --- Octets ----------------------------------------------------------------------

/// Octets that a function returns.
using bytes = std::vector<std::uint8_t>;

namespace detail {

// Whether a span of these elements can be made of a Range, as the constructors of std::span decide.
template <class Range, class... Octet>
inline constexpr bool spans = (std::is_constructible_v<std::span<Octet>, Range> || ...);

template <class Range>
concept array_of_char =
    std::is_array_v<Range> && std::is_same_v < std::remove_cv_t<std::remove_extent_t<Range>>,
char > ;

template <class Range>
concept readable =
    spans<const Range&, const std::uint8_t, const std::byte, const char> && !array_of_char<Range>;

template <class Range>
concept writable = spans<Range, std::uint8_t, std::byte, char>;

}  // namespace detail

/// Input: a view of octets, made from anything that a std::span of std::byte, std::uint8_t or char is made
/// of. Arrays of char are refused, since a literal has a terminator and a buffer need not be full: wrap them
/// in a std::string_view. A view owns nothing; it is meant for parameters.
class bytes_in {
 public:
  /// No octets.
  constexpr bytes_in() noexcept = default;
  /// `size` octets from `data` on.
  constexpr bytes_in(const std::uint8_t* data, std::size_t size) noexcept : data_(data), size_(size) {}
  /// The octets of a range.
  template <detail::readable Range>
  bytes_in(const Range& range) noexcept
      : data_(reinterpret_cast<const std::uint8_t*>(std::data(range))), size_(std::size(range)) {}

  /// data returns the first octet; never null.
  [[nodiscard]] const std::uint8_t* data() const noexcept { return data_ == nullptr ? &kNone : data_; }
  /// size returns their number.
  [[nodiscard]] constexpr std::size_t size() const noexcept { return size_; }
  /// empty returns whether there are none.
  [[nodiscard]] constexpr bool empty() const noexcept { return size_ == 0; }

 private:
  static constexpr std::uint8_t kNone = 0;  // the C functions treat a null pointer as an error
  const std::uint8_t* data_ = nullptr;
  std::size_t size_ = 0;
};

/// Output: a buffer of the caller, made from anything that a std::span of std::byte, std::uint8_t or char is
/// made of. Its size is the capacity. Like bytes_in it owns nothing.
class bytes_out {
 public:
  /// A buffer of no octets, which asks for the length.
  constexpr bytes_out() noexcept = default;
  /// `size` octets from `data` on.
  constexpr bytes_out(std::uint8_t* data, std::size_t size) noexcept : data_(data), size_(size) {}
  /// The elements of a range.
  template <detail::writable Range>
  // NOLINTNEXTLINE(bugprone-forwarding-reference-overload): the concept leaves copies and moves alone
  bytes_out(Range&& range) noexcept
      : data_(reinterpret_cast<std::uint8_t*>(std::data(range))), size_(std::size(range)) {}

  /// data returns the first octet; null when there are none.
  [[nodiscard]] constexpr std::uint8_t* data() const noexcept { return size_ == 0 ? nullptr : data_; }
  /// size returns the capacity.
  [[nodiscard]] constexpr std::size_t size() const noexcept { return size_; }

 private:
  std::uint8_t* data_ = nullptr;
  std::size_t size_ = 0;
};

namespace detail {

inline constexpr std::size_t kMost = std::numeric_limits<std::uint32_t>::max();

// outcome returns a code of the C interface as a result.
inline result<void> outcome(std::int32_t code) noexcept {
  if (code == QEX_OK) return {};
  return unexpected(result_code{code});
}

// write has `call(data, &length)` write to `out`. Input is at most 4294967295 octets long.
template <class Call>
result<std::size_t> write(bytes_in in, bytes_out out, Call call) noexcept {
  if (in.size() > kMost) return unexpected(result_code::argument);
  std::uint8_t none = 0;  // two of the C functions treat a null pointer as an error
  auto length = static_cast<std::uint32_t>(std::min(out.size(), kMost));
  const result_code code{call(out.data() == nullptr ? &none : out.data(), &length)};
  if (code == result_code::ok) return length;
  return unexpected(failure{code, code == result_code::size ? length : 0});
}

// make has the call of `write` write to a vector. The output is seldom longer than the input, so that the
// first call usually suffices; trailing input says nothing about the output's length, so the first guess is
// limited.
template <class Call>
result<bytes> make(bytes_in in, std::size_t guess, Call call) {
  bytes octets(std::min<std::size_t>(guess, 16384));
  result<std::size_t> written = write(in, octets, call);
  if (!written && written.error() == result_code::size) {
    octets.resize(written.error().length);
    written = write(in, octets, call);
  }
  if (!written) return unexpected(written.error());
  octets.resize(*written);
  return octets;
}

// Functions of the C interface that write: most name the output first, those that rewrite a token the input.
using writer = std::int32_t(std::uint8_t*, std::uint32_t*, const std::uint8_t*, std::uint32_t);
using rewriter = std::int32_t(const std::uint8_t*, std::uint32_t, std::uint8_t*, std::uint32_t*);

inline auto call_of(writer* function, bytes_in in) noexcept {
  return [=](std::uint8_t* data, std::uint32_t* length) {
    return function(data, length, in.data(), static_cast<std::uint32_t>(in.size()));
  };
}

inline auto call_of(rewriter* function, bytes_in in) noexcept {
  return [=](std::uint8_t* data, std::uint32_t* length) {
    const std::int32_t code = function(in.data(), static_cast<std::uint32_t>(in.size()), data, length);
    // In place the library reports that there was nothing to remove.
    return code == QEX_E_MISSING && data == in.data() ? QEX_OK : code;
  };
}

// read has a C function fill the cleared record of `info`.
template <class Info, class Record>
result<void> read(bytes_in in, Info& info,
                  std::int32_t (*fill)(Record*, const std::uint8_t*, std::uint32_t)) noexcept {
  info = Info{};
  if (in.size() > kMost) return unexpected(result_code::argument);
  return outcome(fill(&info.record, in.data(), static_cast<std::uint32_t>(in.size())));
}

// cleared returns a record of zeros, with its size set where it has one.
template <class Record>
Record cleared() noexcept {
  Record record{};
  if constexpr (requires { record.size; }) record.size = sizeof record;
  return record;
}

template <std::size_t kSize>
std::string_view text(const char (&field)[kSize]) noexcept {
  return {field, static_cast<std::size_t>(std::find(field, field + kSize, '\0') - field)};
}

// octets returns as much of a value as its field holds; `length` may be more.
template <std::size_t kSize, class Length>
std::span<const std::uint8_t> octets(const std::uint8_t (&field)[kSize], Length length) noexcept {
  return {field, std::min<std::size_t>(static_cast<std::uint32_t>(length), kSize)};
}

constexpr std::uint64_t number(const QEX_U64& value) noexcept {
  return std::uint64_t{value.high} << 32 | value.low;
}

// set_text copies a text and its terminator, or returns false when it does not fit.
template <std::size_t kSize>
bool set_text(char (&field)[kSize], std::string_view value) noexcept {
  if (value.size() >= kSize || value.find('\0') != std::string_view::npos) return false;
  std::fill(std::copy(value.begin(), value.end(), field), field + kSize, '\0');
  return true;
}

template <std::size_t kSize>
bool set_octets(std::uint8_t (&field)[kSize], std::uint32_t& length, bytes_in value) noexcept {
  if (value.size() > kSize) return false;
  std::fill(std::copy_n(value.data(), value.size(), field), field + kSize, std::uint8_t{0});
  length = static_cast<std::uint32_t>(value.size());
  return true;
}

// The digests as parameters of qex::digest: functions, since addresses in a DLL are no constants.
struct md5 {
  using context = QEX_MD5_CTX;
  static constexpr std::size_t size = 16;
  static constexpr std::string_view name = "md5", oid = "1.2.840.113549.2.5";
  static context* init() noexcept { return QEX_MD5_Init(); }
  static void update(context* c, const std::uint8_t* data, std::uint32_t n) noexcept {
    QEX_MD5_Update(c, data, n);
  }
  static void final(context* c, std::uint8_t* out) noexcept { QEX_MD5_Final(c, out); }
};

struct sha1 {
  using context = QEX_SHA1_CTX;
  static constexpr std::size_t size = 20;
  static constexpr std::string_view name = "sha1", oid = "1.3.14.3.2.26";
  static context* init() noexcept { return QEX_SHA1_Init(); }
  static void update(context* c, const std::uint8_t* data, std::uint32_t n) noexcept {
    QEX_SHA1_Update(c, data, n);
  }
  static void final(context* c, std::uint8_t* out) noexcept { QEX_SHA1_Final(c, out); }
};

struct sha256 {
  using context = QEX_SHA256_CTX;
  static constexpr std::size_t size = 32;
  static constexpr std::string_view name = "sha256", oid = "2.16.840.1.101.3.4.2.1";
  static context* init() noexcept { return QEX_SHA256_Init(); }
  static void update(context* c, const std::uint8_t* data, std::uint32_t n) noexcept {
    QEX_SHA256_Update(c, data, n);
  }
  static void final(context* c, std::uint8_t* out) noexcept { QEX_SHA256_Final(c, out); }
};

struct sha384 {
  using context = QEX_SHA512_CTX;
  static constexpr std::size_t size = 48;
  static constexpr std::string_view name = "sha384", oid = "2.16.840.1.101.3.4.2.2";
  static context* init() noexcept { return QEX_SHA384_Init(); }
  static void update(context* c, const std::uint8_t* data, std::uint32_t n) noexcept {
    QEX_SHA384_Update(c, data, n);
  }
  static void final(context* c, std::uint8_t* out) noexcept { QEX_SHA384_Final(c, out); }
};

struct sha512 {
  using context = QEX_SHA512_CTX;
  static constexpr std::size_t size = 64;
  static constexpr std::string_view name = "sha512", oid = "2.16.840.1.101.3.4.2.3";
  static context* init() noexcept { return QEX_SHA512_Init(); }
  static void update(context* c, const std::uint8_t* data, std::uint32_t n) noexcept {
    QEX_SHA512_Update(c, data, n);
  }
  static void final(context* c, std::uint8_t* out) noexcept { QEX_SHA512_Final(c, out); }
};

}  // namespace detail

// --- Digests ---------------------------------------------------------------------

/// A digest that grows with its data; use it as md5, sha1, sha256, sha384 or sha512. It covers the octets
/// added since it was made, finished or moved from, so every object can be used at any time. It owns a
/// context of the library from its first octets to its end (see QEX_SHA256_Init).
template <class Algorithm>
class digest {
 public:
  static constexpr std::size_t size = Algorithm::size;       ///< octets of the digest
  static constexpr std::string_view name = Algorithm::name;  ///< such as "sha256"
  static constexpr std::string_view oid = Algorithm::oid;    ///< object identifier, dotted text
  using value_type = std::array<std::uint8_t, size>;         ///< the digest

  /// The digest of nothing.
  digest() noexcept = default;
  /// Takes over what `other` was given; `other` starts anew.
  digest(digest&& other) noexcept : context_(std::exchange(other.context_, nullptr)) {}
  /// Takes over what `other` was given; `other` starts anew.
  digest& operator=(digest&& other) noexcept {
    if (this != &other) {
      release();
      context_ = std::exchange(other.context_, nullptr);
    }
    return *this;
  }
  digest(const digest&) = delete;             ///< contexts are not copied
  digest& operator=(const digest&) = delete;  ///< contexts are not copied
  /// Releases the context.
  ~digest() { release(); }

  /// update appends octets, as many as memory holds.
  digest& update(bytes_in data) noexcept {
    constexpr std::size_t kPiece = std::size_t{1} << 30;  // a length of the C interface has 32 bits
    const std::uint8_t* next = data.data();
    for (std::size_t left = data.size(); left != 0;) {
      const std::size_t n = std::min(left, kPiece);
      Algorithm::update(context(), next, static_cast<std::uint32_t>(n));
      next += n;
      left -= n;
    }
    return *this;
  }
  /// finish writes the digest to `out` and starts anew.
  void finish(std::span<std::uint8_t, Algorithm::size> out) noexcept {
    typename Algorithm::context* last = context();
    context_ = nullptr;
    Algorithm::final(last, out.data());
  }
  /// finish returns the digest and starts anew.
  [[nodiscard]] value_type finish() noexcept {
    value_type value{};
    finish(value);
    return value;
  }
  /// of returns the digest of `data`.
  [[nodiscard]] static value_type of(bytes_in data) noexcept { return digest().update(data).finish(); }

 private:
  typename Algorithm::context* context() noexcept {
    if (context_ == nullptr) context_ = Algorithm::init();
    return context_;
  }
  void release() noexcept {
    if (context_ != nullptr) (void)finish();
  }

  typename Algorithm::context* context_ = nullptr;
};

using md5 = digest<detail::md5>;        ///< MD5; only for old stamps
using sha1 = digest<detail::sha1>;      ///< SHA-1; only for old stamps
using sha256 = digest<detail::sha256>;  ///< SHA-256
using sha384 = digest<detail::sha384>;  ///< SHA-384
using sha512 = digest<detail::sha512>;  ///< SHA-512

// --- Records ---------------------------------------------------------------------
//
// Views lead into the record and live as long as it does. Where a value was cut to its field, its view ends
// with the field.

/// A time-stamp request. Use it as request, or as short_request for the short record.
template <class Record>
struct basic_request {
  static constexpr bool is_short = std::is_same_v<Record, QEX_TSQ_DATA>;  ///< a nonce has at most 64 bits

  Record record = detail::cleared<Record>();  ///< the C record

  /// of returns a request for the digest of the data, such as basic_request::of<sha256>(hash.finish()).
  template <class Digest>
  requires(Digest::size <= sizeof(Record::hashedMessage)) [[nodiscard]] static basic_request
      of(const typename Digest::value_type& hash) noexcept {
    basic_request request;
    detail::set_text(request.record.hashAlgorithm, Digest::oid);
    detail::set_octets(request.record.hashedMessage, request.record.hashedMessageLength, hash);
    return request;
  }
  /// set_imprint sets hash algorithm and hash; result_code::argument when one does not fit its field.
  result<void> set_imprint(std::string_view algorithm, bytes_in hash) noexcept {
    basic_request changed = *this;
    if (!detail::set_text(changed.record.hashAlgorithm, algorithm) ||
        !detail::set_octets(changed.record.hashedMessage, changed.record.hashedMessageLength, hash)) {
      return unexpected(result_code::argument);
    }
    *this = changed;
    return {};
  }
  /// set_policy sets the requested policy, dotted text; result_code::argument when it does not fit.
  result<void> set_policy(std::string_view policy) noexcept {
    if (!detail::set_text(record.reqPolicy, policy)) return unexpected(result_code::argument);
    return {};
  }
  /// set_nonce sets the contents octets of the nonce: big-endian two's complement, used as given;
  /// result_code::argument when there are more than 40.
  result<void> set_nonce(bytes_in nonce) noexcept requires(!is_short) {
    const bool fits = detail::set_octets(record.nonce, record.nonceLength, nonce);
    return fits ? result<void>() : unexpected(result_code::argument);
  }
  /// set_nonce sets the nonce; 0 is none.
  void set_nonce(std::uint64_t nonce) noexcept requires(is_short) {
    record.nonce = {static_cast<std::uint32_t>(nonce >> 32), static_cast<std::uint32_t>(nonce)};
  }
  /// set_certificate_wanted says whether the authority shall include its certificate.
  void set_certificate_wanted(bool wanted = true) noexcept { record.certReq = wanted ? 1 : 0; }

  /// Object identifier of the hash algorithm, dotted text.
  [[nodiscard]] std::string_view hash_algorithm() const noexcept {
    return detail::text(record.hashAlgorithm);
  }
  /// The hash of the data.
  [[nodiscard]] std::span<const std::uint8_t> hashed_message() const noexcept {
    return detail::octets(record.hashedMessage, record.hashedMessageLength);
  }
  /// The requested policy, dotted text; empty when there is none.
  [[nodiscard]] std::string_view policy() const noexcept { return detail::text(record.reqPolicy); }
  /// The nonce: its contents octets, none when there is none; in the short record a number, 0 for none.
  [[nodiscard]] auto nonce() const noexcept {
    if constexpr (is_short) {
      return detail::number(record.nonce);
    } else {
      return detail::octets(record.nonce, record.nonceLength);
    }
  }
  /// Whether the authority shall include its certificate.
  [[nodiscard]] bool certificate_wanted() const noexcept { return record.certReq != 0; }
};

using request = basic_request<QEX_TSQ_DATA_EX>;     ///< a request
using short_request = basic_request<QEX_TSQ_DATA>;  ///< a request with a hash of up to 40 octets

/// The status of a reply.
struct reply_status {
  QEX_TSR_STATUS record = detail::cleared<QEX_TSR_STATUS>();  ///< the C record

  /// The status.
  [[nodiscard]] pki_status status() const noexcept { return pki_status{record.status}; }
  /// Whether the authority granted the request, as it was or with modifications.
  [[nodiscard]] bool granted() const noexcept {
    return status() == pki_status::granted || status() == pki_status::granted_with_mods;
  }
  /// The authority's status text; empty when there is none.
  [[nodiscard]] std::string_view text() const noexcept { return detail::text(record.statusText); }
  /// The failure, as QEX_TSR_STATUS::failInfo describes. It means something only for a rejection, and reads
  /// as pki_failure::bad_algorithm when the authority names none.
  [[nodiscard]] pki_failure failure_info() const noexcept { return pki_failure{record.failInfo}; }
};

/// The content of a token. Use it as tst_info, or as short_tst_info for the short record.
template <class Record>
struct basic_tst_info {
  static constexpr bool is_short = std::is_same_v<Record, QEX_TSTINFO>;  ///< numbers have at most 64 bits

  Record record = detail::cleared<Record>();  ///< the C record

  /// Version of the TSTInfo.
  [[nodiscard]] std::uint32_t version() const noexcept { return record.version; }
  /// The authority's policy, dotted text.
  [[nodiscard]] std::string_view policy() const noexcept { return detail::text(record.policy); }
  /// Hash algorithm of the imprint, dotted text.
  [[nodiscard]] std::string_view hash_algorithm() const noexcept {
    return detail::text(record.hashAlgorithm);
  }
  /// The imprint's hash. The short record holds its first 40 octets.
  [[nodiscard]] std::span<const std::uint8_t> hashed_message() const noexcept {
    return detail::octets(record.hashedMessage, record.hashedMessageLength);
  }
  /// Whether the record holds the whole hash.
  [[nodiscard]] bool hash_is_whole() const noexcept {
    return record.hashedMessageLength <= sizeof record.hashedMessage;
  }
  /// The serial number: its contents octets; in the short record a number.
  [[nodiscard]] auto serial_number() const noexcept {
    if constexpr (is_short) {
      return detail::number(record.serialNumber);
    } else {
      return detail::octets(record.serialNumber, record.serialNumberLength);
    }
  }
  /// The GeneralizedTime as encoded.
  [[nodiscard]] std::string_view time() const noexcept { return detail::text(record.genTime); }
  /// How far the time may be off; 0 when the token does not say.
  [[nodiscard]] std::chrono::microseconds accuracy() const noexcept {
    return std::chrono::seconds(record.accuracySeconds) + std::chrono::milliseconds(record.accuracyMillis) +
           std::chrono::microseconds(record.accuracyMicros);
  }
  /// Whether the tokens of the authority are ordered by time.
  [[nodiscard]] bool ordering() const noexcept { return record.ordering != 0; }
  /// The nonce: its contents octets, none when there is none; in the short record a number, 0 for none.
  [[nodiscard]] auto nonce() const noexcept {
    if constexpr (is_short) {
      return detail::number(record.nonce);
    } else {
      return detail::octets(record.nonce, record.nonceLength);
    }
  }
  /// The authority's directory name, as CN=...;O=...; empty when absent or of another form.
  [[nodiscard]] std::string_view tsa_name() const noexcept { return detail::text(record.tsaName); }
};

using tst_info = basic_tst_info<QEX_TSTINFO_EX>;     ///< the content of a token
using short_tst_info = basic_tst_info<QEX_TSTINFO>;  ///< the content of a token, numbers of up to 64 bits

/// Whom a time attribute certificate is for and from. Use it as tac_info, or as short_tac_info.
template <class Record>
struct basic_tac_info {
  static constexpr bool is_short = std::is_same_v<Record, QEX_TACINFO>;  ///< numbers have at most 64 bits

  Record record = detail::cleared<Record>();  ///< the C record

  /// Version of the certificate; 1 is v2.
  [[nodiscard]] std::int32_t version() const noexcept { return record.version; }
  /// The holder's first name; empty when absent or not a directory name.
  [[nodiscard]] std::string_view holder_name() const noexcept { return detail::text(record.holderName); }
  /// Digest algorithm of the holder's objectDigestInfo, dotted text; empty when absent.
  [[nodiscard]] std::string_view digest_algorithm() const noexcept {
    return detail::text(record.digestAlgorithm);
  }
  /// Its digest. The short record holds the first 40 octets.
  [[nodiscard]] std::span<const std::uint8_t> object_digest() const noexcept {
    return detail::octets(record.objectDigest, record.objectDigestLen);
  }
  /// The issuer's first name.
  [[nodiscard]] std::string_view issuer_name() const noexcept { return detail::text(record.issuerName); }
  /// The serial number: its contents octets; in the short record a number, 0 when it has more than 64 bits.
  [[nodiscard]] auto serial_number() const noexcept {
    if constexpr (is_short) {
      return detail::number(record.serialNumber);
    } else {
      return detail::octets(record.serialNumber, record.serialNumberLen);
    }
  }
  /// Start of its validity, a GeneralizedTime as encoded.
  [[nodiscard]] std::string_view not_before() const noexcept { return detail::text(record.notBefore); }
  /// End of its validity, a GeneralizedTime as encoded.
  [[nodiscard]] std::string_view not_after() const noexcept { return detail::text(record.notAfter); }
  /// Signature algorithm, dotted text.
  [[nodiscard]] std::string_view signature_algorithm() const noexcept {
    return detail::text(record.signatureAlgorithm);
  }
  /// The signature. Nothing verifies it.
  [[nodiscard]] std::span<const std::uint8_t> signature_value() const noexcept {
    return detail::octets(record.signatureValue, record.signatureValueLen);
  }
};

using tac_info = basic_tac_info<QEX_TACINFO_EX>;     ///< a time attribute certificate
using short_tac_info = basic_tac_info<QEX_TACINFO>;  ///< the same, with its short record

using seconds = std::chrono::duration<float>;  ///< durations of timing metrics and policy

/// The authority's timing metrics. Use it as timing_metrics, or as short_timing_metrics without leap event.
template <class Record>
struct basic_timing_metrics {
  static constexpr bool is_short = std::is_same_v<Record, QEX_TIMING_METRICS>;  ///< no leap event

  Record record = detail::cleared<Record>();  ///< the C record

  /// The time of its clock, UTC, YYYYMMDDhhmmssZ.
  [[nodiscard]] std::string_view ntp_time() const noexcept { return detail::text(record.ntpTime); }
  /// Offset of its clock from the reference.
  [[nodiscard]] seconds offset() const noexcept { return seconds(record.offset); }
  /// Delay to the reference and back.
  [[nodiscard]] seconds delay() const noexcept { return seconds(record.delay); }
  /// Until when the metrics hold.
  [[nodiscard]] std::string_view expiration() const noexcept { return detail::text(record.expiration); }
  /// Action of the last leap event; 0 when there is none.
  [[nodiscard]] std::int32_t leap_action() const noexcept requires(!is_short) { return record.leapAction; }
  /// Time of the last leap event; empty when there is none.
  [[nodiscard]] std::string_view leap_time() const noexcept requires(!is_short) {
    return detail::text(record.leapTime);
  }
};

using timing_metrics = basic_timing_metrics<QEX_TIMING_METRICS_EX>;     ///< timing metrics
using short_timing_metrics = basic_timing_metrics<QEX_TIMING_METRICS>;  ///< without leap event

/// The authority's timing policy.
struct timing_policy {
  QEX_TIMING_POLICY record = detail::cleared<QEX_TIMING_POLICY>();  ///< the C record

  /// The first policy identifier, dotted text; empty when there is none.
  [[nodiscard]] std::string_view policy_id() const noexcept { return detail::text(record.policyID); }
  /// Largest offset; 0 when absent.
  [[nodiscard]] seconds max_offset() const noexcept { return seconds(record.maxOffset); }
  /// Largest delay; 0 when absent.
  [[nodiscard]] seconds max_delay() const noexcept { return seconds(record.maxDelay); }
};

// --- Requests --------------------------------------------------------------------

/// encode_request writes a request to `out` and returns its length (QEX_EncodeTSQ_Ex).
inline result<std::size_t> encode_request(const request& asked, bytes_out out,
                                          transport framing = transport::raw) noexcept {
  return detail::write({}, out, [&](std::uint8_t* data, std::uint32_t* length) {
    return QEX_EncodeTSQ_Ex(&asked.record, data, length, static_cast<std::uint32_t>(framing));
  });
}

/// encode_request for the short record (QEX_EncodeTSQ).
inline result<std::size_t> encode_request(const short_request& asked, bytes_out out,
                                          transport framing = transport::raw) noexcept {
  return detail::write({}, out, [&](std::uint8_t* data, std::uint32_t* length) {
    return QEX_EncodeTSQ(&asked.record, data, length, static_cast<std::int32_t>(framing));
  });
}

/// encode_request returns the request as a vector.
template <class Record>
result<bytes> encode_request(const basic_request<Record>& asked, transport framing = transport::raw) {
  return detail::make({}, 512, [&](std::uint8_t* data, std::uint32_t* length) -> std::int32_t {
    if constexpr (basic_request<Record>::is_short) {
      return QEX_EncodeTSQ(&asked.record, data, length, static_cast<std::int32_t>(framing));
    } else {
      return QEX_EncodeTSQ_Ex(&asked.record, data, length, static_cast<std::uint32_t>(framing));
    }
  });
}

/// decode_request reads a request into `asked` (QEX_DecodeTSQ_Ex). With result_code::size it holds what fits.
inline result<void> decode_request(bytes_in data, request& asked) noexcept {
  return detail::read(data, asked, QEX_DecodeTSQ_Ex);
}

/// decode_request for the short record (QEX_DecodeTSQ), which cuts a hash of more than 40 octets.
inline result<void> decode_request(bytes_in data, short_request& asked) noexcept {
  return detail::read(data, asked, QEX_DecodeTSQ);
}

/// decode_request returns the request: decode_request(data), or decode_request<short_request>(data).
template <class Request = request>
result<Request> decode_request(bytes_in data) noexcept {
  result<Request> asked;
  if (const result<void> read = decode_request(data, *asked); !read) return unexpected(read.error());
  return asked;
}

// --- Replies ---------------------------------------------------------------------

/// What unpack_reply found.
struct unpacked_reply {
  std::size_t length = 0;              ///< of the bare TimeStampResp, at the start of the buffer
  std::uint32_t transport_status = 0;  ///< 0 (raw), the flag byte (socket) or the HTTP status
};

/// unpack_reply removes the transport framing of a reply in its buffer (QEX_UnpackTSR). When it fails with
/// result_code::length, read on until there are failure::length octets, and call again.
inline result<unpacked_reply> unpack_reply(bytes_out reply, transport framing) noexcept {
  if (reply.size() > detail::kMost) return unexpected(result_code::argument);
  std::uint8_t none = 0;
  auto length = static_cast<std::uint32_t>(reply.size());
  std::uint32_t status = 0;
  const result_code code{QEX_UnpackTSR(reply.data() == nullptr ? &none : reply.data(), &length, &status,
                                       static_cast<std::int32_t>(framing))};
  if (code == result_code::ok) return unpacked_reply{length, status};
  return unexpected(failure{code, code == result_code::length ? length : 0, status});
}

/// unpack_reply for a vector, which it shortens to the bare TimeStampResp.
inline result<unpacked_reply> unpack_reply(bytes& reply, transport framing) {
  const result<unpacked_reply> unpacked = unpack_reply(bytes_out(reply), framing);
  if (unpacked) reply.resize(unpacked->length);
  return unpacked;
}

/// read_status reads the status of a bare reply into `status` (QEX_GetTSR_Status).
inline result<void> read_status(bytes_in reply, reply_status& status) noexcept {
  return detail::read(reply, status, QEX_GetTSR_Status);
}

/// read_status returns the status of a bare reply.
inline result<reply_status> read_status(bytes_in reply) noexcept {
  result<reply_status> status;
  if (const result<void> read = read_status(reply, *status); !read) return unexpected(read.error());
  return status;
}

/// extract_token writes the token of a bare reply to `out` and returns its length (QEX_GetTSR_EncodedToken).
inline result<std::size_t> extract_token(bytes_in reply, bytes_out out) noexcept {
  return detail::write(reply, out, detail::call_of(QEX_GetTSR_EncodedToken, reply));
}

/// extract_token returns the token of a bare reply.
inline result<bytes> extract_token(bytes_in reply) {
  return detail::make(reply, reply.size(), detail::call_of(QEX_GetTSR_EncodedToken, reply));
}

// --- Tokens ----------------------------------------------------------------------

/// read_token reads the content of a token into `info` (QEX_GetTST_TSTInfoEx). It verifies nothing. With
/// result_code::size the record holds what fits.
inline result<void> read_token(bytes_in token, tst_info& info) noexcept {
  return detail::read(token, info, QEX_GetTST_TSTInfoEx);
}

/// read_token for the short record (QEX_GetTST_TSTInfo), which cuts a hash of more than 40 octets.
inline result<void> read_token(bytes_in token, short_tst_info& info) noexcept {
  return detail::read(token, info, QEX_GetTST_TSTInfo);
}

/// read_token returns the content: read_token(token), or read_token<short_tst_info>(token).
template <class Info = tst_info>
result<Info> read_token(bytes_in token) noexcept {
  result<Info> info;
  if (const result<void> read = read_token(token, *info); !read) return unexpected(read.error());
  return info;
}

/// signer_certificate writes the authority's certificate of a token to `out` and returns its length
/// (QEX_GetTST_TSACert).
inline result<std::size_t> signer_certificate(bytes_in token, bytes_out out) noexcept {
  return detail::write(token, out, detail::call_of(QEX_GetTST_TSACert, token));
}

/// signer_certificate returns the authority's certificate of a token.
inline result<bytes> signer_certificate(bytes_in token) {
  return detail::make(token, token.size(), detail::call_of(QEX_GetTST_TSACert, token));
}

/// verify_signature checks that the key of `certificate`, one that you trust, signed the token
/// (QEX_VerifyTST_Signature, which says what is not checked). An empty certificate is result_code::argument.
inline result<void> verify_signature(bytes_in token, bytes_in certificate) noexcept {
  if (certificate.empty() || std::max(token.size(), certificate.size()) > detail::kMost) {
    return unexpected(result_code::argument);
  }
  return detail::outcome(QEX_VerifyTST_Signature(token.data(), static_cast<std::uint32_t>(token.size()),
                                                 certificate.data(),
                                                 static_cast<std::uint32_t>(certificate.size())));
}

/// verify_consistency checks a token under a certificate of its own (QEX_VerifyTST_Signature without one). It
/// accepts any signer: the caller judges whose key it was.
inline result<void> verify_consistency(bytes_in token) noexcept {
  if (token.size() > detail::kMost) return unexpected(result_code::argument);
  return detail::outcome(
      QEX_VerifyTST_Signature(token.data(), static_cast<std::uint32_t>(token.size()), nullptr, 0));
}

/// to_plain_data writes the token with its content typed as plain data to `out` and returns its length
/// (QEX_TSTInfoToIDData).
inline result<std::size_t> to_plain_data(bytes_in token, bytes_out out) noexcept {
  return detail::write(token, out, detail::call_of(QEX_TSTInfoToIDData, token));
}

/// to_plain_data returns the token with its content typed as plain data.
inline result<bytes> to_plain_data(bytes_in token) {
  return detail::make(token, token.size(), detail::call_of(QEX_TSTInfoToIDData, token));
}

/// remove_attribute_certificates writes the token without its attribute certificates to `out` and returns its
/// length (QEX_RemoveAttrCerts). `out` may begin where the token does; a token that has none then stays.
inline result<std::size_t> remove_attribute_certificates(bytes_in token, bytes_out out) noexcept {
  return detail::write(token, out, detail::call_of(QEX_RemoveAttrCerts, token));
}

/// remove_attribute_certificates returns the token without its attribute certificates.
inline result<bytes> remove_attribute_certificates(bytes_in token) {
  return detail::make(token, token.size(), detail::call_of(QEX_RemoveAttrCerts, token));
}

// --- Time attribute certificates -------------------------------------------------

/// extract_tac writes the time attribute certificate of a token to `out` and returns its length
/// (QEX_GetTST_TimeAttributeCert).
inline result<std::size_t> extract_tac(bytes_in token, bytes_out out) noexcept {
  return detail::write(token, out, detail::call_of(QEX_GetTST_TimeAttributeCert, token));
}

/// extract_tac returns the time attribute certificate of a token.
inline result<bytes> extract_tac(bytes_in token) {
  return detail::make(token, token.size(), detail::call_of(QEX_GetTST_TimeAttributeCert, token));
}

/// check_tac checks that an attribute certificate belongs to a token (QEX_CheckTAC_MatchesTST).
inline result<void> check_tac(bytes_in tac, bytes_in token) noexcept {
  if (std::max(tac.size(), token.size()) > detail::kMost) return unexpected(result_code::argument);
  return detail::outcome(QEX_CheckTAC_MatchesTST(tac.data(), static_cast<std::uint32_t>(tac.size()),
                                                 token.data(), static_cast<std::uint32_t>(token.size())));
}

/// read_tac reads an attribute certificate into `info` (QEX_GetTAC_CertInfoEx). With result_code::size the
/// record holds what fits.
inline result<void> read_tac(bytes_in tac, tac_info& info) noexcept {
  return detail::read(tac, info, QEX_GetTAC_CertInfoEx);
}

/// read_tac for the short record (QEX_GetTAC_CertInfo), which cuts a digest of more than 40 octets.
inline result<void> read_tac(bytes_in tac, short_tac_info& info) noexcept {
  return detail::read(tac, info, QEX_GetTAC_CertInfo);
}

/// read_tac returns what the certificate says: read_tac(tac), or read_tac<short_tac_info>(tac).
template <class Info = tac_info>
result<Info> read_tac(bytes_in tac) noexcept {
  result<Info> info;
  if (const result<void> read = read_tac(tac, *info); !read) return unexpected(read.error());
  return info;
}

/// read_timing_metrics reads the timing metrics into `metrics` (QEX_GetTAC_TimingMetricsEx).
inline result<void> read_timing_metrics(bytes_in tac, timing_metrics& metrics) noexcept {
  return detail::read(tac, metrics, QEX_GetTAC_TimingMetricsEx);
}

/// read_timing_metrics without the leap event (QEX_GetTAC_TimingMetrics).
inline result<void> read_timing_metrics(bytes_in tac, short_timing_metrics& metrics) noexcept {
  return detail::read(tac, metrics, QEX_GetTAC_TimingMetrics);
}

/// read_timing_metrics returns the timing metrics, or as short_timing_metrics those without leap event.
template <class Metrics = timing_metrics>
result<Metrics> read_timing_metrics(bytes_in tac) noexcept {
  result<Metrics> metrics;
  if (const result<void> read = read_timing_metrics(tac, *metrics); !read) return unexpected(read.error());
  return metrics;
}

/// read_timing_policy reads the timing policy into `policy` (QEX_GetTAC_TimingPolicy).
inline result<void> read_timing_policy(bytes_in tac, timing_policy& policy) noexcept {
  return detail::read(tac, policy, QEX_GetTAC_TimingPolicy);
}

/// read_timing_policy returns the timing policy.
inline result<timing_policy> read_timing_policy(bytes_in tac) noexcept {
  result<timing_policy> policy;
  if (const result<void> read = read_timing_policy(tac, *policy); !read) return unexpected(read.error());
  return policy;
}

// --- Errors ----------------------------------------------------------------------

/// last_asn_error returns the code of the most recent decoding or encoding in the process
/// (QEX_GetLastAsnError).
[[nodiscard]] inline std::int32_t last_asn_error() noexcept {
  return QEX_GetLastAsnError();
}

}  // namespace v1
}  // namespace qex

#endif  // QEX_HPP
