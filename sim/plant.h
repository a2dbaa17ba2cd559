// The simulated plant as seen by tests and the simulator program: the light of two nodes and the
// fibre pair between them, and the value trees of their device services. `step` advances time;
// nothing else does. A node without a partner faces a built-in far end that keeps its own channels
// on target.
//
// Every member may be called from any thread: one lock guards the light, and the trees' setters
// take it too. A tree publishes while that lock is held, and holds it across nothing else. Powers
// are in dBm; losses, gains and attenuations in dB. A channel is named by its key, the centre
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
/// client, the drop side after the preamp.
enum class direction { rx, tx };

/// Where a channel's true power can be read.
enum class measuring_point {
  laser,           ///< rx: at the client port
  booster_output,  ///< rx
  line_output,     ///< rx: at the fibre connector
  line_input,      ///< tx: at the fibre connector
  preamp_output,   ///< tx
  client_output    ///< tx: at the client port
};

/// A node's power taps, each with its own offset and drift.
enum class tap {
  booster_input,
  booster_output,
  preamp_input,
  preamp_output,
  osc_input,
  osc_output
};

/// Where a connector can be dirty, for each node separately. The ends of a fibre are part of its
/// span.
enum class connector {
  switch_to_booster,
  booster_to_line,
  fibre_out,  ///< of the fibre that carries this node's light away
  fibre_in,   ///< of the fibre that brings light to it
  line_to_preamp,
  preamp_to_switch
};

/// How a device service behaves towards the daemon. The device behind it keeps working.
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
  double frequency_offset_ghz = 0.0;  ///< beyond half the channel's width the switch blocks it
  double flicker_period_s = 0.0;      ///< on for half of the period, then off; 0 is steady
};

struct write_counters {
  unsigned switch_attenuation = 0;  ///< accepted writes, for each direction and channel
  unsigned switch_port = 0;
};

class plant {
 public:
  /// The far end is a second node or the built-in one, depending on the topology. Throws
  /// topology_error for values outside their ranges.
  explicit plant(topology what);
  ~plant();
  plant(const plant&) = delete;
  plant& operator=(const plant&) = delete;

  /// Advances the light by `dt` and publishes what has changed. No internal step is longer than 0.1
  /// s, so that runs with different steps agree to within the noise.
  void step(std::chrono::nanoseconds dt);
  const topology& get_topology() const;

  // --- Trees. Node 0 is the near node, 1 the far one.

  /// "wss_edge", "booster", "preamp", "osc1", "sfp/0", "voa_sfp", "system_info", "system_start",
  /// "led_selka", and whatever else the product has. Node 1 has only "peer" if the far end plays
  /// one.
  std::vector<std::string> nexel_names(unsigned node = 0) const;
  nx_db& nexel_tree(const std::string& name, unsigned node = 0);
  /// The controls and the truth as a tree, served as "/tmp/nexels/sim".
  nx_db& control_tree();
  static std::string nexel_address(const std::string& name);  ///< "/tmp/nexels/NAME"

  /// Attaches every tree of a node at `prefix` + its address; the network must outlive the plant's
  /// use. set_nexel_state then acts on it.
  void attach_to(nx::in_process_network& network, unsigned node = 0,
                 const std::string& prefix = "");

  /// The function that makes a nexel hang or die: set by attach_to, or by the program for its
  /// sockets. Called without the plant's lock.
  using state_setter = std::function<void(unsigned node, const std::string& name, nexel_state)>;
  void set_state_handler(state_setter set_state);
  /// The same for the function that makes a nexel slow.
  using latency_setter = std::function<void(unsigned node, const std::string& name,
                                            std::chrono::milliseconds latency)>;
  void set_latency_handler(latency_setter set_latency);

  /// The board's calibration file: factory constants that agree with this plant.
  std::string board_file(unsigned node = 0) const;

  // --- Controls.

  /// Fibre 0 carries light from node 0 to node 1, fibre 1 the other way.
  void cut_fibre(unsigned fibre);
  void mend_fibre(unsigned fibre);
  void cut_line();   ///< both fibres
  void mend_line();  ///< both fibres
  void set_span_offset(unsigned fibre, double loss_db);
  void set_span_drift(unsigned fibre, double db_per_day);
  void set_raman(bool on);

  laser_settings get_laser(unsigned node, unsigned channel) const;
  void set_laser(unsigned node, unsigned channel, const laser_settings& settings);
  /// Changes some of the settings and leaves the others.
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

  /// Dirt and damage along the light path: losses of 0 to 30 dB that no instrument is told about.
  void set_connector_loss(unsigned node, connector where, double loss_db);
  void set_client_loss(unsigned node, direction side, unsigned channel, double loss_db);
  void set_switch_port_loss(unsigned node, direction side, unsigned channel, double loss_db);
  /// The amplifier (booster for rx) gives this much less than it reports, 0 to 10 dB.
  void set_gain_deficit(unsigned node, direction side, double deficit_db);
  /// Lowers its power limit, including the reported one, by 0 to 10 dB for a time (0: until
  /// changed).
  void drop_power_limit(unsigned node, direction side, double drop_db,
                        std::chrono::nanoseconds duration = {});

  /// Whether the plant adjusts the node's attenuators, as for the built-in far end; off by default
  /// for a node of the topology.
  void set_tended(unsigned node, bool tended);

  void set_nexel_state(unsigned node, const std::string& name, nexel_state state);
  nexel_state get_nexel_state(unsigned node, const std::string& name) const;
  /// Every answer and event of the service is delayed by this time, 0 to 60 s. Requests still take
  /// effect at once.
  void set_latency(unsigned node, const std::string& name, std::chrono::milliseconds latency);
  void drop_subscription(unsigned node, const std::string& name, const std::string& path);

  /// Faults of a service's readings and writes, with patterns as the tree accepts them. A duration
  /// of 0 means until healed. Healing ends the faults whose own pattern equals the given one, or is
  /// matched by it.
  void set_reading_fault(unsigned node, const std::string& name, const std::string& pattern,
                         const reading_fault& fault, std::chrono::nanoseconds duration = {});
  void heal_readings(unsigned node, const std::string& name, const std::string& pattern = "**");
  void set_write_fault(unsigned node, const std::string& name, const std::string& pattern,
                       const write_fault& fault, std::chrono::nanoseconds duration = {});
  void heal_writes(unsigned node, const std::string& name, const std::string& pattern = "**");
  /// After the service has been killed and is back, it repeats its old readings for this long.
  void set_stale_after_restart(unsigned node, const std::string& name,
                               std::chrono::nanoseconds duration);
  /// Writes and commands that reached the service, whatever happened to them.
  unsigned writes(unsigned node, const std::string& name) const;

  /// The device behind the service restarts and loses the channels it was given by command: "wss"
  /// and "ocm" of the selka models.
  void forget_channels(unsigned node, const std::string& name);
  /// "wss" and "ocm" of the selka models answer false to adding a channel that they have. Loading a
  /// plan still leaves known channels alone.
  void set_refuses_known_channels(unsigned node, const std::string& name, bool refuses);
  /// The optical switch of orvapro stays where it is, whatever it is told.
  void set_optical_switch_stuck(unsigned node, bool stuck);

  /// Where the twin switch of the selka models gets its attenuations: the node's key store, asked
  /// with the parts of its keys ("add" or "drop", channel). Called ten times a second of plant
  /// time, with the plant's lock held; an empty result leaves a channel as it is. Each node has its
  /// own store.
  using attenuation_source =
      std::function<std::optional<double>(const std::string& module, unsigned channel)>;
  void set_switch_source(const attenuation_source& source, unsigned node = 0);

  // --- Truth: the true state, whatever the read-outs say.

  /// Channel keys of the node's grid in ascending order of frequency.
  std::vector<unsigned> channels() const;
  /// Signal only, without noise; -99 in the dark.
  double channel_power_dbm(unsigned node, measuring_point where, unsigned channel) const;
  /// All channels and the amplifiers' noise, without the supervisory channel.
  double total_power_dbm(unsigned node, measuring_point where) const;
  double channel_osnr_db(unsigned node, unsigned channel) const;  ///< at the preamp, in 12.5 GHz
  double switch_attenuation_db(unsigned node, direction side, unsigned channel) const;
  double shown_attenuation_db(unsigned node, direction side, unsigned channel) const;
  double voa_attenuation_db(unsigned node) const;
  double amplifier_gain_db(unsigned node, direction side) const;        ///< booster for rx
  double amplifier_saturation_db(unsigned node, direction side) const;  ///< set gain less true gain
  double span_loss_db(unsigned fibre) const;  ///< connector to connector, infinite when cut
  /// A channel's target at the booster's output, from its share of the band and the fibre's tilt.
  double booster_target_dbm(unsigned node, unsigned channel) const;
  bool osc_ready(unsigned node) const;
  /// Dispersion that the node's modules add to the path, including the fixed one if it is in the
  /// path.
  double compensation_ps_per_nm(unsigned node) const;

  write_counters channel_writes(unsigned node, direction side, unsigned channel) const;
  unsigned switch_writes(unsigned node, direction side) const;  ///< all channels and ports
  unsigned voa_writes(unsigned node) const;
  unsigned amplifier_writes(unsigned node, direction side) const;
  void reset_counters();

 private:
  struct impl;
  std::unique_ptr<impl> impl_;
};

}  // namespace sim
