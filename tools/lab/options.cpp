#include "tools/lab/options.h"

#include <CLI/CLI.hpp>

#include "models/model.h"

namespace tools::lab {

namespace {

constexpr const char* closing_words =
    "Examples:\n"
    "  ./lab                                  a screen with every channel; q ends it\n"
    "  ./lab --product orvamax                another model\n"
    "  ./lab --peer                           two nodes face to face; tab shows the other\n"
    "  ./lab --product selkaplus --peer selkamin\n"
    "  ./lab --web                            the node in a browser, with buttons that break it\n"
    "  ./lab --peer tarn-one                  a simulated in-line amplifier as the peer\n"
    "  ./lab --until-converged                for scripts: exit code 0 when all is on target\n"
    "  ./lab --until-converged 30 | tail -1   only the summary\n"
    "\n"
    "Peers: naming a product with the same channels runs a second daemon (orvamax with orvapro,\n"
    "selkamin with selkaplus, each with itself). The hyphenated names, orva-lite, selka-min and "
    "so\n"
    "on, and tarn-one and tarn-two, are simulated peers. Where the system does not allow network\n"
    "namespaces, a simulated peer of the same kind replaces the second daemon.\n"
    "\n"
    "While a lab runs, in another terminal, with the folder that the lab printed at its start:\n"
    "  FOLDER/ctl explain                     lumoractl on the node\n"
    "  FOLDER/ctl --nexel sim tree            what the plant can do\n"
    "  FOLDER/ctl-far explain                 the far node of --peer\n"
    "\n"
    "Exit codes: 0 converged, or ended by the user; 1 not converged, or something failed; 2 "
    "usage.\n";

void declare(CLI::App& app, options& given, std::optional<std::string>& peer) {
  app.name("lumora_lab");
  app.set_version_flag("--version", LUMORA_VERSION, "Print the version and exit");
  app.footer(closing_words);
  app.add_option("--product", given.product, "Model of the node")
      ->check(CLI::IsMember(models::names()))
      ->capture_default_str();
  app.add_option("--peer", peer,
                 "The far end: a second daemon of PRODUCT (the same product by default), or a "
                 "simulated peer of FAMILY")
      ->type_name("[PRODUCT|FAMILY]")
      ->expected(0, 1);
  app.add_option("--seed", given.seed, "Seed of everything random in the plant")
      ->capture_default_str();
  app.add_option("--topology", given.topology, "Plant to use, instead of the product's own")
      ->check(CLI::ExistingFile);
  app.add_option("--until-converged", given.until_converged,
                 "No screen: exit when all lit channels are on target, or after SECONDS (120)")
      ->type_name("[SECONDS]")
      ->expected(0, 1)
      ->default_str("120");
  app.add_flag("--web", given.web,
               "Serve each node to a browser, with a bench of faults; prints the address. Without "
               "--peer the far end is simulated, so that faults of the line have one to show at");
  app.add_flag("--keep", given.keep, "Keep the folder with logs and board file");
  app.add_flag("--log", given.log, "Print where the logs are, and keep them");
}

}  // namespace

std::optional<int> read_options(int argc, char** argv, options& given) {
  CLI::App app("A node with its simulated plant: starts it, lights it, shows it.");
  std::optional<std::string> peer;
  declare(app, given, peer);
  try {
    app.parse(argc, argv);
    if (app.count("--peer") > 0) {
      given.peer = find_neighbour(peer.value_or(""), given.product);
    } else if (given.web && given.topology.empty()) {
      given.peer = simulated_like(given.product);
    }
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? exit_ok : exit_usage;
  } catch (const std::invalid_argument& error) {
    std::cerr << "--peer: " << error.what() << '\n';
    return exit_usage;
  }
}

}  // namespace tools::lab
