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

}  // namespace

// Many events fall into one millisecond: those of a cycle, and the first ones of a subscription.
std::string event_time(std::chrono::system_clock::time_point time) {
  using namespace std::chrono;
  thread_local sys_time<milliseconds> last_time{milliseconds::min()};
  thread_local std::string last_text;
  const auto ms = floor<milliseconds>(time);
  if (ms == last_time) return last_text;
  last_text = time_text(ms);
  last_time = ms;
  return last_text;
}

framed_event frame_event(const json_document& params) {
  auto event = std::make_shared<nx_event>();
  framed_event framed;
  auto& line = event->line;
  line = R"({"jsonrpc":"2.0","method":"event","params":)";
  char separator = '{';
  for (const auto& member : params.GetObject()) {
    line += separator;
    separator = ',';
    append_json_text(line, member.name);
    line += ':';
    const auto start = line.size();
    append_json_text(line, member.value);
    if (member.name == "value") framed.value = line.substr(start);
  }
  line += "}}";
  framed.event = std::move(event);
  return framed;
}

}  // namespace nx
