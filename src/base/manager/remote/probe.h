// Does the peer still answer? It reports only changes, so silence can mean rest or death; now and
// then it is asked for a value that every peer has.
//
// On the manager thread only; never blocks and throws nothing.
#pragma once

#include <chrono>
#include <future>
#include <optional>
#include <string>

class nexel_client_api;

namespace manager::remote {

class probe {
 public:
  using time_point = std::chrono::steady_clock::time_point;

  /// A connection whose peer has just answered.
  void begin(time_point now);
  /// Collects the answer, and asks again when it is time.
  void tend(nexel_client_api& peer, time_point now);
  void end();

  std::optional<time_point> last_answer() const { return last_answer_; }

 private:
  void take_answer(time_point now);

  std::optional<time_point> last_answer_;  ///< on the present connection
  time_point last_question_;
  std::future<std::string> answer_;
};

}  // namespace manager::remote
