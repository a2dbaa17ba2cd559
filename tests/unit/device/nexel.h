// A nexel made of the paths that a test names, reached in-process, which notes each access to it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/nexel_client/in_process.h"
#include "platform/nexel_client/nx_client_exception.h"
#include "platform/value_tree/nx_db.h"
#include "platform/wire/nx_error.h"

namespace device_test {

class nexel {
 public:
  static constexpr const char* address = "/tmp/nexels/device";

  nexel();

  /// A value given as JSON text; a present one is published.
  void value(const std::string& path, const std::string& json);
  /// A command with its answer as JSON text.
  void command(const std::string& path, const std::string& answer);
  void remove(const std::string& path) { db_.remove_node(path); }
  /// Writes to be refused from now on.
  void refuse(unsigned writes) { refusals_ = writes; }
  void set_state(nx::link_state state);

  /// "get PATH", "set PATH VALUE", "run PATH ARGUMENT" since the last call.
  std::vector<std::string> take_accesses();

 private:
  friend class path_node;

  nx_db db_;
  nx::in_process_network network_;
  std::vector<std::string> accesses_;
  unsigned refusals_ = 0;
};

/// What a call raises, as "! CODE MESSAGE"; "" when it raises nothing.
template <class Call>
std::string failure_of(Call&& call) {
  try {
    call();
  } catch (const nx_error& error) {
    return "! " + std::to_string(error.code) + " " + error.message;
  } catch (const nx_client_exception& error) {
    return "! " + std::to_string(error.code) + " " + error.message;
  }
  return "";
}

}  // namespace device_test
