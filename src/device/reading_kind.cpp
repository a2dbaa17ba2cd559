#include "device/reading_kind.h"

#include <fmt/format.h>

#include <array>
#include <cstddef>

namespace device {

namespace {

constexpr number_range never{1.0f, 0.0f};
/// Services send -99 for "no light"; sums of two such are near -96, and the board's calibration
/// shifts both by some dB.
constexpr number_range dark{-110.0f, -70.0f};

using table = std::array<reading_limits, static_cast<std::size_t>(reading_kind::count)>;

// In the order of the kinds.
constexpr table all_limits{{
    {"number", "", {-1e5f, 1e5f}, never, "all quantities of a node are far smaller"},
    {"channel power",
     "dBm",
     {-70.0f, 30.0f},
     never,
     "a monitor's floor lies well above -70, and 30 dBm in one channel is beyond the whole of any "
     "amplifier here"},
    {"total power", "dBm", {-70.0f, 30.0f}, never, "as a channel's: the same detector"},
    {"tap power", "dBm", {-70.0f, 35.0f}, dark, "taps end near -60, amplifiers at 23 dBm"},
    {"OSC power",
     "dBm",
     {-60.0f, 15.0f},
     {-110.0f, -60.0f},
     "optics of 0 dBm that see -40 at best"},
    {"detection level", "dBm", {-70.0f, 30.0f}, never, "lies within what the monitor can tell"},
    {"attenuation",
     "dB",
     {-0.5f, 30.0f},
     {90.0f, 110.0f},
     "attenuators end at 15 to 25 dB and read back half a dB off; a blocked channel reads about "
     "100"},
    {"gain",
     "dB",
     {-30.0f, 50.0f},
     never,
     "amplifiers give 15 to 35 dB; one that is off lets less out than in"},
    {"power limit", "dBm", {-10.0f, 33.0f}, never, "amplifiers end at 20 to 23 dBm"},
    {"saturation", "dB", {0.0f, 30.0f}, never, "at most the whole gain is missing"},
    {"OSC loss",
     "dB",
     {0.0f, 50.0f},
     {50.0f, 120.0f},
     "links end at 38 dB; with one end in the dark the difference to -99 is shown"},
    {"span loss",
     "dB",
     {-1.0f, 50.0f},
     {-110.0f, 120.0f},
     "links end at 28 dB; below -1 dB stands for a failed measurement, and with one end in the "
     "dark "
     "the difference to -99 is shown"},
    {"loss per length", "dB/km", {-0.1f, 10.0f}, never, "fibres lose 0.17 to 0.5 dB/km"},
    {"insertion loss", "dB", {-0.5f, 30.0f}, never, "of a part with its connectors"},
    {"fibre length",
     "km",
     {-1.0f, 300.0f},
     never,
     "spans end at 220 km, 38 dB of the best fibre; 0 is not measured"},
    {"dispersion", "ps/nm", {-2e4f, 2e4f}, never, "150 km of any fibre stay below 4000"},
    {"dispersion offset", "ps/nm", {-2e4f, 2e4f}, never, "moves within the dispersions"},
    {"OSNR",
     "dB",
     {0.0f, 100.0f},
     {-110.0f, 0.0f},
     "from two readings of a monitor, which lie at most so far apart"},
    {"utilization", "%", {0.0f, 100.5f}, never, "a share, rounded"},
    {"calibration", "dB", {-60.0f, 60.0f}, never, "a tap's loss and the offsets of two readings"},
    {"target power", "dBm", {-60.0f, 30.0f}, never, "what an amplifier can give a channel"},
}};

}  // namespace

const reading_limits& limits_of(reading_kind kind) {
  return all_limits[static_cast<std::size_t>(kind)];
}

verdict judge(reading_kind kind, float number) {
  const auto& limits = limits_of(kind);
  if (limits.measured.holds(number)) return verdict::measured;
  return limits.nothing.holds(number) ? verdict::nothing_measured : verdict::refused;
}

std::string refusal_text(reading_kind kind, float number) {
  const auto& limits = limits_of(kind);
  return fmt::format("{:g} is no {} ({} to {} {})", number, limits.name, limits.measured.lowest,
                     limits.measured.highest, limits.unit);
}

}  // namespace device
