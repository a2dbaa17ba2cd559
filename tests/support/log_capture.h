// The records that a test causes, past layout and flood guard, in the order they came.
#pragma once

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "platform/note_log/note_log.h"

namespace test {

class log_capture {
 public:
  log_capture() {
    note_log::set_observer([this](const note_log::record& rec) {
      const std::lock_guard lock(mutex);
      kept.push_back(rec);
    });
  }
  ~log_capture() { note_log::set_observer({}); }
  log_capture(const log_capture&) = delete;
  log_capture& operator=(const log_capture&) = delete;

  std::vector<note_log::record> records() const {
    const std::lock_guard lock(mutex);
    return kept;
  }

  std::vector<std::string> texts() const {
    std::vector<std::string> result;
    for (const auto& rec : records())
      result.push_back(rec.text);
    return result;
  }

  bool contains(const std::string& part) const {
    const auto all = texts();
    return std::any_of(all.begin(), all.end(), [&](const std::string& text) {
      return text.find(part) != std::string::npos;
    });
  }

 private:
  mutable std::mutex mutex;
  std::vector<note_log::record> kept;
};

}  // namespace test
