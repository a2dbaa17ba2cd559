#include "tools/ctl/endpoint.h"

#include "platform/nexel_client/line_client.h"

namespace tools::ctl {

namespace {

constexpr const char* daemon_socket = "/tmp/device_managers/lumora";
constexpr const char* nexel_folder = "/tmp/nexels/";

}  // namespace

endpoint choose_endpoint(const connection_options& options,
                         const std::string& root_of_environment) {
  endpoint chosen;
  if (!options.host.empty()) {
    chosen.host = options.host;
    chosen.port = options.port;
    return chosen;
  }
  const auto& root = options.root.empty() ? root_of_environment : options.root;
  if (!options.socket.empty()) {
    chosen.socket = options.socket;
  } else if (!options.nexel.empty()) {
    chosen.socket = root + nexel_folder + options.nexel;
  } else {
    chosen.socket = root + daemon_socket;
  }
  return chosen;
}

std::unique_ptr<nx::line_client> connect(const endpoint& target) {
  if (!target.host.empty()) return nx::line_client::connect_tcp(target.host, target.port);
  return nx::line_client::connect_unix(target.socket);
}

}  // namespace tools::ctl
