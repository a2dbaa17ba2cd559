// Replaces sockets for every client created from now on: the in-process transport of tests.
// Installed by its owner; it must live only as long as creating a client takes. The lock on the
// entry is held only for the look-up.
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
/// Does nothing if another one has been installed since.
void remove_transport(const client_transport& transport);

}  // namespace nx
