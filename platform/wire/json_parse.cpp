#include "platform/wire/json_parse.h"

#include <fmt/format.h>
#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/wire/json_conversion.h"
#include "platform/wire/json_rpc.h"
#include "platform/wire/limits.h"
#include "platform/wire/nx_error.h"

namespace nx {
namespace {

// Builds the document and ends the parse at the nesting limit, which also bounds the recursion of
// the parser, of later walks and of the destructor.
class limited_builder {
 public:
  explicit limited_builder(json_document& target) : target_(target) {}

  bool Null() { return target_.Null(); }
  bool Bool(bool value) { return target_.Bool(value); }
  bool Int(int value) { return target_.Int(value); }
  bool Uint(unsigned value) { return target_.Uint(value); }
  bool Int64(std::int64_t value) { return target_.Int64(value); }
  bool Uint64(std::uint64_t value) { return target_.Uint64(value); }
  bool Double(double value) { return target_.Double(value); }
  // The parser's own conversion turns a zero with an exponent ("0e-45") into any number.
  bool RawNumber(const char* text, rapidjson::SizeType size, bool) {
    const char* end = text + size;
    if (std::int64_t whole = 0; reads_as(text, end, whole)) return target_.Int64(whole);
    if (std::uint64_t whole = 0; reads_as(text, end, whole)) return target_.Uint64(whole);
    if (double number = 0; reads_as(text, end, number)) return target_.Double(number);
    // Out of range: too small is zero.
    const double number = std::strtod(std::string(text, end).c_str(), nullptr);
    too_big_ = !std::isfinite(number);
    return !too_big_ && target_.Double(number);
  }
  bool String(const char* text, rapidjson::SizeType size, bool) {
    return is_text(text, size) && target_.String(text, size, true);
  }
  bool Key(const char* text, rapidjson::SizeType size, bool) {
    return is_text(text, size) && target_.Key(text, size, true);
  }
  bool StartObject() { return enter() && target_.StartObject(); }
  bool StartArray() { return enter() && target_.StartArray(); }
  bool EndObject(rapidjson::SizeType members) {
    --depth_;
    return target_.EndObject(members);
  }
  bool EndArray(rapidjson::SizeType elements) {
    --depth_;
    return target_.EndArray(elements);
  }

  bool too_deep() const { return depth_ > limits::nesting; }
  bool too_big() const { return too_big_; }

 private:
  template <class Number>
  static bool reads_as(const char* text, const char* end, Number& number) {
    const auto [stop, error] = std::from_chars(text, end, number);
    return stop == end && error == std::errc();
  }

  bool enter() { return ++depth_ <= limits::nesting; }

  // The escape of a lone low surrogate passes the parser, and would be sent as bytes that are not
  // UTF-8; 0xED followed by 0xA0 or more is a surrogate.
  static bool is_text(const char* text, std::size_t size) {
    const char* end = text + size;
    while (const void* found = std::memchr(text, 0xED, static_cast<std::size_t>(end - text))) {
      text = static_cast<const char*>(found) + 1;
      if (text < end && static_cast<unsigned char>(*text) >= 0xA0) return false;
    }
    return true;
  }

  json_document& target_;
  std::size_t depth_ = 0;
  bool too_big_ = false;
};

[[noreturn]] void refuse(const std::string& what) {
  throw nx_error(json_rpc::parse_error, "Parse error: " + what);
}

[[noreturn]] void refuse(rapidjson::ParseErrorCode code, std::size_t offset,
                         const limited_builder& builder) {
  if (builder.too_deep()) refuse(fmt::format("nested deeper than {} levels", limits::nesting));
  if (builder.too_big()) code = rapidjson::kParseErrorNumberTooBig;
  const bool text_broken = code == rapidjson::kParseErrorStringInvalidEncoding ||
                           code == rapidjson::kParseErrorTermination;
  const std::string_view what =
      text_broken ? "Not UTF-8." : std::string_view(rapidjson::GetParseError_En(code));
  refuse(fmt::format("{} at byte {}", what.substr(0, what.find_last_not_of('.') + 1), offset));
}

}  // namespace

void parse_json_into(json_document& target, std::string_view text) {
  // A text that begins with a byte order mark is somebody's file, not a line of the protocol.
  if (text.starts_with("\xef\xbb\xbf")) refuse("Byte order mark at byte 0");
  // The parser takes a zero byte for the end of the text.
  if (const auto zero = text.find('\0'); zero != text.npos) {
    refuse(fmt::format("Zero byte at byte {}", zero));
  }
  constexpr unsigned flags =
      rapidjson::kParseValidateEncodingFlag | rapidjson::kParseNumbersAsStringsFlag;
  rapidjson::Reader reader;
  limited_builder builder(target);
  auto build = [&](json_document&) {
    rapidjson::MemoryStream bytes(text.data(), text.size());
    rapidjson::EncodedInputStream<rapidjson::UTF8<>, rapidjson::MemoryStream> stream(bytes);
    return !reader.Parse<flags>(stream, builder).IsError();
  };
  target.SetNull();
  target.Populate(build);
  if (reader.HasParseError()) {
    refuse(reader.GetParseErrorCode(), reader.GetErrorOffset(), builder);
  }
}

json_document parse_json(const char* text, std::size_t size) {
  json_document document;
  parse_json_into(document, {text, size});
  return document;
}

json_document parse_json(const std::string& text) {
  return parse_json(text.data(), text.size());
}

}  // namespace nx
