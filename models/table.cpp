#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cctype>
#include <numeric>
#include <stdexcept>

#include "models/band.h"
#include "models/model.h"

namespace models {

namespace {

constexpr named_port client_port[] = {{1, "localAD"}};
constexpr named_port degree_ports[] = {{1, "xc4Wss1"}, {2, "localAD"}, {3, "xc4Wss2"},
                                       {4, "xc1"},     {5, "xc4Wss3"}, {6, "xc2"},
                                       {7, "xc4Wss4"}, {8, "xc3"},     {9, "xc4Wss5"}};

// All lists of models shown to users have this order. The booster's gain puts the add switch at 7
// to 9 dB at rest: the dead band of a channel grows with its attenuation, and below 7 dB the
// monitor's noise would now and then carry a resting channel out of it.
constexpr model table[] = {
    {
        .name = "orvalite",
        .product_text = "ORVA-LITE",
        .kin = family::orva,
        .plan = plan_kind::fixed,
        .grid = {19140000, 15000, 32},
        .slices = shared_slices,
        .named_ports = client_port,
        .panel = {.clients = 32},
        .saturation_cap = 1.0F,
        .plant = {.booster_gain = 20.0},
    },
    {
        .name = "orvamax",
        .product_text = "ORVA-MAX",
        .kin = family::orva,
        .plan = plan_kind::fixed,
        .grid = {19210000, 10000, 40},
        .slices = shared_slices,
        .named_ports = client_port,
        .panel = {.clients = 40},
        .saturation_cap = 1.0F,
        .known_to_peers = false,
    },
    {
        .name = "orvapro",
        .product_text = "ORVA-PRO",
        .kin = family::orva,
        .plan = plan_kind::fixed,
        .grid = {19210000, 10000, 40},
        .slices = shared_slices,
        .named_ports = client_port,
        .panel = {.clients = 40},
        .has_compensator = true,
        .saturation_cap = 1.0F,
    },
    {
        .name = "orvakinet",
        .product_text = "ORVA-KINET",
        .kin = family::orva,
        .plan = plan_kind::fixed,
        .grid = {19160000, 10000, 40, 8},
        .slices = shared_slices,
        .counts_channels = true,
        .named_ports = client_port,
        .panel = {.clients = 40},
        .has_line_voa = false,
        .saturation_cap = 5.0F,
        .known_to_peers = false,
        // Puts the drop switch at rest where the factory calibrated the loss towards the client.
        .plant = {.preamp_gain = 26.0, .preamp_power_limit = 22.3, .drop_switch_mid_stage = true},
    },
    {
        .name = "selkamin",
        .product_text = "SELKA-MIN",
        .kin = family::selka,
        .plan = plan_kind::by_command,
        .grid = {19210000, 10000, 48},
        .slices = selka_slices,
        .named_ports = degree_ports,
        .port_loss_key = "cal_{0}_wss_{1}_to_mon",
        .most_attenuation = 25.0F,
        .panel = {.clients = 40, .cross_connects = 3},
        .plant = {.booster_gain = 17.5},
    },
    {
        .name = "selkaplus",
        .product_text = "SELKA-PLUS",
        .kin = family::selka,
        .plan = plan_kind::by_command,
        .grid = {19210000, 10000, 48},
        .slices = selka_slices,
        .numbered_ports = 34,
        .port_loss_key = "cal_{0}_{1}_wss",
        .most_attenuation = 25.0F,
        .parked_tx = 0.0F,
        .panel = {.cross_connects = 34},
        .plant = {.booster_gain = 17.5},
    },
};

template <class Matches>
const model* first_that(Matches matches) {
  const auto* found = std::find_if(std::begin(table), std::end(table), matches);
  return found == std::end(table) ? nullptr : found;
}

}  // namespace

unsigned channel_grid::center(unsigned channel) const {
  const unsigned left_out = group == 0 ? 0 : channel / group;
  return first_center + spacing * (channel + left_out);
}

unsigned channel_grid::place(unsigned center) const {
  return (center - first_center) / spacing + 1;
}

std::span<const model> all() {
  return table;
}

std::vector<std::string> names() {
  std::vector<std::string> found;
  for (const auto& each : table)
    found.emplace_back(each.name);
  return found;
}

std::string_view name_of(family kin) {
  return kin == family::orva ? "orva" : "selka";
}

const model* find(std::string_view name) {
  return first_that([name](const model& each) { return each.name == name; });
}

const model* find_told(std::string_view product_text) {
  return first_that([=](const model& each) { return each.product_text == product_text; });
}

const model* find_simulated(std::string_view peer) {
  return first_that([peer](const model& each) { return simulated_name(each) == peer; });
}

const model& get(std::string_view name) {
  if (const auto* found = find(name)) return *found;
  throw std::invalid_argument(
      fmt::format("unknown product {}; known are {}", name, fmt::join(names(), ", ")));
}

std::string simulated_name(const model& of) {
  std::string name = of.product_text;
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return name;
}

std::vector<std::string> simulated_peers() {
  std::vector<std::string> peers;
  for (const auto& each : table)
    peers.push_back(simulated_name(each));
  peers.insert(peers.end(), {"tarn-one", "tarn-two"});
  return peers;
}

unsigned device_channel(const model& of, unsigned center) {
  return of.counts_channels ? of.grid.place(center) : center;
}

std::vector<unsigned> ports(const model& of) {
  std::vector<unsigned> numbers(of.numbered_ports);
  std::iota(numbers.begin(), numbers.end(), 1U);
  for (const auto& port : of.named_ports)
    numbers.push_back(port.number);
  return numbers;
}

std::optional<std::string> port_name(const model& of, unsigned number) {
  if (number >= 1 && number <= of.numbered_ports) return fmt::format("xc{}", number);
  for (const auto& port : of.named_ports) {
    if (port.number == number) return port.name;
  }
  return std::nullopt;
}

std::optional<unsigned> port_number(const model& of, std::string_view name) {
  for (const unsigned number : ports(of)) {
    if (port_name(of, number) == name) return number;
  }
  return std::nullopt;
}

std::string port_loss_key(const model& of, std::string_view side, unsigned port) {
  return fmt::format(fmt::runtime(of.port_loss_key), side, port);
}

}  // namespace models
