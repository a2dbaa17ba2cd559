#include "tools/lab/panel_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace tools::lab {

namespace {

struct lamp {
  const char* colour;
  const char* letter;
  const char* code;  ///< of the terminal
};

constexpr std::array<lamp, 5> lamps{{{"off", ".", "\x1b[2m"},
                                     {"green", "G", "\x1b[32m"},
                                     {"yellow", "Y", "\x1b[93m"},
                                     {"orange", "O", "\x1b[33m"},
                                     {"red", "R", "\x1b[31m"}}};

const lamp& lamp_of(const std::string& colour) {
  const auto* found = std::find_if(lamps.begin(), lamps.end(),
                                   [&](const lamp& each) { return colour == each.colour; });
  return found == lamps.end() ? lamps.front() : *found;
}

/// A line that ends at the edge of the screen, whatever colours are in it.
class line_writer {
 public:
  line_writer(unsigned columns, look how) : left_(columns), how_(how) {}

  void words(const std::string& ascii) {
    const auto shown = ascii.substr(0, left_);
    text_ += shown;
    left_ -= static_cast<unsigned>(shown.size());
  }
  void light(const std::string& colour) {
    if (left_ == 0) return;
    --left_;
    const auto& shown = lamp_of(colour);
    const bool is_off = shown.letter == lamps.front().letter;
    // Without colours a dot would not distinguish green from red.
    const char* sign = !how_.colours || !how_.unicode ? shown.letter : is_off ? "○" : "●";
    text_ += how_.colours ? fmt::format("{}{}\x1b[0m", shown.code, sign) : std::string(sign);
  }
  void lights(const std::string& name, const std::vector<std::string>& colours) {
    if (colours.empty()) return;
    words("  " + name + " ");
    for (const auto& colour : colours)
      light(colour);
  }
  const std::string& text() const { return text_; }

 private:
  std::string text_;
  unsigned left_;
  look how_;
};

std::string side_line(const char* name, const panel_side& of, unsigned columns, look how) {
  line_writer line(columns, how);
  line.words(fmt::format("leds {}", name));
  line.lights("line", {of.line});
  line.lights("client", of.clients);
  line.lights("xc", of.cross_connects);
  return line.text();
}

}  // namespace

std::vector<std::string> panel_lines(const panel& lights, unsigned columns, look how) {
  return {side_line("rx", lights.rx, columns, how), side_line("tx", lights.tx, columns, how)};
}

}  // namespace tools::lab
