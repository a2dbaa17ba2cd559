// The light path point by point: what each instrument should read, calculated from the point before
// it and the known losses and gains, and what it does read. The first point that disagrees is where
// to look; how its neighbours disagree tells lost light from an instrument that is off.
//
// Pure arithmetic: no device, peer, clock or tree; throws nothing. Powers in dBm, losses and gains
// in dB. "rx" is the light from this node's clients to the far end's, "tx" the light from there.
#pragma once

#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace insight {

enum class light_way { rx, tx };

struct lit_channel {
  unsigned id;
  float attenuation;           ///< of this node's switch
  float monitored;             ///< raw reading of this node's monitor
  std::optional<float> far{};  ///< raw reading of the far end's monitor
};

/// What is known at one moment. Empty: not known, or dark.
struct ladder_view {
  std::vector<lit_channel> lit{};
  // This node's amplifier on the path: booster or preamp.
  std::optional<float> input{};
  std::optional<float> output{};
  std::optional<float> gain;         ///< as it reports it now, not as it was set
  std::optional<float> calibration;  ///< of the board: from monitor to amplifier output
  /// The drop switch is between the amplifier's stages.
  bool switch_inside = false;
  // At the two fibre connectors, signals and supervisory channel.
  std::optional<float> sent;
  std::optional<float> received;
  std::optional<float> osc_sent;
  std::optional<float> osc_received;
  bool is_dark = false;  ///< light is sent, and the far end of the fibre tells that none arrives
  bool is_osc_dark = false;  ///< as opposed to not known
  // The far amplifier, on the path out.
  std::optional<float> far_gain;
  std::optional<float> far_calibration;
};

/// All lit channels together.
struct ladder_sums {
  float monitored = 0;  ///< as the monitor reads it
  std::optional<float> far_monitored;
  float inside = 0;  ///< share of the sum that a switch inside the amplifier takes
};
std::optional<ladder_sums> sums_of(const ladder_view& view);

/// Loss of the fibre at signal wavelengths, from that of the supervisory channel.
std::optional<float> span_by_osc(const ladder_view& view);

/// Each figure less the one before it.
struct differences {
  std::map<unsigned, float> ports{};  ///< of a client: the light it brings to the switch
  std::optional<float> amplifier{};   ///< output less input and gain
  std::optional<float> monitor{};     ///< monitor and calibration less output
  std::optional<float> fibre{};       ///< loss of the supervisory channel
  std::optional<float> line{};        ///< received less sent and the fibre's loss
  std::optional<float> far{};         ///< the far monitor less received and the far gain
  /// Light is sent and none arrives: behind that, nothing can be said. Not a difference that is
  /// learned.
  enum class darkness { none, signals, everything } dark = darkness::none;
};
differences differences_of(const ladder_view& view, light_way way);

enum class ladder_point { ports, amplifier, fibre, line, far };
enum class ladder_fault {
  port,       ///< of single channels: client, patch cord or port of the switch
  connector,  ///< loss for all channels
  gain,       ///< of the amplifier
  input_tap,
  output_tap,
  monitor,
  span,
  osc_tap,
  dark  ///< none of the light arrives
};

struct ladder_finding {
  ladder_point where;
  ladder_fault what;
  float by;  ///< dB, as the point tells too much or too little; not of `dark`
  std::vector<unsigned> channels{};  ///< of `port`

  bool is_same(const ladder_finding& other) const {
    return where == other.where && what == other.what && channels == other.channels;
  }
};

/// The first point, in the direction of the light, at which the present differences leave the
/// `usual` ones. A difference that has no usual value is compared with its own limit if board and
/// devices say what to expect; if only experience could, it is not a finding.
std::optional<ladder_finding> first_fault(const differences& now, const differences& usual,
                                          light_way way);

/// The deviation that most channels share; empty if there is no channel that both know.
std::optional<float> common_deviation(const std::map<unsigned, float>& now,
                                      const std::map<unsigned, float>& usual);

namespace ladder_limits {
inline constexpr float amplifier = 1.5f;  ///< two taps and the calibration of one
inline constexpr float line = 2.5f;       ///< four taps, and a fibre's two wavelengths
inline constexpr float noticed = 1.0f;    ///< against the usual
}  // namespace ladder_limits

}  // namespace insight
