#include "gateway/options.h"

#include <CLI/CLI.hpp>
#include <charconv>

namespace gateway {

namespace {

constexpr const char* closing_words =
    "Addresses:\n"
    "  /                      the page\n"
    "  /metrics               for Prometheus\n"
    "  /api/v1/values?path=P  present values; P is a path or a pattern\n"
    "  /api/v1/history?path=P former values of one path\n"
    "  /api/v1/events?path=P  server-sent events\n"
    "  /healthz, /readyz      is the gateway alive; does the daemon regulate\n";

void declare(CLI::App& app, options& given) {
  app.name("lumora_gateway");
  app.set_version_flag("--version", LUMORA_VERSION, "Print the version and exit");
  app.footer(closing_words);
  app.add_option("--tree", given.tree, "Socket of the daemon, under NX_ROOT if that is set")
      ->type_name("unix:PATH")
      ->capture_default_str();
  app.add_option("--listen", given.listen, "Where to serve; port 0 picks a free one")
      ->type_name("ADDRESS:PORT")
      ->capture_default_str();
  app.add_option("--page", given.page, "Folder of the page")
      ->type_name("DIR")
      ->capture_default_str();
  app.add_option("--certificate", given.certificate, "Certificate chain (PEM), to serve over TLS")
      ->type_name("FILE");
  app.add_option("--key", given.key, "Private key of the certificate (PEM)")->type_name("FILE");
  app.add_option("--token-file", given.token_file,
                 "File with the token required for writing, and for reading beyond loopback")
      ->type_name("FILE");
  app.add_option("--host", given.hosts,
                 "A host name by which the gateway is reached, besides its address")
      ->type_name("NAME");
  app.add_option("--lab", given.lab,
                 "Socket of the simulated plant, for the page's bench of faults")
      ->type_name("unix:PATH");
  app.add_option("--lab-node", given.lab_node, "Number of the node in the plant")
      ->capture_default_str();
  app.add_flag("--allow-writes", given.allow_writes, "Serve writes; needs --token-file");
}

}  // namespace

std::optional<options> parse_options(int argc, const char* const* argv, int& exit_code) {
  constexpr int wrong_command_line = 1;
  options given;
  CLI::App app("Serves a node to browsers and to Prometheus, alongside its daemon.");
  declare(app, given);
  try {
    app.parse(argc, argv);
    return given;
  } catch (const CLI::ParseError& error) {
    exit_code = app.exit(error) == 0 ? 0 : wrong_command_line;
    return std::nullopt;
  }
}

std::optional<listen_address> parse_listen_address(const std::string& text) {
  const auto colon = text.rfind(':');
  if (colon == text.npos) return std::nullopt;
  listen_address parsed{text.substr(0, colon), 0};
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data() + colon + 1, end, parsed.port);
  if (error != std::errc() || rest != end) return std::nullopt;
  if (parsed.host.starts_with('[') && parsed.host.ends_with(']')) {
    parsed.host = parsed.host.substr(1, parsed.host.size() - 2);
  }
  if (parsed.host == "localhost") parsed.host = "127.0.0.1";
  return parsed;
}

}  // namespace gateway
