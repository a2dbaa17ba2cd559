// /metrics: asks the tree for what a scrape tells, and answers everybody who asked meanwhile with
// the same text. While a collector comes now and then it follows the cycles and the steps between
// scrapes too, which cost the daemon one short read a second. A daemon that is lost leaves
// lumora_up 0 and nothing else. On the gateway's thread.
#pragma once

#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "gateway/http/exchange.h"
#include "gateway/metrics/running_counts.h"
#include "gateway/tree/tree_mirror.h"

namespace gateway {

class scrape : public mirror_watcher, public std::enable_shared_from_this<scrape> {
 public:
  scrape(boost::asio::io_context& io, std::shared_ptr<tree_mirror> mirror);
  ~scrape() override;

  void metrics(const request& asked, const respond& done);
  void stop();

 private:
  struct gathering;

  void ask();
  void answered(gathering& all, const nx::json_value* result, const nx_error* error);
  void finish(const gathering* all);
  void follow();
  void unfollow();
  void read_cycle();
  void mirror_changed() override;
  std::string node_of(const nx::json_value& values);

  const std::shared_ptr<tree_mirror> mirror_;
  std::string node_;
  std::vector<std::pair<bool, respond>> waiting_;  ///< whether in the form of OpenMetrics
  running_counts counts_;
  std::vector<std::shared_ptr<topic>> followed_;
  std::vector<topic::number> seen_;
  unsigned link_changes_ = 0;
  boost::asio::steady_timer timer_;
  std::chrono::steady_clock::time_point last_scrape_;
};

}  // namespace gateway
