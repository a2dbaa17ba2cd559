// The supervisory link between two nodes of a test: two network namespaces, joined by a pair of
// virtual interfaces called osc0. Removed with the object. The test itself stays outside: it
// reaches the daemons over their unix sockets.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/process.h"

namespace test {

class supervisory_link {
 public:
  static constexpr const char* interface = "osc0";

  /// Null if the system does not allow namespaces.
  static std::unique_ptr<supervisory_link> make();

  /// The command prefix that runs a command on a node: 0 is fe80::1, 1 is fe80::2.
  std::vector<std::string> enter(unsigned node) const;

  /// The calling thread is on a node's network from then on; for who has the privilege.
  bool lets_threads_in() const { return !of_user_; }
  void take_thread_to(unsigned node) const;

  /// As if the module were pulled out, and plugged in again: the interfaces are others then.
  /// `more_addresses` come on the far node before its own.
  void unplug() const;
  void plug(const std::vector<std::string>& more_addresses = {}) const;

 private:
  supervisory_link() = default;
  bool hold(unsigned node, std::vector<std::string> command);
  void on(unsigned node, const std::vector<std::string>& command) const;
  void bring_up(unsigned node, const std::vector<std::string>& addresses) const;

  bool of_user_ = false;  // the namespaces belong to one of users: the test has no privileges
  std::array<std::unique_ptr<process>, 2> holders_;
};

}  // namespace test
