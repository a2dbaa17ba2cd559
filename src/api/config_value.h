// The part of a configuration parameter that knows its type but not its setter: the stored value,
// the rules of set and reset, events and the info record. T: bool, float, std::string or a JSON
// document.
//
// All of it runs on the server's threads, with the node's mutex held while the setter runs: a
// reader waits for a slow setter, and a setter may read its own parameter. If the setter never
// blocks, neither do reads and writes.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/threads/ranked_mutex.h"
#include "platform/value_tree/nx_db_node.h"

namespace nx::api {

template <class T>
class config_value : public nx_db_event_node {
 public:
  struct min_max_range_t {
    T min;
    T max;
  };
  struct min_max_grid_range_t {
    T min;
    T max;
    T grid;
  };
  /// The first alternative means none.
  using constraints_t = std::variant<bool, min_max_range_t, min_max_grid_range_t, std::vector<T>>;

  config_value(const std::string& name, std::optional<T> initial);
  ~config_value() override;

  // Information for clients, shown in the info record; `set` does not check it.
  void declare_default(T value);
  void declare_constraints(constraints_t constraints);

  /// Writing the stored value again does not call the setter. Throws json_value_conversion_error,
  /// nx_error -61 for a float that is not finite, -2 if the owner is gone, and whatever the setter
  /// throws; in each case the value stays as it was.
  void set(const std::string& path, const json_value& value) override;
  void get(const std::string& path, json_allocator& allocator, json_value& result) override;
  void reset() override;
  void subscribe(std::shared_ptr<nx_session> session, const std::string& path,
                 json_allocator& allocator, json_value& result,
                 std::unique_lock<std::recursive_mutex>& lock) override;
  first_value subscribe_text(const std::shared_ptr<nx_session>& session,
                             nx_subscription_number number,
                             nx_db_leaf_node::first_text& first) override;
  std::string get_info() const override;
  json_value get_info(json_allocator& allocator) const override;
  bool node_flag() const override;
  bool read_may_wait() const override;

 protected:
  /// Calls the owner's setter.
  virtual void apply(const T& value) = 0;

 private:
  void warn_once_if_unset();
  json_value read(json_allocator& allocator);
  void add_constraints(json_value& record, json_allocator& allocator) const;

  nx::ranked_recursive_mutex mutex_{nx::lock_rank::parameter};  // guards the value and the warning
  std::optional<T> value_;
  bool warn_on_read_;
  mutable std::recursive_mutex info_mutex_;  // guards what follows
  std::optional<T> default_value_;
  constraints_t constraints_;
};

}  // namespace nx::api
