#include "base/manager/remote/device/interface.h"

#include <fmt/format.h>

#include "platform/wire/nx_error.h"

namespace manager::remote::device {

namespace {

std::string full_path(const path& pattern, const std::string& part) {
  return fmt::format(fmt::runtime(pattern.text), part);
}

bool is_truth(const row& told) {
  return told.value.type == ::device::value_type::truth;
}

// Callers that average a truth value want a number.
float number_of(bool truth) {
  return truth ? 1.0f : 0.0f;
}

}  // namespace

path_group interface::line_paths() const {
  auto paths = line_paths_of(facts_.column, facts_.compensates);
  return {.starting = facts_.starting,
          .complete = paths.empty() ? "" : "Remote subscription complete.",
          .paths = std::move(paths)};
}

path_group interface::channel_paths(unsigned id) const {
  auto paths = channel_paths_of(facts_.column, id);
  if (paths.empty()) return {};
  return {.starting = facts_.starting_channels,
          .complete = "Remote channel subscription complete.",
          .paths = std::move(paths)};
}

template <class Result>
Result interface::get(const subscriber_ptr& values, operation what, const std::string& part) const {
  constexpr bool is_text = std::is_same_v<Result, std::string>;
  const row& told = row_of(what);
  const cell& from = told.of_family(facts_.column);
  if (const auto* refused = std::get_if<refusal>(&from))
    throw nx_error(nx_error::invalid, refused->text);
  if (const auto* pattern = std::get_if<path>(&from)) {
    const auto full = full_path(*pattern, part);
    if constexpr (!is_text) {
      if (is_truth(told)) return number_of(values->get<bool>(full));
    }
    return values->get<Result>(full);
  }
  if constexpr (is_text) {
    return std::get<words>(from).text;
  } else {
    return std::get<float>(from);
  }
}

template float interface::get(const subscriber_ptr&, operation, const std::string&) const;
template std::string interface::get(const subscriber_ptr&, operation, const std::string&) const;

known_number interface::find_known(const subscriber_ptr& values, operation what,
                                   const std::string& part) const {
  const row& told = row_of(what);
  const auto* pattern = std::get_if<path>(&told.of_family(facts_.column));
  if (!pattern) return std::nullopt;
  const auto full = full_path(*pattern, part);
  if (!is_truth(told)) return values->find_known<float>(full);
  const auto found = values->find_known<bool>(full);
  if (!found) return std::nullopt;
  return ::device::reading<float>{number_of(found->value), found->arrived, found->arrivals,
                                  found->changes};
}

bool interface::reports(operation what) const {
  return std::holds_alternative<path>(row_of(what).of_family(facts_.column));
}

std::optional<failing_value> interface::find_failing(const subscriber_ptr& values,
                                                     operation what) const {
  const auto& row = row_of(what);
  const auto* told = std::get_if<path>(&row.of_family(facts_.column));
  if (!told) return std::nullopt;
  const auto since = values->failing_since({row.value.type, told->text, row.value.kind});
  return since ? std::optional(failing_value{told->text, *since}) : std::nullopt;
}

}  // namespace manager::remote::device
