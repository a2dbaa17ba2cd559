#include "tools/lab/plant_service.h"

#include <fmt/format.h>

#include "tools/lab/installation.h"
#include "tools/lab/lab_failure.h"
#include "tools/lab/view_model.h"

namespace tools::lab {

namespace {

constexpr std::chrono::seconds start_limit{30};

std::string laser_path(unsigned node, unsigned key) {
  return fmt::format("config/node/{}/laser/{}/on", node, key);
}

}  // namespace

plant_service::plant_service(supervisor& programs, const lab_folder& folder, const store& keys,
                             const plant_options& what)
    : controls_(what.root.string() + "/tmp/nexels/sim") {
  // The twin switch takes its attenuations from the store.
  auto environment = keys.environment(0);
  environment.push_back("NX_ROOT=" + what.root.string());
  auto command = what.enter_with;
  command.insert(command.end(), {program_path("lumora_sim").string(), what.topology.string(),
                                 "--seed", std::to_string(what.seed), "--board"});
  command.insert(command.end(), what.arguments.begin(), what.arguments.end());
  programs.start({"lumora_sim", command, environment, (folder.logs() / "plant.log").string()});
  programs.wait_until("the simulated devices", start_limit,
                      [this] { return controls_.reachable(); });
  for (unsigned node = 0; node < what.nodes; ++node)
    darken(node);
}

void plant_service::darken(unsigned node) {
  readings read;
  const auto before = fmt::format("config/node/{}/laser/", node);
  controls_.read(before + "*/on", read);
  for (const auto key : read.numbered(before, "/on")) {
    if (read.flag(laser_path(node, key)) == true) lasers_.at(node).push_back(key);
  }
  controls_.write(fmt::format("command/node/{}/darkBand", node), "true");
}

void plant_service::light_up(unsigned node) {
  for (const auto key : lasers(node)) {
    if (controls_.write(laser_path(node, key), "true")) continue;
    throw lab_failure(fmt::format("the plant refuses to light {}: {}", key, controls_.refusal()));
  }
}

void plant_service::read_truth(unsigned node, readings& into) {
  controls_.read(truth_path(node, "*"), into);
}

}  // namespace tools::lab
