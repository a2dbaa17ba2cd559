// lumora_lab: a whole node on a desk. Starts a key store, the simulated plant and the daemon,
// lights the channels and shows how they come to their targets.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "tools/lab/installation.h"
#include "tools/lab/lab_failure.h"
#include "tools/lab/lab_folder.h"
#include "tools/lab/node.h"
#include "tools/lab/peer_link.h"
#include "tools/lab/plant_service.h"
#include "tools/lab/product.h"
#include "tools/lab/screen.h"
#include "tools/lab/session.h"
#include "tools/lab/store.h"
#include "tools/lab/supervisor.h"
#include "tools/lab/user.h"

namespace tools::lab {

namespace {

// No interface has this name: a node alone opens no network port.
constexpr const char* no_interface = "lumora-lab";

enum exit_code : int { exit_ok = 0, exit_failed = 1, exit_usage = 2 };

constexpr const char* closing_words =
    "Examples:\n"
    "  ./lab                                  a screen with every channel; q ends it\n"
    "  ./lab --product orvamax                another model\n"
    "  ./lab --peer                           two nodes face to face; tab shows the other\n"
    "  ./lab --until-converged                for a script: exit code 0 when all is on target\n"
    "  ./lab --until-converged 30 | tail -1   the summary alone\n"
    "\n"
    "Beside a running lab, in another terminal, with the folder that the lab names at its start:\n"
    "  lumoractl --root FOLDER/node tree data/line -v\n"
    "  lumoractl --root FOLDER/node --nexel sim tree\n"
    "  lumoractl --root FOLDER/node/far tree data/line -v     the far node of --peer\n"
    "\n"
    "Exit codes: 0 converged, or ended by the user; 1 not converged, or something failed; 2 "
    "usage.\n";

struct options {
  std::string product = "orvalite";
  std::string topology;
  unsigned seed = 1;
  bool peer = false;
  bool keep = false;
  bool log = false;
  std::optional<unsigned> until_converged;
};

void declare(CLI::App& app, options& given) {
  app.name("lumora_lab");
  app.footer(closing_words);
  app.add_option("--product", given.product, "Model of the node")
      ->check(CLI::IsMember(product_names()))
      ->capture_default_str();
  app.add_flag("--peer", given.peer,
               "Two nodes face to face, each with a daemon; needs network namespaces");
  app.add_option("--seed", given.seed, "Of everything that is random in the plant")
      ->capture_default_str();
  app.add_option("--topology", given.topology, "Plant to use, in place of the product's own")
      ->check(CLI::ExistingFile);
  app.add_option("--until-converged", given.until_converged,
                 "No screen: end when all lit channels are on target, or after SECONDS (120)")
      ->type_name("[SECONDS]")
      ->expected(0, 1)
      ->default_str("120");
  app.add_flag("--keep", given.keep, "Keep the folder with logs and board file");
  app.add_flag("--log", given.log, "Tell where the logs are, and keep them");
}

void announce(const lab_folder& folder, const options& given) {
  fmt::print("lab folder {}\n", folder.path().string());
  if (given.log) fmt::print("logs       {}/*.log\n", folder.logs().string());
  std::fflush(stdout);
}

std::filesystem::path topology_of(const options& given) {
  if (!given.topology.empty()) return std::filesystem::absolute(given.topology);
  return simulator_file(
      fmt::format("topologies/{}{}.json", given.product, given.peer ? "_pair" : ""));
}

node_options near_node(const lab_folder& folder, const options& given) {
  return {0,
          given.peer ? "near" : "daemon",
          folder.root(0).string(),
          given.product,
          given.peer ? peer_link::interface : no_interface,
          {}};
}

node_options far_node(const lab_folder& folder, const options& given, const peer_link& link) {
  return {1, "far", folder.root(1).string(), given.product, peer_link::interface, link.enter_far()};
}

int watch(session& watched, const lab_folder& folder, const options& given) {
  if (given.until_converged) {
    const std::chrono::seconds limit(*given.until_converged);
    return watched.print_until_converged(limit) ? exit_ok : exit_failed;
  }
  if (!screen::available()) {
    watched.print_lines();
    return exit_ok;
  }
  watched.show_on_screen(fmt::format("q ends   arrows scroll{}   folder {}",
                                     given.peer ? "   tab shows the other node" : "",
                                     folder.path().string()));
  return exit_ok;
}

int run(const options& given) {
  const auto& model = find_product(given.product);
  const auto topology = topology_of(given);
  user at_terminal;
  const lab_folder folder(given.keep || given.log);
  supervisor programs(at_terminal);
  announce(folder, given);
  std::optional<peer_link> link;
  if (given.peer) link.emplace(programs, folder);
  const unsigned count = given.peer ? 2 : 1;
  const store keys(programs, folder, count);
  plant_service plant(programs, folder, keys, folder.root(0), topology, given.seed, count);
  node near(programs, folder, keys, plant, near_node(folder, given));
  std::optional<node> far;
  if (link) far.emplace(programs, folder, keys, plant, far_node(folder, given, *link));
  std::vector<node*> nodes{&near};
  if (far) nodes.push_back(&*far);
  for (auto* each : nodes)
    each->configure(programs);
  for (auto* each : nodes)
    each->light_up();
  session watched(programs, at_terminal, nodes, model);
  return watch(watched, folder, given);
}

int run_guarded(const options& given) {
  try {
    return run(given);
  } catch (const interrupted&) {
    return given.until_converged ? exit_failed : exit_ok;
  } catch (const std::exception& error) {
    fmt::print(stderr, "lumora_lab: {}\n", error.what());
    return exit_failed;
  }
}

}  // namespace

}  // namespace tools::lab

int main(int argc, char** argv) {
  using namespace tools::lab;
  CLI::App app("A node with its simulated plant: starts it, lights it, shows it.");
  options given;
  declare(app, given);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? exit_ok : exit_usage;
  }
  // Every socket path here already holds the lab's own folder.
  unsetenv("NX_ROOT");
  return run_guarded(given);
}
