// The simulated plant as tests and the simulator program use it: the light of two nodes and the
// fibre pair between them, and the value trees of their device services. `step` moves time on; it
// is the only thing that does. A node without a partner faces a built-in far end that keeps its own
// channels at their targets.
//
// Every member may be called from any thread: one lock guards the light, and the trees' setters
// take it too. A tree publishes while that lock is held, and holds it across nothing else.
// Powers are dBm, losses, gains and attenuations dB. A channel is named by its key, the centre
// frequency in units of 10 MHz. Unknown nodes, channels and nexels throw std::out_of_range.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sim/faults.h"
#include "sim/plant/topology.h"

class nx_db;
namespace nx {
class in_process_network;
}

namespace sim {

/// rx: from the client to the line, the add side before the booster. tx: from the line to the
/// client, the drop side behind the preamp.
enum class direction { rx, tx };

/// Where a channel's true power can be read.
enum class measuring_point {
  laser,           ///< rx: at the client port
  booster_output,  ///< rx
  line_output,     ///< rx: at the connector of the fibre
  line_input,      ///< tx: at the connector of the fibre
  preamp_output,   ///< tx
  client_output    ///< tx: at the client port
};

/// The power taps of a node, each with an offset and a drift of its own.
enum class tap {
  booster_input,
  booster_output,
  preamp_input,
  preamp_output,
  osc_input,
  osc_output
};

/// Where a connector can be dirty, each node apart. The ends of a fibre belong to its span.
enum class connector {
  switch_to_booster,
  booster_to_line,
  fibre_out,  ///< of the fibre that carries this node's light away
  fibre_in,   ///< of the one that brings it
  line_to_preamp,
  preamp_to_switch
};

/// How a device service behaves towards the daemon. The device behind it works on.
enum class nexel_state {
  ok,
  hung,     ///< accepts, never answers
  killed,   ///< its socket is gone
  refusing  ///< answers every write with the error -5 "Refused by the device"
};

struct laser_settings {
  bool on = true;
  double power_dbm = 0.0;
  double ramp_s = 2.0;
  double drift_db_per_hour = 0.0;
  double frequency_offset_ghz = 0.0;  ///< beyond half the channel's width the switch keeps it out
  double flicker_period_s = 0.0;      ///< half of the period on, half off; 0 is steady
};

struct write_counters {
  unsigned switch_attenuation = 0;  ///< accepted writes, each direction and channel apart
  unsigned switch_port = 0;
};

class plant {
 public:
  /// The far end is a second node, or the built-in one, as the topology says. Throws
  /// topology_error on values outside their ranges.
  explicit plant(topology what);
  ~plant();
  plant(const plant&) = delete;
  plant& operator=(const plant&) = delete;

  /// Moves the light on by `dt` and publishes what changed. Inside, a step is never longer than
  /// 0.1 s, so that two runs with different steps agree to within the noise.
  void step(std::chrono::nanoseconds dt);
  std::chrono::nanoseconds time() const;
  const topology& get_topology() const;

  // --- Trees. Node 0 is the near node, 1 the far one.

  /// "wss_edge", "booster", "preamp", "osc1", "sfp/0", "voa_sfp", "system_info", "system_start",
  /// "led_selka", and what else the product has. Node 1 has "peer" alone when the far end plays
  /// one.
  std::vector<std::string> nexel_names(unsigned node = 0) const;
  nx_db& nexel_tree(const std::string& name, unsigned node = 0);
  /// The controls and the truth as a tree, the one that is served as "/tmp/nexels/sim".
  nx_db& control_tree();
  static std::string nexel_address(const std::string& name);  ///< "/tmp/nexels/NAME"

  /// Attaches every tree of a node at `prefix` + its address; the network must outlive the plant's
  /// use. set_nexel_state then acts on it.
  void attach_to(nx::in_process_network& network, unsigned node = 0,
                 const std::string& prefix = "");

  /// Who makes a nexel hang or die: set by attach_to, or by the program for its sockets. Called
  /// without the plant's lock.
  using state_setter = std::function<void(unsigned node, const std::string& name, nexel_state)>;
  void set_state_handler(state_setter set_state);
  /// The same for who makes a nexel slow.
  using latency_setter = std::function<void(unsigned node, const std::string& name,
                                            std::chrono::milliseconds latency)>;
  void set_latency_handler(latency_setter set_latency);

  /// The board's calibration file: factory constants that agree with this plant.
  std::string board_file(unsigned node = 0) const;

  // --- Controls.

  /// Fibre 0 carries light from node 0 to node 1, fibre 1 the other way.
  void cut_fibre(unsigned fibre);
  void mend_fibre(unsigned fibre);
  void cut_line();   ///< both
  void mend_line();  ///< both
  void set_span_offset(unsigned fibre, double loss_db);
  void set_span_drift(unsigned fibre, double db_per_day);
  void set_raman(bool on);

  laser_settings get_laser(unsigned node, unsigned channel) const;
  void set_laser(unsigned node, unsigned channel, const laser_settings& settings);
  /// Changes some of the settings and leaves the rest.
  void change_laser(unsigned node, unsigned channel,
                    const std::function<void(laser_settings&)>& change);
  void switch_laser(unsigned node, unsigned channel, bool on);
  void fill_band(unsigned node);  ///< every laser on, with its ramp
  void dark_band(unsigned node);  ///< every laser off

  void set_tap_offset(unsigned node, tap which, double offset_db);
  void set_tap_drift(unsigned node, tap which, double db_per_day);
  void set_monitor_offset(unsigned node, direction side, double offset_db);
  void set_monitor_stuck(unsigned node, direction side, bool stuck);
  void repeat_monitor_pass(unsigned node, direction side);  ///< the next pass shows the last values

  /// Dirt and damage on the road of light: losses of 0 to 30 dB that no instrument is told of.
  void set_connector_loss(unsigned node, connector where, double loss_db);
  void set_client_loss(unsigned node, direction side, unsigned channel, double loss_db);
  void set_switch_port_loss(unsigned node, direction side, unsigned channel, double loss_db);
  /// The amplifier (booster for rx) gives so much less than it tells, 0 to 10 dB.
  void set_gain_deficit(unsigned node, direction side, double deficit_db);
  /// Its power limit falls by 0 to 10 dB, the one that it tells too, for a time (0: until changed).
  void drop_power_limit(unsigned node, direction side, double drop_db,
                        std::chrono::nanoseconds duration = {});

  /// The built-in far end's care of its own channels; off by default for a node of the topology.
  void set_tended(unsigned node, bool tended);

  void set_nexel_state(unsigned node, const std::string& name, nexel_state state);
  nexel_state get_nexel_state(unsigned node, const std::string& name) const;
  /// Every answer and event of the service comes this much later, 0 to 60 s. What it is told it
  /// does at once.
  void set_latency(unsigned node, const std::string& name, std::chrono::milliseconds latency);
  void drop_subscription(unsigned node, const std::string& name, const std::string& path);

  /// What a service tells and what becomes of what it is told; patterns as the tree takes them. A
  /// duration of 0 lasts until healed. Healing ends the faults whose own pattern is the one given,
  /// or fits it as a path would.
  void set_reading_fault(unsigned node, const std::string& name, const std::string& pattern,
                         const reading_fault& fault, std::chrono::nanoseconds duration = {});
  void heal_readings(unsigned node, const std::string& name, const std::string& pattern = "**");
  void set_write_fault(unsigned node, const std::string& name, const std::string& pattern,
                       const write_fault& fault, std::chrono::nanoseconds duration = {});
  void heal_writes(unsigned node, const std::string& name, const std::string& pattern = "**");
  /// When the service was killed and is back, its readings stay those of before for this long.
  void set_stale_after_restart(unsigned node, const std::string& name,
                               std::chrono::nanoseconds duration);
  /// Writes and commands that reached the service, whatever became of them.
  unsigned writes(unsigned node, const std::string& name) const;

  /// The device behind the service starts anew and has lost the channels it was given by command:
  /// "wss" and "ocm" of the selka models.
  void forget_channels(unsigned node, const std::string& name);
  /// "wss" and "ocm" of the selka models answer false to the command that adds a channel which they
  /// have. Loading a plan goes on to leave the known ones alone.
  void set_refuses_known_channels(unsigned node, const std::string& name, bool refuses);
  /// The optical switch of orvapro stays where it is, whatever it is told.
  void set_optical_switch_stuck(unsigned node, bool stuck);

  /// Where the twin switch of the selka models finds its attenuations: the node's key store, in the
  /// words of its keys ("add" or "drop", channel). Asked ten times a second of plant time, with the
  /// plant's lock held; none leaves a channel as it is. Each node has a store of its own.
  using attenuation_source =
      std::function<std::optional<double>(const std::string& module, unsigned channel)>;
  void set_switch_source(const attenuation_source& source, unsigned node = 0);

  // --- Truth: what is, whatever the read-outs say.

  /// Channel keys of the node's grid in ascending frequency.
  std::vector<unsigned> channels() const;
  /// Signal alone, without noise; -99 in the dark.
  double channel_power_dbm(unsigned node, measuring_point where, unsigned channel) const;
  /// All channels and the amplifiers' noise, without the supervisory channel.
  double total_power_dbm(unsigned node, measuring_point where) const;
  double channel_osnr_db(unsigned node, unsigned channel) const;  ///< at the preamp, in 12.5 GHz
  double switch_attenuation_db(unsigned node, direction side, unsigned channel) const;
  double shown_attenuation_db(unsigned node, direction side, unsigned channel) const;
  double voa_attenuation_db(unsigned node) const;
  double amplifier_gain_db(unsigned node, direction side) const;        ///< booster for rx
  double amplifier_saturation_db(unsigned node, direction side) const;  ///< set gain less true gain
  double span_loss_db(unsigned fibre) const;   ///< connector to connector, infinite when cut
  double raman_tilt_db(unsigned fibre) const;  ///< over the lit band; negative: power falls with f
  /// A channel's target at the booster's output, by its share of the band and the fibre's tilt.
  double booster_target_dbm(unsigned node, unsigned channel) const;
  bool osc_ready(unsigned node) const;
  /// What the node's dispersion modules add to the path, the fixed one included where it is in it.
  double compensation_ps_per_nm(unsigned node) const;

  write_counters channel_writes(unsigned node, direction side, unsigned channel) const;
  unsigned switch_writes(unsigned node, direction side) const;  ///< all channels, ports included
  unsigned voa_writes(unsigned node) const;
  unsigned amplifier_writes(unsigned node, direction side) const;
  void reset_counters();

 private:
  struct impl;
  std::unique_ptr<impl> impl_;
};

}  // namespace sim
