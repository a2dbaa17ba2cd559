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
#include "tools/lab/product.h"
#include "tools/lab/screen.h"
#include "tools/lab/session.h"
#include "tools/lab/store.h"
#include "tools/lab/supervisor.h"
#include "tools/lab/user.h"

namespace tools::lab {

namespace {

enum exit_code : int { exit_ok = 0, exit_failed = 1, exit_usage = 2 };

constexpr const char* closing_words =
    "Examples:\n"
    "  ./lab                                  a screen with every channel; q ends it\n"
    "  ./lab --product orvamax                another model\n"
    "  ./lab --until-converged                for a script: exit code 0 when all is on target\n"
    "  ./lab --until-converged 30 | tail -1   the summary alone\n"
    "\n"
    "Beside a running lab, in another terminal, with the folder that the lab names at its start:\n"
    "  lumoractl --root FOLDER/node tree data/line -v\n"
    "  lumoractl --root FOLDER/node --nexel sim tree\n"
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
  app.add_flag("--peer", given.peer, "Two nodes that face each other");
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

int run(const options& given) {
  const auto& model = find_product(given.product);
  user at_terminal;
  const lab_folder folder(given.keep || given.log);
  supervisor programs(at_terminal);
  announce(folder, given);
  const store keys(programs, folder);
  const auto topology = given.topology.empty()
                            ? simulator_file("topologies/" + model.name + ".json")
                            : std::filesystem::absolute(given.topology);
  node shown(programs, folder, keys, {model, topology, given.seed});
  shown.configure(programs);
  const auto lit = shown.light_up();
  session watched(programs, at_terminal, shown, model);
  if (given.until_converged) {
    const std::chrono::seconds limit(*given.until_converged);
    return watched.print_until_converged(lit, limit) ? exit_ok : exit_failed;
  }
  if (screen::available()) {
    watched.show_on_screen(
        fmt::format("q ends the lab   arrow keys scroll   folder {}", folder.path().string()));
  } else {
    watched.print_lines();
  }
  return exit_ok;
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
  if (given.peer) {
    fmt::print(stderr, "lumora_lab: --peer is not available yet\n");
    return exit_usage;
  }
  // Every socket path here already holds the lab's own folder.
  unsetenv("NX_ROOT");
  return run_guarded(given);
}
