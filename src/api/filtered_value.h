// A measured value as clients see it: the last accepted result, a value or an error, and the events
// about its changes. Reads and subscriptions answer from it and never wait for hardware. The two
// classes below say where results come from: a poll of a getter, or a push of the owner.
//
// Threads: periodic_task comes from the pollers and from pushing owners, the rest from the server.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <variant>

#include "api/failure.h"
#include "api/hysteresis.h"
#include "platform/threads/ranked_mutex.h"
#include "platform/value_tree/nx_db_node.h"

namespace nx::api {

template <class T>
class filtered_value : public nx_db_event_node {
 public:
  using value_type = T;
  using result_t = std::variant<T, nx_error>;

  ~filtered_value() override;

  /// Throws the error that the value holds.
  void get(const std::string& path, json_allocator& allocator, json_value& result) override;
  /// Accepts a new result. A call made while another is in progress returns at once.
  void periodic_task(bool pushed) override;
  /// Does not fail if the value is in error: the answer is then an object with "code" and
  /// "message".
  void subscribe(std::shared_ptr<nx_session> session, const std::string& path,
                 json_allocator& allocator, json_value& result,
                 std::unique_lock<std::recursive_mutex>& lock) override;
  first_value subscribe_text(const std::shared_ptr<nx_session>& session,
                             nx_subscription_number number,
                             nx_db_leaf_node::first_text& first) override;
  std::string get_info() const override;
  json_value get_info(json_allocator& allocator) const override;
  bool node_flag() const override;

 protected:
  filtered_value(const std::string& name, const char* kind, hysteresis<T> filter,
                 const std::function<T()>& initial);

  /// The new result. `lock` of the value's mutex is not held on entry but held on return: a getter
  /// runs without it, a pushed result is taken under it.
  virtual result_t next_result(std::unique_lock<nx::ranked_recursive_mutex>& lock) = 0;

  mutable nx::ranked_recursive_mutex mutex_{
      nx::lock_rank::value};  // guards the filter and the results, including a pushed one
  result_t filtered_;

 private:
  void take(result_t next, bool pushed);
  void _subscribe_assign_value(const std::string& path, json_allocator& allocator,
                               json_value& result) const;

  const char* kind_;  // "polled" or "pushed"
  hysteresis<T> filter_;
  std::atomic<bool> busy_{false};
};

/// Results come from a getter, which is called without the mutex so that a slow device does not
/// delay readers. T: float, std::string, int, bool, unsigned int or a JSON document.
template <class T>
class polled_value_base : public filtered_value<T> {
 public:
  ~polled_value_base() override;

 protected:
  explicit polled_value_base(const std::string& name);
  typename filtered_value<T>::result_t next_result(
      std::unique_lock<nx::ranked_recursive_mutex>& lock) override;
  virtual T read_getter() = 0;
};

}  // namespace nx::api
