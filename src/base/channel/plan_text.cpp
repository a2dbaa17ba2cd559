#include "base/channel/plan_text.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include "base/channel/arithmetic.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/nx_error.h"

namespace channel {

namespace {

struct bad_entry {
  std::string fault;
};

std::int64_t integer_member(const nx::json_value& entry, const char* name) {
  const auto* member = nx::member_of(entry, name);
  if (!member) throw bad_entry{fmt::format("{} is missing", name)};
  if (!member->IsInt()) throw bad_entry{fmt::format("{} is no integer", name)};
  return member->GetInt();
}

void require_range(const char* name, std::int64_t value, std::int64_t from, std::int64_t to) {
  if (value >= from && value <= to) return;
  throw bad_entry{fmt::format("{} {} is not within {} to {}", name, value, from, to)};
}

void require_fit(const plan_entry& entry, const std::vector<plan_entry>& others) {
  for (const auto& other : others) {
    if (!overlap(entry.center_frequency, entry.width, other.center_frequency, other.width)) {
      continue;
    }
    throw bad_entry{fmt::format("{}, width {}, overlaps with {}, width {}", entry.center_frequency,
                                entry.width, other.center_frequency, other.width)};
  }
}

plan_entry parse_entry(const nx::json_value& entry, std::uint32_t band_slices) {
  const auto port = integer_member(entry, "port");
  const auto center = integer_member(entry, "center_frequency");
  const auto width = integer_member(entry, "width");
  require_range("port", port, 1, highest_port);
  require_range("center_frequency", center, lowest_center, highest_center);
  require_range("width", width, 1, band_width(band_slices));
  plan_entry result{static_cast<std::uint32_t>(center), static_cast<std::uint32_t>(width),
                    static_cast<std::uint32_t>(port)};
  if (const auto* version = nx::member_of(entry, "version"); version && version->IsString()) {
    result.version = nx::text_member(entry, "version");
  }
  return result;
}

nx_error not_a_plan(const std::string& fault) {
  return nx_error(nx_error::invalid, "Stored channel plan is not an array of objects: " + fault);
}

nx::json_document parse_array(const std::string& text) {
  nx::json_document document;
  try {
    document = nx::parse_json(text);
  } catch (const nx_error& error) {
    throw not_a_plan(error.message);
  }
  if (!document.IsArray()) throw not_a_plan(std::string("found ") + nx::json_type_name(document));
  return document;
}

void take_entry(const nx::json_value& element, std::uint32_t band_slices, parsed_plan& plan) {
  const auto number = plan.entries.size() + plan.left_out + 1;
  try {
    auto entry = parse_entry(element, band_slices);
    require_fit(entry, plan.entries);
    plan.entries.push_back(std::move(entry));
  } catch (const bad_entry& bad) {
    if (++plan.left_out == 1) plan.first_fault = fmt::format("entry {}: {}", number, bad.fault);
  }
}

}  // namespace

parsed_plan parse_plan(const std::string& text, std::uint32_t band_slices) {
  parsed_plan result;
  if (text.empty()) return result;
  const auto document = parse_array(text);
  for (const auto& element : document.GetArray()) {
    if (!element.IsObject()) {
      throw not_a_plan(std::string("found an element of type ") + nx::json_type_name(element));
    }
    take_entry(element, band_slices, result);
  }
  // Not an empty plan, which would clear the devices: nobody asked for that.
  if (result.left_out > 0 && result.entries.empty()) {
    throw nx_error(nx_error::invalid,
                   "Stored channel plan is not usable, no entry is good: " + result.first_fault);
  }
  return result;
}

std::string plan_to_text(const std::vector<plan_entry>& entries) {
  std::string text;
  for (const auto& entry : entries) {
    text += fmt::format(",{{\"center_frequency\":{},\"width\":{},\"port\":{},\"version\":\"{}\"}}",
                        entry.center_frequency, entry.width, entry.port, entry.version);
  }
  return fmt::format("[{}]", text.empty() ? text : text.substr(1));
}

}  // namespace channel
