// What may take the place of sockets under every client that is created from then on: the
// in-process transport of tests. Installed by whoever owns it, which it may outlive no longer than
// a client needs to be made; the lock of the entry is held for the look-up alone.
#pragma once

#include <memory>
#include <string>

#include "platform/nexel_client/nexel_client.h"

namespace nx {

class client_core;

class client_transport {
 public:
  virtual ~client_transport() = default;
  virtual std::shared_ptr<client_core> create_core(
      const std::string& address, std::string name,
      std::weak_ptr<nexel_connection_subscriber> connection_subscriber) = 0;
};

void install_transport(const std::shared_ptr<client_transport>& transport);
/// Does nothing when another one has been installed since.
void remove_transport(const client_transport& transport);

}  // namespace nx
