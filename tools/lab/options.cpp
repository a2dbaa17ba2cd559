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
    "  ./lab --web                            the node in a browser, to break and to mend\n"
    "  ./lab --peer tarn-one                  an in-line amplifier that the simulator plays\n"
    "  ./lab --until-converged                for a script: exit code 0 when all is on target\n"
    "  ./lab --until-converged 30 | tail -1   the summary alone\n"
    "\n"
    "Peers: a product with the same channels runs a second daemon (orvamax with orvapro, selkamin\n"
    "with selkaplus, each with itself); written as its nodes tell it, orva-lite, selka-min and so\n"
    "on, it is simulated, and so are tarn-one and tarn-two. Where the system refuses network\n"
    "namespaces a daemon is replaced by the simulated peer of its kind.\n"
    "\n"
    "Beside a running lab, in another terminal, with the folder that the lab names at its start:\n"
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
                 "Who stands at the far end: a second daemon of PRODUCT (its own when none is "
                 "named), or a simulated peer of FAMILY")
      ->type_name("[PRODUCT|FAMILY]")
      ->expected(0, 1);
  app.add_option("--seed", given.seed, "Of everything that is random in the plant")
      ->capture_default_str();
  app.add_option("--topology", given.topology, "Plant to use, in place of the product's own")
      ->check(CLI::ExistingFile);
  app.add_option("--until-converged", given.until_converged,
                 "No screen: end when all lit channels are on target, or after SECONDS (120)")
      ->type_name("[SECONDS]")
      ->expected(0, 1)
      ->default_str("120");
  app.add_flag("--web", given.web,
               "Serve each node to a browser, with a bench of faults; the address is printed");
  app.add_flag("--keep", given.keep, "Keep the folder with logs and board file");
  app.add_flag("--log", given.log, "Tell where the logs are, and keep them");
}

}  // namespace

std::optional<int> read_options(int argc, char** argv, options& given) {
  CLI::App app("A node with its simulated plant: starts it, lights it, shows it.");
  std::optional<std::string> peer;
  declare(app, given, peer);
  try {
    app.parse(argc, argv);
    if (app.count("--peer") > 0) given.peer = find_neighbour(peer.value_or(""), given.product);
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? exit_ok : exit_usage;
  } catch (const std::invalid_argument& error) {
    std::cerr << "--peer: " << error.what() << '\n';
    return exit_usage;
  }
}

}  // namespace tools::lab
