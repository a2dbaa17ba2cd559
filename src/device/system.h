// The two nexels that describe the node itself: its inventory, and how it was started. Read once,
// on the manager thread; failures are thrown as nx_client_exception.
#pragma once

#include <memory>
#include <string>

namespace boost::asio {
class io_context;
}
class nexel_client_api;

namespace device::system {

class info {
 public:
  info(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path);

  std::string get_part_number() const;
  std::string get_sw_version() const;
  std::string get_hw_revision() const;

 private:
  std::shared_ptr<nexel_client_api> client_;
};

class start {
 public:
  start(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path);

  /// The node was powered up, as opposed to a restart of software.
  bool is_system_coldstart() const;

 private:
  std::shared_ptr<nexel_client_api> client_;
};

}  // namespace device::system
