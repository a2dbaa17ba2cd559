#include "platform/wire/plain_text.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstring>

namespace nx {
namespace {

constexpr std::uint64_t ones = 0x0101010101010101;

// Text that JSON neither escapes nor has to check. Eight bytes at once: the highest bit of each
// says whether it is below 0x20, above 0x7e, a backslash or a quote. A borrow may also flag the
// byte after such a one, but never a byte on its own.
bool is_plain_word(const char* bytes) {
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, sizeof(word));
  const auto backslash = word ^ (ones * '\\');
  const auto quote = word ^ (ones * '"');
  const auto marked =
      (word - ones * 0x20) | (word + ones) | (backslash - ones) | (quote - ones) | word;
  return (marked & (ones * 0x80)) == 0;
}

bool is_plain_byte(char byte) {
  const auto c = static_cast<unsigned char>(byte);
  return c >= 0x20 && c <= 0x7e && c != '\\' && c != '"';
}

// The digits of a number, and how many of them follow the point.
struct decimal {
  std::uint64_t digits = 0;
  std::size_t count = 0;
  std::size_t decimals = 0;
  bool negative = false;
};

// In JSON's syntax, without an exponent. Digits beyond the nineteenth are lost.
bool read_decimal(std::string_view text, decimal& number) {
  const char* at = text.data();
  const char* const end = at + text.size();
  const auto read_digits = [&] {
    const char* const start = at;
    for (; at != end && *at >= '0' && *at <= '9'; ++at)
      number.digits = number.digits * 10 + static_cast<std::uint64_t>(*at - '0');
    return static_cast<std::size_t>(at - start);
  };
  number.negative = at != end && *at == '-';
  at += number.negative ? 1 : 0;
  const bool zero = at != end && *at == '0';
  number.count = read_digits();
  if (number.count == 0 || (zero && number.count > 1)) return false;
  if (at == end) return true;
  if (*at++ != '.') return false;
  number.decimals = read_digits();
  number.count += number.decimals;
  return number.decimals > 0 && at == end;
}

// Both are exact in a double, so the division rounds once, as it should.
constexpr std::size_t exact_digits = 15;
constexpr std::array<double, exact_digits + 1> powers{1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                      1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

template <class Number>
bool reads_as(std::string_view text, json_value& value) {
  Number number{};
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (stop != end || error != std::errc()) return false;
  value = json_value(number);
  return true;
}

}  // namespace

bool is_plain(std::string_view text) {
  constexpr std::size_t step = sizeof(std::uint64_t);
  if (text.size() < step) return std::all_of(text.begin(), text.end(), is_plain_byte);
  const std::size_t last = text.size() - step;
  for (std::size_t at = 0; at < last; at += step) {
    if (!is_plain_word(text.data() + at)) return false;
  }
  return is_plain_word(text.data() + last);
}

bool take_plain_string(std::string_view& text, std::string_view& content) {
  const auto size = text.find('"');
  if (size == text.npos || !is_plain(text.substr(0, size))) return false;
  content = text.substr(0, size);
  text.remove_prefix(size + 1);
  return true;
}

bool read_plain_value(std::string_view text, json_value& value) {
  if (text == "true" || text == "false") {
    value.SetBool(text == "true");
    return true;
  }
  decimal number;
  if (!read_decimal(text, number)) return false;
  const bool whole = number.decimals == 0;
  if (number.count > exact_digits) {
    return whole ? reads_as<std::int64_t>(text, value) : reads_as<double>(text, value);
  }
  if (whole) {
    const auto magnitude = static_cast<std::int64_t>(number.digits);
    value.SetInt64(number.negative ? -magnitude : magnitude);
  } else {
    const double magnitude = static_cast<double>(number.digits) / powers.at(number.decimals);
    value.SetDouble(number.negative ? -magnitude : magnitude);
  }
  return true;
}

}  // namespace nx
