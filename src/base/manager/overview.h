// "insight/summary" and "insight/rest": collects the loops' reports for the one line that a person
// reads first. Computed when somebody reads or subscribes.
//
// note_* on the manager thread, once a cycle; the getters on the server's. A reader copies under
// small mutexes, one at a time: none of a plan, and none that is held across a device call.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/insight/channel_board.h"
#include "base/insight/summary.h"

class nx_db;
namespace nx::api {
class lazy_node;
}
namespace manager::loops {
class line_loop;
}

namespace manager {

class overview : public std::enable_shared_from_this<overview> {
 public:
  using board_ptr = std::shared_ptr<::insight::channel_board>;

  void setup_api(nx_db& db, std::shared_ptr<loops::line_loop> line, board_ptr rx, board_ptr tx);

  /// The result of the cycle. A loop that is down has a reason.
  struct cycle_facts {
    std::vector<std::pair<const char*, std::string>> down{};
    std::string peer{};
    bool is_regulating = true;
  };
  void note_cycle(cycle_facts facts);

  std::string get_summary();
  nx::json_document get_rest();

 private:
  ::insight::node_facts gather();
  void note_faults(const cycle_facts& facts);
  unsigned news_of_channels() const;

  std::shared_ptr<loops::line_loop> line_;
  std::vector<board_ptr> boards_;
  std::vector<std::shared_ptr<nx::api::lazy_node>> nodes_;

  // Hunting ends without a step, hence without news. Set by whoever reads.
  std::atomic<bool> has_told_hunting_{false};
  unsigned told_news_ = 0;                           // manager thread only
  std::chrono::steady_clock::time_point told_at_{};  // likewise

  std::mutex mutex_;  // guards the members below
  ::insight::node_facts facts_;
};

}  // namespace manager
