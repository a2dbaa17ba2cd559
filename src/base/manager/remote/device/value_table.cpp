#include "base/manager/remote/device/value_table.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <type_traits>
#include <utility>

namespace manager::remote::device {

namespace {

using enum scope;
using enum ::device::value_type;
using enum ::device::reading_kind;

/// Another family's cell of the row. The order of a path is the family's own.
struct same_as {
  family other;
  unsigned place = 0;
};

constexpr same_as as_orva{family::orva};
constexpr same_as as_selka{family::selka};
constexpr same_as as_orva_at(unsigned place) {
  return {family::orva, place};
}

using written_cell = std::variant<path, refusal, words, float, same_as>;
using written_cells = std::array<written_cell, 4>;

// By std::get throughout: g++ 12 cannot take an address within a constant that is being
// initialised.
constexpr cell resolve(family peer, const written_cells& cells) {
  const auto& written = cells[static_cast<std::size_t>(peer)];
  if (std::holds_alternative<path>(written)) return std::get<path>(written);
  if (std::holds_alternative<refusal>(written)) return std::get<refusal>(written);
  if (std::holds_alternative<words>(written)) return std::get<words>(written);
  if (std::holds_alternative<float>(written)) return std::get<float>(written);
  const auto same = std::get<same_as>(written);
  const auto other = resolve(same.other, cells);
  if (!std::holds_alternative<path>(other)) return other;
  return path{std::get<path>(other).text, same.place};
}

constexpr row make_row(const char* getter, scope of, told value, const written_cells& cells) {
  return {getter,
          of,
          value,
          {resolve(family::orva, cells), resolve(family::selka, cells),
           resolve(family::tarn, cells), resolve(family::unknown, cells)}};
}

constexpr std::array table{
#define PEER_VALUE(result, getter, of, told, ...) make_row(#getter, of, told, {__VA_ARGS__}),
#include "base/manager/remote/device/peer_values.def"
#undef PEER_VALUE
};

static_assert(table.size() == static_cast<std::size_t>(operation::count));

// The cache holds each value under its subscribed type, and a constant has the same type.
#define PEER_VALUE(result, getter, of, value, ...)                                 \
  static_assert(std::is_same_v<result, std::string> == (told(value).type == text), \
                #getter " gives another type than the peer tells");
#include "base/manager/remote/device/peer_values.def"
#undef PEER_VALUE

static_assert(std::all_of(table.begin(), table.end(), [](const row& entry) {
  const bool gives_text = entry.value.type == text;
  return std::none_of(entry.of_families.begin(), entry.of_families.end(), [&](const cell& from) {
    return gives_text ? std::holds_alternative<float>(from) : std::holds_alternative<words>(from);
  });
}));

constexpr bool is_restless(const row& entry) {
  const auto kind = entry.value.kind;
  return entry.of == line &&
         (kind == tap_power || kind == osc_power || kind == saturation || kind == span_loss);
}

constexpr auto restless = [] {
  std::array<operation, std::count_if(table.begin(), table.end(), is_restless)> all{};
  auto next = all.begin();
  for (std::size_t i = 0; i < table.size(); ++i) {
    if (is_restless(table[i])) *next++ = static_cast<operation>(i);
  }
  return all;
}();

/// Walks the table, then moves values with a place to that place.
class path_list {
 public:
  explicit path_list(family peer) : peer_(peer) {}

  void add(const row& entry, const std::string& part) {
    const auto* told = std::get_if<path>(&entry.of_family(peer_));
    if (!told) return;
    paths_.push_back(
        {told->place,
         {entry.value.type, fmt::format(fmt::runtime(told->text), part), entry.value.kind}});
  }

  std::vector<::device::wanted_path> in_order() && {
    std::stable_sort(paths_.begin(), paths_.end(), [](const auto& one, const auto& other) {
      return one.first - 1 < other.first - 1;  // 0 wraps round to the end
    });
    std::vector<::device::wanted_path> all;
    for (auto& [place, wanted] : paths_)
      all.push_back(std::move(wanted));
    return all;
  }

 private:
  const family peer_;
  std::vector<std::pair<unsigned, ::device::wanted_path>> paths_;
};

}  // namespace

const row& row_of(operation what) {
  return table.at(static_cast<std::size_t>(what));
}

std::vector<::device::wanted_path> line_paths_of(family peer, bool compensates) {
  path_list list(peer);
  for (const row& entry : table) {
    if (entry.of == line || (entry.of == compensator && compensates)) list.add(entry, "");
    if (entry.of != direction) continue;
    list.add(entry, "rx");
    list.add(entry, "tx");
  }
  return std::move(list).in_order();
}

std::vector<::device::wanted_path> channel_paths_of(family peer, unsigned id) {
  path_list list(peer);
  for (const row& entry : table) {
    if (entry.of == channel) list.add(entry, fmt::to_string(id));
  }
  return std::move(list).in_order();
}

std::span<const operation> restless_values() {
  return restless;
}

}  // namespace manager::remote::device
