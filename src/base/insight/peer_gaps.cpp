#include "base/insight/peer_gaps.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <array>

#include "platform/value_tree/event_frame.h"
#include "platform/wire/json_conversion.h"

namespace insight {

namespace {

using nx::json_allocator;
using nx::json_value;

struct part_row {
  const char* name;
  const char* meanwhile;
};

// clang-format off
constexpr auto parts = std::to_array<part_row>({
    {"preamp", "the line goes on by the monitor at the peer; that preamp's saturation and the loss of the fibre that goes out stay as they were told last"},
    {"booster or VOA", "what follows the loss of the fibre that comes in stays as it is; everything else goes on"},
    {"supervisory transceiver", "regulation goes on; the loss of the supervisory channel stays as it was told last"},
    {"supervisory channel", "regulation goes on with the fibre's length as it was told last"},
    {"spans", "line attenuator and gain stay as they are"},
});
// clang-format on
static_assert(parts.size() == static_cast<std::size_t>(peer_part::count));

json_value json_of(const peer_gap& gap, json_allocator& allocator) {
  json_value values(rapidjson::kArrayType);
  for (const auto& path : gap.paths)
    values.PushBack(nx::to_json(path, allocator), allocator);
  json_value entry(rapidjson::kObjectType);
  entry.AddMember("part", rapidjson::StringRef(name_of(gap.part)), allocator);
  entry.AddMember("since", nx::to_json(nx::event_time(gap.since), allocator), allocator);
  entry.AddMember("values", values, allocator);
  entry.AddMember("meanwhile", rapidjson::StringRef(meanwhile(gap.part)), allocator);
  return entry;
}

}  // namespace

const char* name_of(peer_part part) {
  return parts.at(static_cast<std::size_t>(part)).name;
}

const char* meanwhile(peer_part part) {
  return parts.at(static_cast<std::size_t>(part)).meanwhile;
}

nx::json_document peer_json(const peer_view& view) {
  nx::json_document document(rapidjson::kObjectType);
  auto& allocator = document.GetAllocator();
  json_value unreadable(rapidjson::kArrayType);
  for (const auto& gap : view.gaps)
    unreadable.PushBack(json_of(gap, allocator), allocator);
  document.AddMember("product", nx::to_json(view.product, allocator), allocator);
  document.AddMember("unreadable", unreadable, allocator);
  return document;
}

std::string peer_brief(const peer_view& view) {
  if (view.gaps.empty()) return view.product;
  std::vector<const char*> names;
  for (const auto& gap : view.gaps)
    names.push_back(name_of(gap.part));
  return fmt::format("{} (its {} cannot be read)", view.product, fmt::join(names, ", "));
}

}  // namespace insight
