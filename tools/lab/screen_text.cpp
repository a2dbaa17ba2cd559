#include "tools/lab/screen_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string_view>

#include "tools/lab/panel_text.h"

namespace tools::lab {

namespace {

constexpr unsigned header_lines = 8;
// The road of the light and the panel, where there is room for them.
constexpr unsigned more_header_lines = 5;
constexpr unsigned rows_for_more = 24;
constexpr unsigned footer_lines = 1;
constexpr unsigned narrowest_bar = 10;
constexpr unsigned widest_bar = 40;
// Columns of a row beside the bar.
constexpr unsigned figures_width = 69;

// The scale of the bars: from far below any target to above each.
constexpr float scale_from_dbm = -25.0F;
constexpr float scale_to_dbm = 10.0F;
// Less than this is no light.
constexpr float dark_dbm = -60.0F;

constexpr const char* normal = "\x1b[0m";
constexpr const char* bold = "\x1b[1m";
constexpr const char* faint = "\x1b[2m";

const char* colour_of(channel_state state) {
  switch (state) {
    case channel_state::on_target:
      return "\x1b[32m";
    case channel_state::settling:
      return "\x1b[33m";
    case channel_state::resting_off_target:
      return "\x1b[36m";
    case channel_state::exhausted:
      return "\x1b[31m";
    case channel_state::blocked:
      return "\x1b[35m";
    case channel_state::dark:
      return faint;
  }
  return normal;
}

std::string painted(const std::string& text, const char* colour, look how) {
  return how.colours ? colour + text + normal : text;
}

/// Without a unit the number alone, for two figures that share one.
std::string figure(const std::optional<double>& value, std::string_view unit = {},
                   int decimals = 1) {
  const auto number = value ? fmt::format("{:.{}f}", *value, decimals) : std::string("-");
  return unit.empty() ? number : fmt::format("{} {}", number, unit);
}

/// Cut to the width of the screen, counted in characters of UTF-8, before colours are put on.
std::string cut(const std::string& text, unsigned columns) {
  unsigned seen = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const bool begins = (static_cast<unsigned char>(text[at]) & 0xC0U) != 0x80U;
    if (begins && ++seen > columns) return text.substr(0, at);
  }
  return text;
}

std::string clock_text(std::chrono::seconds running) {
  const auto total = running.count();
  return fmt::format("{:02}:{:02}:{:02}", total / 3600, total / 60 % 60, total % 60);
}

std::string amplifier_line(const char* name, const amplifier_figures& of) {
  return fmt::format("{}  in {:>5}  out {:>9}  gain {:>7}  limit {}", name, figure(of.in_dbm),
                     figure(of.out_dbm, "dBm"), figure(of.gain_db, "dB"),
                     figure(of.limit_dbm, "dBm"));
}

std::string line_line(const view& seen) {
  return fmt::format("line     in {:>5}  out {:>9}  VOA {:>8}  span {}  fibre {}",
                     figure(seen.line_rx_dbm), figure(seen.line_tx_dbm, "dBm"),
                     figure(seen.voa_db, "dB"), figure(seen.span_loss_db, "dB"),
                     figure(seen.fibre_km, "km"));
}

std::string lms_line(const view& seen) {
  return fmt::format("lms      error {}  next step {}  monitor calibration {}  in use {}",
                     figure(seen.lms_error, {}, 2), figure(seen.lms_step_db, "dB", 2),
                     figure(seen.calibration_db, "dB", 2), figure(seen.utilization, "%"));
}

constexpr const char* path_title =
    "light    client switch booster   line  | span |   line preamp client   dBm of a typical "
    "channel";

std::string path_line(const char* name, const light_path& path) {
  return fmt::format("{:<8}{:>7} {:>6} {:>7} {:>6}  |{:>5} | {:>6} {:>6} {:>6}", name,
                     figure(path.client), figure(path.after_switch), figure(path.booster),
                     figure(path.line), figure(path.span_db), figure(path.far_line),
                     figure(path.far_preamp), figure(path.far_client));
}

std::vector<std::string> header(const view& seen, const picture_options& options) {
  const auto sums = count(seen);
  const auto& loops = seen.loops;
  const auto node = options.node.empty() ? "" : fmt::format("   {} node", options.node);
  return {fmt::format("lumora lab   {}{}   {}   {} of {} lit channels on target   peer {}",
                      options.product, node, clock_text(options.running), sums.on_target, sums.lit,
                      seen.peer),
          fmt::format("loops    line {}  client rx {}  client tx {}  turn {}  mode {}", loops.line,
                      loops.rx, loops.tx, loops.turn, seen.automation_mode),
          fmt::format("{}  sat. {}", amplifier_line("booster", seen.booster),
                      figure(seen.saturation_db, "dB")),
          amplifier_line("preamp ", seen.preamp),
          line_line(seen),
          lms_line(seen),
          ""};
}

unsigned bar_columns(screen_size size) {
  const auto room = size.columns > figures_width ? size.columns - figures_width : 0;
  return std::clamp(room, narrowest_bar, widest_bar);
}

std::string title_row(unsigned bar) {
  return fmt::format("{:>8} {:<{}} {:>8} {:>6} {:>6} {:>5} {:>6}  {}", "THz", "dBm", bar,
                     "measured", "target", "error", "att.", "true", "state");
}

std::string channel_line(const channel_row& row, unsigned bar, bool unicode) {
  const bool lit = row.state != channel_state::dark && row.state != channel_state::blocked;
  const bool light = row.truth && *row.truth > dark_dbm;
  return fmt::format("{:>8.3f} {} {:>8} {:>6.2f} {:>6} {:>5.1f} {:>6}  {}", row.frequency_thz,
                     power_bar(lit ? row.measured : scale_from_dbm, row.target, bar, unicode),
                     lit ? fmt::format("{:.2f}", row.measured) : "-", row.target,
                     lit ? fmt::format("{:+.2f}", row.error) : "-", row.attenuation,
                     light ? fmt::format("{:.2f}", *row.truth) : "-", name_of(row.state));
}

/// A typical channel from end to end, and the panel.
std::vector<std::string> more_header(const view& seen, screen_size size, look how) {
  if (size.rows < rows_for_more) return {};
  std::vector<std::string> lines{path_title, path_line(" going", seen.outgoing),
                                 path_line(" coming", seen.incoming)};
  for (auto& line : lines)
    line = cut(line, size.columns);
  lines.front() = painted(lines.front(), faint, how);
  for (auto& line : panel_lines(seen.lights, size.columns, how))
    lines.push_back(std::move(line));
  return lines;
}

unsigned visible_channels(screen_size size) {
  const auto more = size.rows < rows_for_more ? 0 : more_header_lines;
  const auto taken = header_lines + more + footer_lines;
  return size.rows > taken ? size.rows - taken : 0;
}

}  // namespace

std::string power_bar(float power, float target, unsigned columns, bool unicode) {
  constexpr std::array<const char*, 8> eighths{"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
  const auto place = [columns](float dbm) {
    const auto share = (dbm - scale_from_dbm) / (scale_to_dbm - scale_from_dbm);
    return std::clamp(share, 0.0F, 1.0F) * static_cast<float>(columns);
  };
  const auto steps = static_cast<unsigned>(std::lround(place(power) * 8.0F));
  const auto mark = std::min(static_cast<unsigned>(place(target)), columns - 1);
  std::string bar;
  for (unsigned column = 0; column < columns; ++column) {
    const bool full = steps >= (column + 1) * 8;
    if (column == mark) {
      bar += unicode ? (full ? "┃" : "│") : "|";
    } else if (full) {
      bar += unicode ? "█" : "=";
    } else if (unicode && steps > column * 8) {
      bar += eighths[steps - column * 8];
    } else {
      bar += ' ';
    }
  }
  return bar;
}

unsigned last_first_row(const view& seen, screen_size size) {
  const auto shown = visible_channels(size);
  const auto all = static_cast<unsigned>(seen.channels.size());
  return all > shown ? all - shown : 0;
}

std::vector<std::string> picture(const view& seen, const picture_options& options, screen_size size,
                                 look how) {
  const auto bar = bar_columns(size);
  auto lines = header(seen, options);
  for (auto& line : lines)
    line = cut(line, size.columns);
  lines.front() = painted(lines.front(), bold, how);
  const auto more = more_header(seen, size, how);
  lines.insert(lines.end() - 1, more.begin(), more.end());
  lines.push_back(painted(cut(title_row(bar), size.columns), faint, how));
  const auto first = std::min(options.first_row, last_first_row(seen, size));
  const auto end = std::min<std::size_t>(first + visible_channels(size), seen.channels.size());
  for (std::size_t at = first; at < end; ++at) {
    const auto& row = seen.channels[at];
    const auto text = cut(channel_line(row, bar, how.unicode), size.columns);
    lines.push_back(painted(text, colour_of(row.state), how));
  }
  lines.push_back(painted(cut(options.note, size.columns), faint, how));
  if (lines.size() > size.rows) lines.resize(size.rows);
  return lines;
}

}  // namespace tools::lab
