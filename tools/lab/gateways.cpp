#include "tools/lab/gateways.h"

#include <fmt/format.h>

#include <fstream>

#include "tools/lab/installation.h"

namespace tools::lab {

namespace {

constexpr std::chrono::seconds start_limit{30};

/// The address that the gateway has printed; empty so far.
std::string told_address(const std::string& log) {
  constexpr std::string_view before = "Serving ";
  std::ifstream in(log);
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with(before) && !in.eof()) return line.substr(before.size());
  }
  return {};
}

program gateway_of(const lab_folder& folder, unsigned node) {
  const auto log = folder.logs() / (node == 0 ? "gateway.log" : "gateway-far.log");
  // The plant runs under the near node's root, whichever node is concerned.
  return {"lumora_gateway",
          {program_path("lumora_gateway").string(), "--listen", "127.0.0.1:0", "--page",
           page_folder().string(), "--tree",
           fmt::format("unix:{}/tmp/device_managers/lumora", folder.root(node).string()), "--lab",
           fmt::format("unix:{}/tmp/nexels/sim", folder.root(0).string()), "--lab-node",
           std::to_string(node)},
          {},
          log.string()};
}

}  // namespace

gateways::gateways(supervisor& programs, const lab_folder& folder, unsigned nodes) {
  for (unsigned node = 0; node < nodes; ++node) {
    const auto& started = programs.start(gateway_of(folder, node));
    auto& address = addresses_.emplace_back();
    programs.wait_until("the gateway", start_limit, [&] {
      address = told_address(started.log_file());
      return !address.empty();
    });
  }
}

std::string gateways::address(unsigned node) const {
  return node < addresses_.size() ? addresses_[node] : std::string();
}

}  // namespace tools::lab
