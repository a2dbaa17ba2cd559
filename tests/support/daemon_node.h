// A node of real processes under a temporary folder: the key store, the simulated devices, the
// daemon. The test starts each of them when needed, and all end with the object.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/private_redis.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace test {

/// Polls until the condition is true; false when patience ends. For conditions without an event.
bool eventually(const std::function<bool()>& condition);

/// SIGTERM, after which the process must end with status 0 within a healthy node's time; returns
/// "", or what it did instead.
std::string fault_of_end(process& daemon,
                         std::chrono::milliseconds limit = std::chrono::seconds(2));

class daemon_node {
 public:
  static constexpr const char* conf_tag = "{conf}";
  static constexpr const char* data_tag = "{data}";

  daemon_node();

  private_redis& store() { return store_; }
  /// Status "ok", mounted, with a software version: what the node's other services write.
  void seed_store();
  /// Starts the store and seeds it.
  void start_store();

  /// The simulated devices of a model, from the project's own topology of that name.
  void start_devices(const std::string& topology, const std::vector<std::string>& arguments = {});
  process& devices() { return *devices_; }
  void stop_devices() { devices_.reset(); }

  /// Where daemons started from now on listen for a peer; by default an interface that does not
  /// exist.
  void listen_on(const std::string& interface, unsigned port) {
    interface_ = interface;
    port_ = port;
  }

  /// A daemon under this node's folder. `arguments` follow those for where it listens.
  process& start_daemon(const std::vector<std::string>& arguments = {});
  process& daemon() { return *daemon_; }
  /// As `start_daemon` would run it: for a second one, or with other variables.
  process::settings daemon_settings(const std::vector<std::string>& arguments = {}) const;
  /// An environment variable for daemons started from now on.
  void give_daemon(const std::string& variable, const std::string& value) {
    daemon_environment_[variable] = value;
  }

  const temp_folder& root() const { return root_; }
  std::string daemon_socket() const;

  /// One call on a separate connection: the JSON text of the value, or "error CODE TEXT".
  std::string read(const std::string& path) const;
  std::string write(const std::string& path, const std::string& value) const;
  bool serves() const;
  /// Waits until the daemon is built and its configuration may be written.
  bool await_configuration() const;

 private:
  temp_folder root_;
  std::string interface_ = "none0";
  unsigned port_ = 5100;
  private_redis store_{root_.path()};
  std::map<std::string, std::string> daemon_environment_;
  std::unique_ptr<process> devices_;
  std::unique_ptr<process> daemon_;
};

}  // namespace test
