// The ladder in the form for people and programs.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string_view>

#include "base/insight/ladder_book.h"
#include "helpers/db_math.h"
#include "platform/wire/json_text.h"

namespace insight {

namespace {

using number = std::optional<float>;

struct rung {
  const char* point;
  number expected;
  number measured;
  number usual;       ///< difference that is taken for granted
  const char* basis;  ///< basis of the expectation, or why there is none
  std::optional<ladder_point> at{};
};

number operator-(number a, number b) {
  return a && b ? number(*a - *b) : std::nullopt;
}
number operator+(number a, number b) {
  return a && b ? number(*a + *b) : std::nullopt;
}

const char* name_of(ladder_fault what) {
  switch (what) {
    case ladder_fault::port:
      return "port";
    case ladder_fault::connector:
      return "connector";
    case ladder_fault::gain:
      return "gain";
    case ladder_fault::input_tap:
      return "inputTap";
    case ladder_fault::output_tap:
      return "outputTap";
    case ladder_fault::monitor:
      return "monitor";
    case ladder_fault::span:
      return "span";
    case ladder_fault::osc_tap:
      return "oscTap";
    case ladder_fault::dark:
      break;
  }
  return "dark";
}

/// Mean of the lit channels, from their sum.
class mean_of {
 public:
  explicit mean_of(std::size_t channels)
      : share_(channels > 0 ? number(10.0f * std::log10(static_cast<float>(channels)))
                            : std::nullopt) {}
  number operator()(number sum) const { return sum - share_; }

 private:
  number share_;
};

/// Power at which the clients' light enters the switch, less the switch's own loss: from the usual.
number usual_input(const ladder_book::page& page) {
  double sum = 0;
  for (const auto& channel : page.view.lit) {
    const auto usual = page.usual.ports.find(channel.id);
    if (usual == page.usual.ports.end()) return std::nullopt;
    sum += helpers::db_to_linear(usual->second - channel.attenuation);
  }
  return page.view.lit.empty() ? std::nullopt
                               : number(static_cast<float>(helpers::linear_to_db(sum)));
}

// Each expectation inverts the arithmetic of the difference, so that the two never disagree.
number expected_of(number measured, number difference, number usual) {
  return measured - difference + number(usual.value_or(0.0f));
}

std::vector<rung> rungs_out(const ladder_book::page& page) {
  const auto& [view, now, usual, fault] = page;
  const auto sums = sums_of(view);
  const mean_of mean(view.lit.size());
  const number far = sums ? sums->far_monitored + view.far_calibration : std::nullopt;
  return {
      {"client", {}, {}, {}, "unknown: there is no instrument at the client ports"},
      {"switch",
       mean(usual_input(page)),
       mean(view.input),
       {},
       "the clients' powers as learned, less the attenuations",
       ladder_point::ports},
      {"booster", mean(expected_of(view.output, now.amplifier, usual.amplifier)), mean(view.output),
       usual.amplifier, "the booster's input and the gain it reports", ladder_point::amplifier},
      {"line",
       mean(view.sent),
       {},
       {},
       "the booster's output, less the VOA and the board's losses; there is no instrument here"},
      {"fibre",
       {},
       {},
       usual.fibre,
       "loss of the supervisory channel, as learned",
       ladder_point::fibre},
      {"farLine", mean(expected_of(view.received, now.line, usual.line)), mean(view.received),
       usual.line, "the line, less the supervisory channel's loss in the fibre",
       ladder_point::line},
      {"farPreamp", mean(expected_of(far, now.far, usual.far)), mean(far), usual.far,
       "the far line and the gain the peer reports", ladder_point::far},
      {"farClient", {}, {}, {}, "unknown: there is no instrument after the far switch"},
  };
}

std::vector<rung> rungs_in(const ladder_book::page& page) {
  const auto& [view, now, usual, fault] = page;
  const mean_of mean(view.lit.size());
  return {
      {"farClient", {}, {}, {}, "unknown: the peer does not report the parts of its outgoing path"},
      {"farLine", {}, mean(view.sent), {}, "as the peer reports it"},
      {"fibre",
       {},
       {},
       usual.fibre,
       "loss of the supervisory channel, as learned",
       ladder_point::fibre},
      {"line", mean(expected_of(view.received, now.line, usual.line)), mean(view.received),
       usual.line, "the far line, less the supervisory channel's loss in the fibre",
       ladder_point::line},
      {"preamp", mean(expected_of(view.output, now.amplifier, usual.amplifier)), mean(view.output),
       usual.amplifier, "the preamp's input and the gain it reports", ladder_point::amplifier},
      {"client", {}, {}, {}, "unknown: there is no instrument after the switch"},
  };
}

std::string json_of(number value) {
  return value ? fmt::format("{:.2f}", *value) : "\"unknown\"";
}

void add(std::string& text, const char* name, const std::string& json) {
  if (text.back() != '{' && text.back() != '[') text += ',';
  nx::append_json_string(text, name);
  text += ':';
  text += json;
}

std::string quoted(std::string_view text) {
  std::string out;
  nx::append_json_string(out, text);
  return out;
}

std::string basis_of(const rung& at, number difference) {
  if (at.at && !difference) return std::string("unknown: something is missing of ") + at.basis;
  if (!at.usual) return at.basis;
  return fmt::format("{}; {:+.2f} dB is usual", at.basis, *at.usual);
}

/// Per channel if this node's monitor measures it.
std::string channels_of(const ladder_book::page& page, const ladder_finding* fault) {
  std::string text = "[";
  for (const auto& channel : page.view.lit) {
    const auto level = page.now.ports.find(channel.id);
    const auto usual = page.usual.ports.find(channel.id);
    if (level == page.now.ports.end()) continue;
    const number expected = usual == page.usual.ports.end() ? number() : number(usual->second);
    const bool wrong =
        fault != nullptr && std::count(fault->channels.begin(), fault->channels.end(), channel.id);
    if (text.size() > 1) text += ',';
    text += '{';
    add(text, "channel", std::to_string(channel.id));
    add(text, "expected", json_of(expected));
    add(text, "measured", json_of(level->second));
    add(text, "difference", json_of(number(level->second) - expected));
    add(text, "wrong", wrong ? "true" : "false");
    text += '}';
  }
  return text + ']';
}

std::string rung_json(const rung& at, const ladder_book::page& page, light_way way) {
  const bool wrong = at.at && page.fault && page.fault->where == *at.at;
  const bool is_fibre = at.at == ladder_point::fibre;
  const number expected = is_fibre ? at.usual : at.expected;
  const number measured = is_fibre ? page.now.fibre : at.measured;
  const number difference = measured - expected;
  std::string text = "{";
  add(text, "point", quoted(at.point));
  add(text, "unit", is_fibre ? "\"dB\"" : "\"dBm\"");
  add(text, "expected", json_of(expected));
  add(text, "measured", json_of(measured));
  add(text, "difference", json_of(difference));
  add(text, "basis", quoted(is_fibre && difference ? at.basis : basis_of(at, difference)));
  add(text, "wrong", wrong ? "true" : "false");
  if (wrong) {
    add(text, "fault", quoted(name_of(page.fault->what)));
    add(text, "why", quoted(ladder_sentence(*page.fault, way)));
  }
  if (at.at == ladder_point::ports) {
    add(text, "channels", channels_of(page, wrong ? &*page.fault : nullptr));
  }
  return text + '}';
}

const char* place_of(ladder_point where, light_way way) {
  const bool out = way == light_way::rx;
  switch (where) {
    case ladder_point::ports:
      return "between clients and booster";
    case ladder_point::amplifier:
      return out ? "at the booster" : "at the preamp";
    case ladder_point::fibre:
      return out ? "in the fibre that goes out" : "in the fibre that comes in";
    case ladder_point::line:
      return out ? "between booster and far preamp" : "between far booster and preamp";
    case ladder_point::far:
      break;
  }
  return "at the far preamp";
}

const char* darkness_text(ladder_point where, light_way way) {
  const bool out = way == light_way::rx;
  if (where == ladder_point::fibre) {
    return out ? "neither signals nor supervisory light arrive at the far end, and this node sends"
               : "neither signals nor supervisory light arrive, and the far end sends";
  }
  return out ? "no signal arrives at the far end, and this node sends some: a connector"
             : "no signal arrives, and the far end sends some: a connector";
}

std::string cause_of(const ladder_finding& fault, light_way way) {
  const char* sign = fault.by < 0 ? "less" : "more";
  const float by = std::fabs(fault.by);
  switch (fault.what) {
    case ladder_fault::port:
      if (fault.channels.size() == 1) {
        return fmt::format(
            "the channel brings {:.1f} dB {} light than it used to: its laser, its patch cord or "
            "its switch port",
            by, sign);
      }
      return fmt::format(
          "{} channels bring up to {:.1f} dB {} light than they used to: their lasers, patch cords "
          "or switch ports",
          fault.channels.size(), by, sign);
    case ladder_fault::connector:
      return fmt::format(
          "all channels have {:.1f} dB {} light than expected, and the supervisory "
          "channel has not changed: a connector",
          by, sign);
    case ladder_fault::gain:
      if (fault.where == ladder_point::far) {
        return fmt::format(
            "the channels come out {:.1f} dB {} than its input and gain say: the amplifier, or the "
            "monitor there",
            by, fault.by < 0 ? "weaker" : "stronger");
      }
      return fmt::format("the amplifier gives {:.1f} dB {} than it reports", by, sign);
    case ladder_fault::input_tap:
      return fmt::format("the tap at the amplifier's input reads {:.1f} dB {} than there is", by,
                         sign);
    case ladder_fault::output_tap:
      return fmt::format("the tap at the amplifier's output reads {:.1f} dB {} than there is", by,
                         sign);
    case ladder_fault::monitor:
      return fmt::format("the channel monitor reads {:.1f} dB {} than the amplifier's tap", by,
                         sign);
    case ladder_fault::span:
      return fmt::format("the span loses {:.1f} dB {} than it used to", by, sign);
    case ladder_fault::dark:
      return darkness_text(fault.where, way);
    case ladder_fault::osc_tap:
      break;
  }
  return fmt::format(
      "the supervisory channel seems to lose {:.1f} dB {} and the signals do not: "
      "a tap of the supervisory channel",
      by, sign);
}

}  // namespace

std::string ladder_sentence(const ladder_finding& fault, light_way way) {
  return fmt::format("{}: {}", place_of(fault.where, way), cause_of(fault, way));
}

std::string ladder_json(const ladder_book::page& page, light_way way) {
  const auto rungs = way == light_way::rx ? rungs_out(page) : rungs_in(page);
  std::string list = "[";
  const char* wrong = nullptr;
  for (const auto& each : rungs) {
    if (list.size() > 1) list += ',';
    list += rung_json(each, page, way);
    if (each.at && page.fault && page.fault->where == *each.at) wrong = each.point;
  }
  std::string text = "{";
  add(text, "channels", std::to_string(page.view.lit.size()));
  add(text, "wrong", wrong != nullptr ? quoted(wrong) : "null");
  add(text, "why", page.fault ? quoted(ladder_sentence(*page.fault, way)) : "null");
  add(text, "rungs", list + ']');
  return text + '}';
}

}  // namespace insight
