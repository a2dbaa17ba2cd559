// The calls of one connection that wait for their answers, by request id. Ids rise with time, and
// so do the deadlines: the oldest call comes first. Used on its owner's thread; time is passed in.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/nexel_client/nexel_request.h"

namespace nx {

class call_table {
 public:
  using time_point = std::chrono::steady_clock::time_point;
  static constexpr std::uint64_t no_call = 0;  ///< never given out

  /// The id with which the request is sent.
  std::uint64_t add(std::shared_ptr<nexel_object> object, time_point deadline) {
    calls_.emplace_hint(calls_.end(), ++last_id_, waiting_call{std::move(object), deadline});
    return last_id_;
  }
  /// Null for a call that has already failed.
  std::shared_ptr<nexel_object> take(std::uint64_t id) {
    auto node = calls_.extract(id);
    return node ? std::move(node.mapped().object) : nullptr;
  }
  std::vector<std::shared_ptr<nexel_object>> take_expired(time_point now) {
    std::vector<std::shared_ptr<nexel_object>> taken;
    while (!calls_.empty() && calls_.begin()->second.deadline <= now) {
      taken.push_back(std::move(calls_.begin()->second.object));
      calls_.erase(calls_.begin());
    }
    return taken;
  }
  std::vector<std::shared_ptr<nexel_object>> take_all() { return take_expired(time_point::max()); }
  std::optional<time_point> next_deadline() const {
    if (calls_.empty()) return std::nullopt;
    return calls_.begin()->second.deadline;
  }

 private:
  struct waiting_call {
    std::shared_ptr<nexel_object> object;
    time_point deadline;
  };
  std::map<std::uint64_t, waiting_call> calls_;
  std::uint64_t last_id_ = no_call;
};

}  // namespace nx
