// The command line of the gateway.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace gateway {

struct options {
  std::string tree = "unix:/tmp/device_managers/lumora";
  std::string listen = "127.0.0.1:9720";
  std::string page = LUMORA_PAGE_FOLDER;
  std::string certificate;
  std::string key;
  std::string token_file;
  std::vector<std::string> hosts;
  std::string lab;  ///< the simulated plant's tree, in the same form; empty on a real node
  unsigned lab_node = 0;
  bool allow_writes = false;
};

/// Empty if the process is to exit with `exit_code`: help, version or a wrong option.
std::optional<options> parse_options(int argc, const char* const* argv, int& exit_code);

/// Where to listen, "HOST:PORT" or "[HOST]:PORT" with an address for HOST.
struct listen_address {
  std::string host;
  unsigned short port = 0;
};
std::optional<listen_address> parse_listen_address(const std::string& text);

}  // namespace gateway
