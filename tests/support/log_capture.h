// The records that a test causes, before layout and flood guard, in order of arrival.
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
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
      changed.notify_all();
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

  long count(const std::string& part) const {
    const auto all = texts();
    return std::count_if(all.begin(), all.end(), [&](const std::string& text) {
      return text.find(part) != std::string::npos;
    });
  }
  bool contains(const std::string& part) const { return count(part) > 0; }

  /// Waits for that many records.
  std::vector<std::string> wait_for(std::size_t lines) const {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return kept.size() >= lines; });
    lock.unlock();
    return texts();
  }

  /// False if no such record comes.
  bool comes(const std::string& part) const {
    constexpr std::chrono::seconds patience{30};
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, patience, [&] {
      return std::any_of(kept.begin(), kept.end(),
                         [&](const auto& rec) { return rec.text.find(part) != std::string::npos; });
    });
  }

 private:
  mutable std::mutex mutex;
  mutable std::condition_variable changed;
  std::vector<note_log::record> kept;
};

}  // namespace test
