#include "platform/wire/json_text.h"

#include <rapidjson/document.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "platform/wire/nx_error.h"

namespace nx {
namespace {

template <class Number>
void append_number(std::string& out, Number number) {
  std::array<char, 32> text;
  const auto end = std::to_chars(text.data(), text.data() + text.size(), number);
  out.append(text.data(), end.ptr);
}

void require_finite(double number) {
  if (!std::isfinite(number))
    throw nx_error(nx_error::invalid, "A number that is not finite has no JSON text");
}

void append_double(std::string& out, double number) {
  require_finite(number);
  constexpr double float_max = std::numeric_limits<float>::max();
  if (std::abs(number) <= float_max && double{static_cast<float>(number)} == number) {
    append_number(out, static_cast<float>(number));
  } else {
    append_number(out, number);
  }
}

// True if none of eight bytes needs an escape: the borrow of a subtraction shows in the highest bit
// of a byte. Bytes above 0x7f, which need none either, may give a false alarm.
bool all_plain(const char* bytes) {
  constexpr std::uint64_t ones = 0x0101010101010101;
  constexpr std::uint64_t high_bits = 0x8080808080808080;
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, sizeof(word));
  const auto quote = word ^ (ones * '"');
  const auto backslash = word ^ (ones * '\\');
  return (((word - ones * 0x20) | (quote - ones) | (backslash - ones) | word) & high_bits) == 0;
}

bool needs_escape(char c) {
  return static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\';
}

void append_escaped(std::string& out, char c) {
  static constexpr char hex[] = "0123456789abcdef";
  switch (c) {
    case '"':
      out += "\\\"";
      break;
    case '\\':
      out += "\\\\";
      break;
    case '\b':
      out += "\\b";
      break;
    case '\f':
      out += "\\f";
      break;
    case '\n':
      out += "\\n";
      break;
    case '\r':
      out += "\\r";
      break;
    case '\t':
      out += "\\t";
      break;
    default:
      out += "\\u00";
      out += hex[(c >> 4) & 0xf];
      out += hex[c & 0xf];
  }
}

// The walk of a value calls these in the order of the text, so a comma is due exactly where an
// element or a member has just ended.
class text_writer {
 public:
  explicit text_writer(std::string& out) : out_(out) {}

  bool Null() { return literal("null"); }
  bool Bool(bool value) { return literal(value ? "true" : "false"); }
  bool Int(int value) { return number(value); }
  bool Uint(unsigned value) { return number(value); }
  bool Int64(std::int64_t value) { return number(value); }
  bool Uint64(std::uint64_t value) { return number(value); }

  bool Double(double value) {
    begin();
    append_double(out_, value);
    return end();
  }

  bool String(const char* text, rapidjson::SizeType size, bool) {
    begin();
    append_json_string(out_, {text, size});
    return end();
  }

  bool Key(const char* text, rapidjson::SizeType size, bool) {
    begin();
    append_json_string(out_, {text, size});
    out_ += ':';
    comma_due_ = false;
    return true;
  }

  bool StartObject() { return open('{'); }
  bool StartArray() { return open('['); }
  bool EndObject(rapidjson::SizeType) { return close('}'); }
  bool EndArray(rapidjson::SizeType) { return close(']'); }

 private:
  void begin() {
    if (comma_due_) out_ += ',';
  }

  bool end() {
    comma_due_ = true;
    return true;
  }

  bool literal(const char* text) {
    begin();
    out_ += text;
    return end();
  }

  template <class Number>
  bool number(Number value) {
    begin();
    append_number(out_, value);
    return end();
  }

  bool open(char bracket) {
    begin();
    out_ += bracket;
    comma_due_ = false;
    return true;
  }

  bool close(char bracket) {
    out_ += bracket;
    return end();
  }

  std::string& out_;
  bool comma_due_ = false;
};

}  // namespace

void append_json_text(std::string& out, const json_value& value) {
  text_writer writer(out);
  value.Accept(writer);
}

void append_json_number(std::string& out, float number) {
  require_finite(double{number});
  append_number(out, number);
}

void append_json_number(std::string& out, int number) {
  append_number(out, number);
}

void append_json_number(std::string& out, unsigned int number) {
  append_number(out, number);
}

void append_json_string(std::string& out, std::string_view text) {
  out += '"';
  std::size_t plain = 0;  // start of the run that is copied as it is
  for (std::size_t i = 0; i < text.size(); ++i) {
    while (i + sizeof(std::uint64_t) <= text.size() && all_plain(text.data() + i))
      i += sizeof(std::uint64_t);
    if (i == text.size()) break;
    if (!needs_escape(text[i])) continue;
    out.append(text, plain, i - plain);
    append_escaped(out, text[i]);
    plain = i + 1;
  }
  out.append(text, plain, text.size() - plain);
  out += '"';
}

std::string json_text(const json_value& value) {
  std::string text;
  append_json_text(text, value);
  return text;
}

}  // namespace nx
