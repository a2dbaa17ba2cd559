#include "sim/nexels/fault_request.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <array>

#include "platform/wire/json_conversion.h"
#include "sim/plant/device_range.h"

namespace sim {

namespace {

constexpr double longest_s = 86400.0;

/// The members of one request; each is taken by name, and none may be left over.
class members {
 public:
  explicit members(const std::string& text) : object_(nx::parse_json(text)) {
    if (!object_.IsObject())
      throw nx_error(nx_error::invalid, "found " + text + ", accepted is an object");
  }

  bool has(const char* name) const { return object_.HasMember(name); }

  std::string text(const char* name) {
    if (!has(name)) throw nx_error(nx_error::invalid, fmt::format("\"{}\" is missing", name));
    return nx::from_json<std::string>(take(name));
  }

  /// Any value, as JSON text.
  std::string json(const char* name) {
    if (!has(name)) throw nx_error(nx_error::invalid, fmt::format("\"{}\" is missing", name));
    return nx::json_text(take(name));
  }

  double number(const char* name, double without, double low, double high) {
    if (!has(name)) return without;
    const auto value = take(name);
    if (!value.IsNumber())
      throw nx_error(nx_error::invalid, fmt::format("\"{}\" is no number", name));
    require_range(name, value.GetDouble(), low, high, "");
    return value.GetDouble();
  }

  std::chrono::nanoseconds seconds(const char* name, double without = 0.0) {
    return std::chrono::round<std::chrono::nanoseconds>(
        std::chrono::duration<double>(number(name, without, 0.0, longest_s)));
  }

  void end() const {
    if (object_.ObjectEmpty()) return;
    throw nx_error(nx_error::invalid, fmt::format("\"{}\" does not belong to this",
                                                  object_.MemberBegin()->name.GetString()));
  }

 private:
  nx::json_document take(const char* name) {
    nx::json_document value;
    value.CopyFrom(object_[name], value.GetAllocator());
    object_.RemoveMember(name);
    return value;
  }

  nx::json_document object_;
};

template <class Kind>
struct kind_word {
  const char* word;
  Kind kind;
};

template <class Kind, std::size_t N>
Kind kind_of(const std::string& word, const std::array<kind_word<Kind>, N>& words) {
  std::string accepted;
  for (const auto& each : words) {
    if (word == each.word) return each.kind;
    accepted += fmt::format("{}'{}'", accepted.empty() ? "" : ", ", each.word);
  }
  throw nx_error(nx_error::invalid,
                 fmt::format("fault: found '{}', accepted are {}", word, accepted));
}

using reading_kind = reading_fault::kind;
constexpr std::array<kind_word<reading_kind>, 7> reading_words{{
    {"replaced", reading_kind::replaced},
    {"frozen", reading_kind::frozen},
    {"noisy", reading_kind::noisy},
    {"trembling", reading_kind::trembling},
    {"stepped", reading_kind::stepped},
    {"failed", reading_kind::failed},
    {"missing", reading_kind::missing},
}};

using write_kind = write_fault::kind;
constexpr std::array<kind_word<write_kind>, 3> write_words{{
    {"lost", write_kind::lost},
    {"late", write_kind::late},
    {"refused", write_kind::refused},
}};

}  // namespace

fault_request<reading_fault> read_reading_fault(const std::string& text) {
  constexpr double most = 100.0;
  members from(text);
  fault_request<reading_fault> asked{.path = from.text("path"), .fault = {}};
  asked.fault.what = kind_of(from.text("fault"), reading_words);
  if (asked.fault.what == reading_kind::replaced) asked.fault.value = from.json("value");
  asked.fault.amount = from.number("amount", 0.0, 0.0, most);
  asked.fault.pace = from.seconds("pace", 1.0);
  asked.duration = from.seconds("seconds");
  from.end();
  return asked;
}

fault_request<write_fault> read_write_fault(const std::string& text) {
  constexpr double most_writes = 1e6;
  members from(text);
  fault_request<write_fault> asked{.path = from.text("path"), .fault = {}};
  asked.fault.what = kind_of(from.text("fault"), write_words);
  asked.fault.delay = from.seconds("delay");
  asked.fault.every = static_cast<unsigned>(from.number("every", 1.0, 1.0, most_writes));
  asked.fault.share = from.number("share", 1.0, 0.0, 1.0);
  asked.duration = from.seconds("seconds");
  from.end();
  return asked;
}

limit_drop read_limit_drop(const std::string& text) {
  members from(text);
  const limit_drop asked{from.number("db", 0.0, 0.0, longest_s), from.seconds("seconds")};
  from.end();
  return asked;
}

}  // namespace sim
