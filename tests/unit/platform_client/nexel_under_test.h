// A nexel and the way to it, over each transport, so that one suite of tests runs on both.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "journal.h"
#include "platform/in_process/network.h"
#include "platform/value_tree/nx_db.h"
#include "tests/support/nodes.h"

namespace client_test {

using test::command_node;
using test::value_node;

class nexel_under_test {
 public:
  virtual ~nexel_under_test() = default;
  static std::unique_ptr<nexel_under_test> in_process();
  static std::unique_ptr<nexel_under_test> over_socket();

  virtual std::shared_ptr<nexel_client_api> connect(
      std::weak_ptr<nexel_connection_subscriber> connection_subscriber) = 0;
  virtual std::string address() const = 0;
  virtual void set_state(nx::link_state state) = 0;
  virtual bool await(const std::function<bool()>& condition) = 0;
  bool await(const journal& events, const std::string& entry, std::size_t times = 1) {
    return await([&] { return events.count(entry) >= times; });
  }

  nx_db tree;
};

}  // namespace client_test
