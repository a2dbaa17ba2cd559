// A value that is computed when somebody reads it, and on its owner's request while somebody
// subscribes: for texts and figures that change in every cycle and that nobody looks at most of the
// time. If the getter fails, the value is in error, for readers and subscribers alike. It has no
// history: what nobody watched was never computed.
//
// Getters are cheap and never block: they are called on I/O threads, and under the value's mutex.
// T: bool, float, unsigned int, std::string or a JSON document.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "api/async_volatile_value.h"
#include "api/attach.h"
#include "api/reading.h"
#include "platform/value_tree/nx_db_node.h"

namespace nx::api {

/// Base for owners that hold many such values of different types.
class lazy_node : public nx_db_event_node {
 public:
  using nx_db_event_node::nx_db_event_node;

  /// Something that the value depends on has changed: subscribers get an event if the value
  /// differs. Costs one look at a flag if there are none. Call on one thread at a time.
  void refresh() {
    if (is_watched_.load(std::memory_order_relaxed)) tell_subscribers();
  }

 protected:
  virtual void tell_subscribers() = 0;

  std::atomic<bool> is_watched_{false};  ///< false: nobody subscribes
};

/// Everything but the getter.
template <class T>
class lazy_value_base : public lazy_node {
 public:
  /// Whether a subscriber who was told the one needs not be told the other.
  using sameness = bool (*)(const T& told, const T& now);

  explicit lazy_value_base(const std::string& name);
  ~lazy_value_base() override;

  /// In place of equality; before the first refresh, and on its thread.
  void compare_by(sameness is_same) { is_same_ = is_same; }

  /// Throws whatever the getter throws, or the error that it returns.
  void get(const std::string& path, json_allocator& allocator, json_value& result) override;
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

 protected:
  virtual reading<T> read() = 0;

 private:
  using result_t = reading<T>;

  result_t checked();
  void tell_subscribers() override;
  result_t present();
  void begin_watching(result_t value);
  bool is_news(const result_t& what) const;
  json_document event_of(const std::string& path, const result_t& what) const;

  sameness is_same_ = nullptr;
  std::mutex mutex_;                // locked before the session's and the owner's
  std::unique_ptr<result_t> told_;  // what subscribers have; null while there are none
};

/// By what the getter returns: T, or a reading of it.
template <class Result>
class lazy_getter_base : public lazy_value_base<Result> {
 public:
  using lazy_value_base<Result>::lazy_value_base;

 protected:
  virtual Result read_getter() = 0;
  reading<Result> read() override { return read_getter(); }
};

template <class T>
class lazy_getter_base<reading<T>> : public lazy_value_base<T> {
 public:
  using lazy_value_base<T>::lazy_value_base;

 protected:
  virtual reading<T> read_getter() = 0;
  reading<T> read() override { return read_getter(); }
};

template <auto Getter>
class lazy_value
    : public async_volatile_value<
          lazy_getter_base<typename member_traits<decltype(Getter)>::result_type>, Getter> {
  using base =
      async_volatile_value<lazy_getter_base<typename member_traits<decltype(Getter)>::result_type>,
                           Getter>;

 public:
  using base::base;

  template <class... Bound>
  static std::shared_ptr<lazy_value> create(nx_db& db, const std::string& path,
                                            const std::shared_ptr<typename base::owner_type>& owner,
                                            Bound... bound) {
    return create_node<lazy_value>(db, path, owner, typename base::bound_type{std::move(bound)...});
  }
};

}  // namespace nx::api
