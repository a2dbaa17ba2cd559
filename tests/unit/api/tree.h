// A tree without threads and sockets, driven as a server would drive it.
#pragma once

#include <rapidjson/document.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "platform/value_tree/nx_db.h"
#include "platform/value_tree/poll_scheduler.h"
#include "platform/value_tree/value_group.h"
#include "tests/support/failure.h"
#include "tests/support/recording_session.h"
#include "tests/support/tree_values.h"

namespace api_test {

using session = test::recording_session;
using test::failure_of;

/// Answers as JSON text; failures as `failure_of` tells them.
struct tree {
  std::shared_ptr<nx::manual_poller> poller = std::make_shared<nx::manual_poller>();
  nx_db db{poller};

  std::string get(const std::string& path) { return test::shown_at(db, path); }
  std::string set(const std::string& path, const std::string& json) {
    return failure_of([&] { test::write_to(db, path, json); });
  }
  std::string run(const std::string& path, const std::string& json) {
    std::string answer;
    const auto failure = failure_of([&] { answer = test::run_at(db, path, json); });
    return failure.empty() ? answer : failure;
  }
  std::string subscribe(const std::string& path, const std::shared_ptr<session>& who) {
    return test::subscribe_to(db, path, who);
  }
  std::string info(const std::string& path) {
    nx::json_document document;
    return nx::json_text(db.find(path)->get_info(document.GetAllocator()));
  }
  void seconds(int count) { poller->advance(std::chrono::seconds(count)); }
  std::vector<std::string> history(const std::string& path) {
    std::vector<std::string> values;
    for (const auto& entry : db.history(path))
      values.push_back(entry.value);
    return values;
  }
};

}  // namespace api_test
