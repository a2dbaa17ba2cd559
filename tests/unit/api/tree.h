// A tree without threads and sockets, driven as a server would drive it, and a session that keeps
// what it is sent.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "platform/value_tree/nx_db.h"
#include "platform/value_tree/nx_session.h"
#include "platform/value_tree/poll_scheduler.h"
#include "platform/value_tree/value_group.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/nx_error.h"

namespace api_test {

/// Events as "PATH = VALUE" or "PATH ! CODE MESSAGE"; a subscription's first one with "first " in
/// front.
class session : public nx_session {
 public:
  void deliver(std::shared_ptr<const nx_event> event, bool first) override;
  void subscription_ended(const std::string&, const std::string&) override {}

  std::vector<std::string> take();

 private:
  std::vector<std::string> events_;
};

struct tree {
  std::shared_ptr<nx::manual_poller> poller = std::make_shared<nx::manual_poller>();
  nx_db db{poller};

  /// Answers as JSON text; an error as "! CODE MESSAGE", a refused value as "? EXPECTED, FOUND".
  std::string get(const std::string& path);
  std::string set(const std::string& path, const std::string& json);
  std::string run(const std::string& path, const std::string& json);
  std::string subscribe(const std::string& path, const std::shared_ptr<session>& who);
  std::string info(const std::string& path);
  void seconds(int count) { poller->advance(std::chrono::seconds(count)); }
  std::vector<std::string> history(const std::string& path);
};

/// What a call raises, as `tree` tells it; "" when it raises nothing.
template <class Call>
std::string failure_of(Call&& call) {
  try {
    call();
  } catch (const nx_error& error) {
    return "! " + std::to_string(error.code) + " " + error.message;
  } catch (const json_value_conversion_error& error) {
    return std::string("? ") + error.expected + ", " + error.found;
  }
  return "";
}

}  // namespace api_test
