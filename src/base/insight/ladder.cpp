#include "base/insight/ladder.h"

#include <algorithm>
#include <cmath>

#include "base/manager/loops/line_arithmetic.h"
#include "helpers/db_math.h"

namespace insight {

namespace {

using namespace ladder_limits;

// For a single channel: attenuator and monitor are off by a few tenths, and a laser is not
// constant.
constexpr float noticed_of_one = 1.5f;
// Two differences are due to the same instrument if they cancel to within this.
constexpr float cancels_within = 0.7f;
constexpr std::size_t enough_for_a_median = 4;

float dbm(double milliwatts) {
  return static_cast<float>(helpers::linear_to_db(milliwatts));
}

std::optional<float> operator-(std::optional<float> a, std::optional<float> b) {
  return a && b ? std::optional(*a - *b) : std::nullopt;
}

std::optional<float> operator+(std::optional<float> a, std::optional<float> b) {
  return a && b ? std::optional(*a + *b) : std::nullopt;
}

bool exceeds(std::optional<float> deviation, float limit) {
  return deviation && std::fabs(*deviation) > limit;
}

bool cancel(std::optional<float> a, std::optional<float> b) {
  return a && b && std::fabs(*b) > noticed / 2 && std::fabs(*a + *b) < cancels_within;
}

/// The difference less the usual one, if that is known; otherwise compared with `limit`.
struct deviation {
  std::optional<float> by;
  bool is_wrong;

  deviation(std::optional<float> now, std::optional<float> usual, std::optional<float> limit)
      : by(usual   ? now - usual
           : limit ? now
                   : std::nullopt),
        is_wrong(exceeds(by, usual ? noticed : limit.value_or(0))) {}
};

std::optional<ladder_finding> port_fault(const differences& now, const differences& usual,
                                         float common) {
  ladder_finding found{.where = ladder_point::ports, .what = ladder_fault::port, .by = 0};
  for (const auto& [id, level] : now.ports) {
    const auto known = usual.ports.find(id);
    if (known == usual.ports.end()) continue;
    const float by = level - known->second - common;
    if (std::fabs(by) <= noticed_of_one) continue;
    found.channels.push_back(id);
    if (std::fabs(by) > std::fabs(found.by)) found.by = by;
  }
  return found.channels.empty() ? std::nullopt : std::optional(found);
}

std::optional<ladder_finding> amplifier_fault(const deviation& amplifier,
                                              const deviation& monitor) {
  const auto at = ladder_point::amplifier;
  if (amplifier.is_wrong) {
    const auto what =
        cancel(amplifier.by, monitor.by) ? ladder_fault::output_tap : ladder_fault::gain;
    return ladder_finding{.where = at, .what = what, .by = *amplifier.by};
  }
  if (!monitor.is_wrong) return std::nullopt;
  return ladder_finding{.where = at, .what = ladder_fault::monitor, .by = *monitor.by};
}

/// While no light arrives, what instruments behind it show is their own noise.
std::optional<ladder_finding> dark_fault(const differences& now) {
  using enum differences::darkness;
  if (now.dark == none) return std::nullopt;
  const auto where = now.dark == everything ? ladder_point::fibre : ladder_point::line;
  return ladder_finding{.where = where, .what = ladder_fault::dark, .by = 0};
}

/// The far end's light may be lost on the way, and no channel be left here.
bool carries_signals(std::optional<float> sent) {
  constexpr float more_than_noise_dbm = -10.0f;
  return sent && *sent > more_than_noise_dbm;
}

differences::darkness darkness_of(const ladder_view& view) {
  using enum differences::darkness;
  if (!view.is_dark) return none;
  return view.is_osc_dark ? everything : signals;
}

/// `behind` is what follows the line: a tap that is off shows there with the opposite sign.
std::optional<ladder_finding> span_fault(const deviation& fibre, const deviation& line,
                                         std::optional<float> behind) {
  if (fibre.is_wrong) {
    // If a fibre's loss has grown, the signals lose as much as the supervisory channel.
    const bool signals_agree = !line.by || std::fabs(*line.by) < std::fabs(*fibre.by) / 2;
    return ladder_finding{.where = ladder_point::fibre,
                          .what = signals_agree ? ladder_fault::span : ladder_fault::osc_tap,
                          .by = *fibre.by};
  }
  if (!line.is_wrong) return std::nullopt;
  return ladder_finding{
      .where = ladder_point::line,
      .what = cancel(line.by, behind) ? ladder_fault::input_tap : ladder_fault::connector,
      .by = *line.by};
}

}  // namespace

std::optional<ladder_sums> sums_of(const ladder_view& view) {
  if (view.lit.empty()) return std::nullopt;
  double monitored = 0;
  double before_switch = 0;
  double far = 0;
  bool all_far = true;
  for (const auto& channel : view.lit) {
    monitored += helpers::db_to_linear(channel.monitored);
    before_switch += helpers::db_to_linear(channel.monitored + channel.attenuation);
    all_far = all_far && channel.far;
    if (channel.far) far += helpers::db_to_linear(*channel.far);
  }
  return ladder_sums{.monitored = dbm(monitored),
                     .far_monitored = all_far ? std::optional(dbm(far)) : std::nullopt,
                     .inside = view.switch_inside ? dbm(monitored) - dbm(before_switch) : 0.0f};
}

std::optional<float> span_by_osc(const ladder_view& view) {
  if (!view.osc_sent || !view.osc_received) return std::nullopt;
  return manager::loops::signal_loss_from_osc(*view.osc_sent, *view.osc_received);
}

differences differences_of(const ladder_view& view, light_way way) {
  differences found{.fibre = view.osc_sent - view.osc_received, .dark = darkness_of(view)};
  const auto sums = sums_of(view);
  if (sums || carries_signals(view.sent)) {
    found.line = view.received - (view.sent - span_by_osc(view));
  }
  if (!sums) return found;
  const std::optional<float> inside = sums->inside;
  const std::optional<float> monitored = sums->monitored;
  found.amplifier = view.output - (view.input + view.gain + inside);
  found.monitor = monitored + view.calibration - view.output;
  if (way == light_way::tx) return found;
  found.far = sums->far_monitored + view.far_calibration - (view.received + view.far_gain);
  if (!view.input) return found;
  // The monitor after the amplifier shows how the input is divided; the tap shows how much it is.
  for (const auto& channel : view.lit) {
    found.ports[channel.id] =
        *view.input + channel.monitored - sums->monitored + channel.attenuation;
  }
  return found;
}

std::optional<float> common_deviation(const std::map<unsigned, float>& now,
                                      const std::map<unsigned, float>& usual) {
  std::vector<float> deviations;
  for (const auto& [id, level] : now) {
    const auto known = usual.find(id);
    if (known != usual.end()) deviations.push_back(level - known->second);
  }
  if (deviations.empty()) return std::nullopt;
  std::sort(deviations.begin(), deviations.end());
  if (deviations.size() >= enough_for_a_median) return deviations[deviations.size() / 2];
  return *std::min_element(deviations.begin(), deviations.end(),
                           [](float a, float b) { return std::fabs(a) < std::fabs(b); });
}

std::optional<ladder_finding> first_fault(const differences& now, const differences& usual,
                                          light_way way) {
  const deviation amplifier(now.amplifier, usual.amplifier, ladder_limits::amplifier);
  const deviation monitor(now.monitor, usual.monitor, ladder_limits::amplifier);
  const deviation fibre(now.fibre, usual.fibre, std::nullopt);
  const deviation line(now.line, usual.line, ladder_limits::line);
  const deviation far(now.far, usual.far, ladder_limits::line);
  if (way == light_way::tx) {
    auto found = dark_fault(now);
    if (!found) found = span_fault(fibre, line, amplifier.by);
    return found ? found : amplifier_fault(amplifier, monitor);
  }
  const auto common = common_deviation(now.ports, usual.ports);
  if (common) {
    if (auto found = port_fault(now, usual, *common)) return found;
    if (exceeds(common, noticed)) {
      const auto what =
          cancel(common, amplifier.by) ? ladder_fault::input_tap : ladder_fault::connector;
      return ladder_finding{.where = ladder_point::ports, .what = what, .by = *common};
    }
  }
  if (auto found = amplifier_fault(amplifier, monitor)) return found;
  if (auto found = dark_fault(now)) return found;
  if (auto found = span_fault(fibre, line, far.by)) return found;
  if (!far.is_wrong) return std::nullopt;
  return ladder_finding{.where = ladder_point::far, .what = ladder_fault::gain, .by = *far.by};
}

}  // namespace insight
