// What is a fact of a model of node: its channels, switch, panel, devices, and what its peers know.
// One table that daemon, plant, lab, packaging and tests read; what a model does differently is an
// override in src/products. Any thread may read it. Frequencies and widths in units of 10 MHz,
// powers dBm, gains and attenuations dB.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace models {

/// Decides the devices: orva has a switch with fixed channels, the monitor in the same service;
/// selka a twin switch that is told its channels, and a monitor beside it.
enum class family { orva, selka };

enum class plan_kind { fixed, by_command };

/// The plan where it is fixed; where channels come by command, those that panel and plant stand
/// ready for.
struct channel_grid {
  unsigned first_center = 0;
  unsigned spacing = 0;  ///< also the width
  unsigned channels = 0;
  unsigned group = 0;  ///< after each group of channels one place is left out; 0 is none

  unsigned center(unsigned channel) const;
  /// Places count from 1, those left out too.
  unsigned place(unsigned center) const;

  bool operator==(const channel_grid&) const = default;
};

struct named_port {
  unsigned number;
  const char* name;
};

/// LEDs in pairs, rx and tx; every panel has one of the line beside.
struct front_panel {
  unsigned clients = 0;
  unsigned cross_connects = 0;  ///< LED N belongs to port "xcN"
};

/// How a node of the plant stands where nobody says otherwise.
struct plant_defaults {
  double booster_gain = 18.2;
  double preamp_gain = 25.0;
  double preamp_power_limit = 23.0;
  /// The drop switch stands between the preamp's stages, so that the monitor sees what it does.
  bool drop_switch_mid_stage = false;
};

struct model {
  const char* name;          ///< on the command line
  const char* product_text;  ///< the part number it tells of itself, and how a peer knows it
  family kin;

  plan_kind plan;
  channel_grid grid;
  unsigned slices;  ///< of 6.25 GHz: the band that is shared out
  /// Its devices know a channel by its place on the grid, and the tree counts channels from 1.
  bool counts_channels = false;

  std::span<const named_port> named_ports = {};
  unsigned numbered_ports = 0;          ///< "xc1" and on, in place of named ones
  const char* port_loss_key = nullptr;  ///< on the board: {0} is "add" or "drop", {1} the port
  float most_attenuation = 15.0F;       ///< end of the switch's attenuators
  float parked_tx = 5.0F;               ///< default attenuation towards the client

  front_panel panel;
  bool has_line_voa = true;
  bool has_compensator = false;  ///< of dispersion, with its optical switch
  float saturation_cap = 0.0F;   ///< by how much a saturated booster lowers a target at most
  bool known_to_peers = true;    ///< a node of this table regulates its line against one

  plant_defaults plant = {};
};

inline constexpr const char* default_name = "orvalite";

std::span<const model> all();
std::vector<std::string> names();
/// "orva", "selka".
std::string_view name_of(family kin);

/// Null when there is none. Names are compared exactly.
const model* find(std::string_view name);
/// The same by the product text.
const model* find_told(std::string_view product_text);
/// The same by what a simulated peer of the model is called.
const model* find_simulated(std::string_view peer);

/// Throws std::invalid_argument with the names that are known.
const model& get(std::string_view name);

/// What a simulated peer of this model is called: the product text in small letters.
std::string simulated_name(const model& of);

/// Every peer that can be simulated: these models, and in-line amplifiers, which run no daemon of
/// this kind.
std::vector<std::string> simulated_peers();

/// What the devices call the channel of this centre: the frequency, or its place on the grid.
unsigned device_channel(const model& of, unsigned center);

/// Ascending by number.
std::vector<unsigned> ports(const model& of);
std::optional<std::string> port_name(const model& of, unsigned number);
std::optional<unsigned> port_number(const model& of, std::string_view name);
/// The board's key of the loss between a port and the monitor; `side` is "add" or "drop".
std::string port_loss_key(const model& of, std::string_view side, unsigned port);

}  // namespace models
