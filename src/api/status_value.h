// A value that a loop writes when it changes. A write is published at once; writing the same value
// again costs one comparison. T: bool, float, std::string, unsigned int. Units are up to the owner.
//
// Owners call `update` from any thread; the server reads and subscribes on its own threads.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "platform/threads/ranked_mutex.h"
#include "platform/value_tree/nx_db_node.h"

namespace nx::api {

template <class T, class Compare = std::equal_to<T>>
class status_value : public nx_db_event_node {
 public:
  /// `delay_cycles`: number of periodic cycles that a change made before the node was attached
  /// waits.
  status_value(const std::string& name, T initial, std::uint32_t delay_cycles);
  ~status_value() override;

  static std::shared_ptr<status_value> create(nx_db& db, const std::string& path, T initial,
                                              std::uint32_t delay_cycles);

  /// Returns the value now stored. Throws nx_error -61 for a float that is not finite; then nothing
  /// changes.
  T update(const T& value);
  /// The value last published, which is what clients read.
  T get_last_sent() const;

  void get(const std::string& path, json_allocator& allocator, json_value& result) override;
  bool append_text(std::string& out) const override;
  void periodic_task(bool pushed) override;
  void subscribe(std::shared_ptr<nx_session> session, const std::string& path,
                 json_allocator& allocator, json_value& result,
                 std::unique_lock<std::recursive_mutex>& lock) override;
  first_value subscribe_text(const std::shared_ptr<nx_session>& session,
                             nx_subscription_number number,
                             nx_db_leaf_node::first_text& first) override;
  std::string get_info() const override;
  json_value get_info(json_allocator& allocator) const override;

 private:
  void send();

  mutable nx::ranked_recursive_mutex mutex_{nx::lock_rank::value};  // guards what follows
  T value_;
  T last_sent_;
  const std::uint32_t delay_cycles_;
  std::uint32_t cycle_count_ = 0;
};

}  // namespace nx::api
