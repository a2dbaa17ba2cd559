// The facts of each model of node: its channels, switch, panel and devices, and whether peers know
// it. One table, read by daemon, plant, lab, packaging and tests; what a model does differently is
// an override in src/products. Any thread may read it. Frequencies and widths are in units of 10
// MHz, powers in dBm, gains and attenuations in dB.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace models {

/// Decides the devices: orva has a switch with fixed channels and the monitor in the same service;
/// selka has a twin switch that is given its channels, and a separate monitor.
enum class family { orva, selka };

enum class plan_kind { fixed, by_command };

/// The channel plan if it is fixed; if channels come by command, those for which the panel has LEDs
/// and the plant has lasers.
struct channel_grid {
  unsigned first_center = 0;
  unsigned spacing = 0;  ///< also the width
  unsigned channels = 0;
  unsigned group = 0;  ///< one position is left out after each group of channels; 0: no groups

  unsigned center(unsigned channel) const;
  /// Position on the grid, counted from 1, including positions left out.
  unsigned place(unsigned center) const;

  bool operator==(const channel_grid&) const = default;
};

struct named_port {
  unsigned number;
  const char* name;
};

/// LEDs in pairs, rx and tx. Every panel also has a pair for the line.
struct front_panel {
  unsigned clients = 0;
  unsigned cross_connects = 0;  ///< LED N belongs to port "xcN"
};

/// The plant's settings for a node of this model unless the topology says otherwise.
struct plant_defaults {
  double booster_gain = 18.2;
  double preamp_gain = 25.0;
  double preamp_power_limit = 23.0;
  /// The drop switch is between the preamp's stages, so the monitor sees its effect.
  bool drop_switch_mid_stage = false;
};

struct model {
  const char* name;          ///< on the command line
  const char* product_text;  ///< part number that the node reports; peers identify it by this
  family kin;

  plan_kind plan;
  channel_grid grid;
  unsigned slices;  ///< of 6.25 GHz: the band that is divided among the channels
  /// Its devices identify a channel by its grid position; the tree numbers channels from 1.
  bool counts_channels = false;

  std::span<const named_port> named_ports = {};
  unsigned numbered_ports = 0;          ///< "xc1" and so on, instead of named ones
  const char* port_loss_key = nullptr;  ///< key in the board file: {0} "add" or "drop", {1} port
  float most_attenuation = 15.0F;       ///< upper end of the switch's range
  float parked_tx = 5.0F;               ///< default attenuation towards the client

  front_panel panel;
  bool has_line_voa = true;
  bool has_compensator = false;  ///< for dispersion, with its optical switch
  float saturation_cap = 0.0F;   ///< limit of how much a saturated booster lowers a target
  bool known_to_peers = true;    ///< a node of this table regulates its line with such a peer

  plant_defaults plant = {};
};

inline constexpr const char* default_name = "orvalite";

std::span<const model> all();
std::vector<std::string> names();
/// "orva", "selka".
std::string_view name_of(family kin);

/// Null if there is none. Names are compared exactly.
const model* find(std::string_view name);
/// The same, by product text.
const model* find_told(std::string_view product_text);
/// The same, by the name of its simulated peer.
const model* find_simulated(std::string_view peer);

/// Throws std::invalid_argument, listing the known names.
const model& get(std::string_view name);

/// Name of a simulated peer of this model: the product text in lower case.
std::string simulated_name(const model& of);

/// Every peer that can be simulated: these models, and in-line amplifiers, which do not run this
/// daemon.
std::vector<std::string> simulated_peers();

/// How the devices identify the channel with this centre: by frequency, or by its position on the
/// grid.
unsigned device_channel(const model& of, unsigned center);

/// Ascending by number.
std::vector<unsigned> ports(const model& of);
std::optional<std::string> port_name(const model& of, unsigned number);
std::optional<unsigned> port_number(const model& of, std::string_view name);
/// Key of the loss between a port and the monitor in the board's file; `side` is "add" or "drop".
std::string port_loss_key(const model& of, std::string_view side, unsigned port);

}  // namespace models
