#include "tools/lab/channel_table.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace tools::lab {

namespace {

// The scale of the bars: from far below to above any target, dBm.
constexpr double scale_from = -25.0;
constexpr double scale_to = 10.0;
// Less than this counts as no light, dBm.
constexpr double dark_dbm = -60.0;

constexpr unsigned narrowest_bar = 10;
constexpr unsigned widest_bar = 36;
// From this width on there is room for target and truth.
constexpr unsigned wide_screen = 100;
constexpr unsigned narrow_figures = 34;
constexpr unsigned wide_figures = 50;
// Width of the state and the beginning of its reason.
constexpr unsigned words_width = 34;

bool is_wide(unsigned columns) {
  return columns >= wide_screen;
}

unsigned bar_columns(unsigned columns) {
  const auto taken = (is_wide(columns) ? wide_figures : narrow_figures) + words_width;
  return std::clamp(columns > taken ? columns - taken : 0, narrowest_bar, widest_bar);
}

std::string figure_text(const insight::figure& value, const char* format) {
  return value ? fmt::format(fmt::runtime(format), *value) : "-";
}

/// A channel that is as it should be needs no reason.
std::string words_of(const channel_row& row) {
  const auto how = row.severity();
  const bool told = how == states::severity::person || how == states::severity::working;
  if (!told || row.of.why.empty()) return row.of.state_text;
  const bool repeats = row.of.why.find(row.of.state_text) != row.of.why.npos;
  return repeats ? row.of.why : row.of.state_text + ": " + row.of.why;
}

}  // namespace

std::string power_bar(const bar_figures& of, unsigned columns, bool unicode) {
  const auto step = (scale_to - scale_from) / columns;
  const auto place = (of.target - scale_from) / step;
  const auto mark = std::clamp(place, 0.0, static_cast<double>(columns - 1));
  std::string bar;
  for (unsigned column = 0; column < columns; ++column) {
    const double middle = scale_from + (column + 0.5) * step;
    const bool full = middle <= of.power - of.headroom_down;
    const bool light = middle <= of.power;
    const bool possible = middle <= of.power + of.headroom_up;
    if (column == static_cast<unsigned>(mark)) {
      bar += unicode ? (light ? "┃" : "│") : "|";
    } else if (unicode) {
      bar += full ? "█" : light ? "▓" : possible ? "░" : " ";
    } else {
      bar += full ? '#' : light ? '=' : possible ? '.' : ' ';
    }
  }
  return bar;
}

std::string table_title(unsigned columns) {
  const auto bar = bar_columns(columns);
  auto text =
      fmt::format("{:>8}    {:<{}} {:>6} {:>6} {:>5}", "THz", "dBm", bar, "meas.", "error", "att.");
  if (is_wide(columns)) text += fmt::format(" {:>7} {:>7}", "target", "true");
  return cut(text + "  state", columns);
}

std::string table_row(const channel_row& row, unsigned columns, look how) {
  const auto& of = row.of;
  const bool lit = row.is_lit() && of.measured;
  const bar_figures bar{lit ? *of.measured : scale_from, of.target.value_or(scale_from),
                        lit ? of.headroom_up.value_or(0.0) : 0.0,
                        lit ? of.headroom_down.value_or(0.0) : 0.0};
  auto text = fmt::format("{:>8} {} {} {:>6} {:>6} {:>5}", insight::thz_text(of.place.frequency),
                          of.is_rx ? "rx" : "tx", power_bar(bar, bar_columns(columns), how.unicode),
                          lit ? figure_text(of.measured, "{:.2f}") : "-",
                          lit ? figure_text(of.error, "{:+.2f}") : "-",
                          figure_text(of.attenuation, "{:.1f}"));
  if (is_wide(columns)) {
    const bool light = row.truth && *row.truth > dark_dbm;
    text += fmt::format(" {:>7} {:>7}", figure_text(of.target, "{:.2f}"),
                        light ? fmt::format("{:.2f}", *row.truth) : "-");
  }
  text = shortened(text + "  " + words_of(row), columns, how);
  return of.state ? painted(text, states::row_of(*of.state).shown, how) : text;
}

}  // namespace tools::lab
