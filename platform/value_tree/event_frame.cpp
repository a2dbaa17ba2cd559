#include "platform/value_tree/event_frame.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include "platform/wire/json_conversion.h"
#include "platform/wire/json_text.h"

namespace nx {
namespace {

std::string time_text(std::chrono::sys_time<std::chrono::milliseconds> ms) {
  using namespace std::chrono;
  const auto day = floor<days>(ms);
  const year_month_day date(day);
  const hh_mm_ss clock(ms - day);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", static_cast<int>(date.year()),
                     static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                     clock.hours().count(), clock.minutes().count(), clock.seconds().count(),
                     clock.subseconds().count());
}

// Many events fall into one millisecond: those of a cycle, and the first ones of a subscription.
const std::string& kept_time_text(std::chrono::system_clock::time_point time) {
  using namespace std::chrono;
  thread_local sys_time<milliseconds> last_time{milliseconds::min()};
  thread_local std::string last_text;
  const auto ms = floor<milliseconds>(time);
  if (ms == last_time) return last_text;
  last_text = time_text(ms);
  last_time = ms;
  return last_text;
}

constexpr std::string_view head = R"({"jsonrpc":"2.0","method":"event","params":)";

void append_time_and_value(std::string& line, std::chrono::system_clock::time_point time,
                           std::string_view what, std::string_view text) {
  line += R"(,"time":")";
  line += kept_time_text(time);
  line += R"(",")";
  line += what;
  line += R"(":)";
  line += text;
  line += "}}";
}

}  // namespace

std::string event_time(std::chrono::system_clock::time_point time) {
  return kept_time_text(time);
}

nx_event_ptr frame_event(const json_document& params) {
  std::string line(head);
  append_json_text(line, params);
  line += '}';
  return make_event(std::move(line));
}

nx_event_ptr frame_value_event(std::string_view path, std::chrono::system_clock::time_point time,
                               std::string_view value) {
  constexpr std::size_t room_for_names = 64;
  std::string line;
  line.reserve(head.size() + path.size() + value.size() + room_for_names);
  line += head;
  line += R"({"path":)";
  append_json_string(line, path);
  append_time_and_value(line, time, "value", value);
  return make_event(std::move(line));
}

void append_event(std::string& out, std::string_view path_text,
                  std::chrono::system_clock::time_point time, std::string_view what,
                  std::string_view text) {
  out += head;
  out += R"({"path":)";
  out += path_text;
  append_time_and_value(out, time, what, text);
}

}  // namespace nx
