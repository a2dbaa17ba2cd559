// A nexel and the way to it, over each transport, so that one suite of tests runs on both.
#pragma once

#include <memory>
#include <string>

#include "journal.h"
#include "platform/value_tree/nx_db.h"

namespace client_test {

class nexel_under_test {
 public:
  virtual ~nexel_under_test() = default;
  static std::unique_ptr<nexel_under_test> in_process();
  static std::unique_ptr<nexel_under_test> over_socket();

  virtual std::shared_ptr<nexel_client_api> connect(
      std::weak_ptr<nexel_connection_subscriber> connection_subscriber) = 0;
  std::shared_ptr<nexel_client_api> connect() { return connect({}); }

  virtual std::string address() const = 0;
  virtual void kill() = 0;
  virtual void revive() = 0;
  virtual void hang() = 0;
  virtual void heal() = 0;
  virtual bool await(const journal& events, const std::string& entry, std::size_t times = 1) = 0;
  /// Until the node has (or has no more) subscribers.
  virtual bool await_subscribed(const nx_db_event_node& node, bool subscribed) = 0;

  nx_db tree;
};

}  // namespace client_test
