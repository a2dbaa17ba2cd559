// Which tree the command line talks to: the daemon of a node, one of its nexels, any unix socket,
// or a peer over TCP.
#pragma once

#include <memory>
#include <string>

namespace nx {
class line_client;
}

namespace tools::ctl {

/// As given by the options; empty texts were not given. At most one of the four ways is used; by
/// default the daemon of this node.
struct connection_options {
  std::string socket;  ///< used as it is
  std::string nexel;   ///< a name under /tmp/nexels
  std::string host;    ///< "fe80::1%eth1" or "::1"
  unsigned port = 5100;
  std::string root;  ///< prefixed to the sockets of the daemon and of nexels
};

struct endpoint {
  std::string socket;  ///< empty for TCP
  std::string host;
  unsigned port = 0;
};

/// `root_of_environment` is the value of NX_ROOT, or empty; the option takes precedence.
endpoint choose_endpoint(const connection_options& options, const std::string& root_of_environment);

/// Throws nx_client_exception -107.
std::unique_ptr<nx::line_client> connect(const endpoint& target);

}  // namespace tools::ctl
