// The daemon's server library under measurement, undisturbed or with disturbances of a node: a hung
// device and a subscriber that never reads.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bench/child.h"
#include "bench/contestant.h"
#include "bench/tree_connection.h"

namespace bench {

class value_tree : public contestant {
 public:
  /// `folder` takes the sockets.
  value_tree(const std::string& folder, bool disturbed);

  pid_t server() const override { return child_.pid(); }
  void get() override;
  void get_in_flight() override;
  void get_batch() override;
  void get_by_pattern() override;
  void listen(unsigned listeners) override;
  void event() override { publish(1); }
  void event_burst() override { publish(burst); }
  void set_and_hear() override;
  void set_and_hear_oneself() override;

 private:
  void append_get(std::string& out);
  std::string next_set();
  void add_stuck_subscriber();
  void publish(unsigned events);

  const std::string path_;
  std::unique_ptr<socket> hung_device_;
  socket_pair triggers_;
  child child_;
  tree_connection connection_;
  std::vector<std::unique_ptr<tree_connection>> listeners_;
  std::unique_ptr<tree_connection> stuck_;
  const std::string batch_;
  unsigned next_ = 0;
};

}  // namespace bench
