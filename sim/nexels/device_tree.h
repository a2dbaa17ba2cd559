// The tree of one simulated device service. Derived trees add their paths in the constructor, own
// the readings that change, and copy the plant's state into them in `publish`, which is called with
// the plant's lock held after each step.
//
// Every reading and every write of a service passes its faults (reading_faults.h, write_faults.h),
// so each device can lie, freeze or lose writes without code of its own.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "platform/value_tree/nx_db.h"
#include "sim/nexels/device_values.h"
#include "sim/nexels/reading_faults.h"
#include "sim/nexels/write_faults.h"

namespace sim {

class device_tree {
 public:
  /// `light` guards the plant; each setting takes it before it acts.
  device_tree(std::string name, std::mutex& light) : name_(std::move(name)), light_(light) {}
  virtual ~device_tree() = default;
  device_tree(const device_tree&) = delete;
  device_tree& operator=(const device_tree&) = delete;

  const std::string& name() const { return name_; }
  nx_db& db() { return db_; }

  virtual void publish() {}
  /// As after a restart of the device behind the service: channels added by command are gone.
  /// Called with the plant's lock held.
  virtual void forget_channels() {}
  /// Adding a channel that is already there is answered with false. Called with the plant's lock
  /// held.
  virtual void refuse_known_channels(bool) {}

  /// While set, every write is answered with the error -5 "Refused by the device".
  void set_refusing(bool refusing) { refusing_ = refusing; }
  /// The service's faults. Called with the plant's lock held, as is `step_faults`, which advances
  /// their time and comes before `publish`.
  reading_faults& readings() { return reading_faults_; }
  write_faults& writes() { return write_faults_; }
  void set_noise(std::uint64_t seed, const std::string& stream);
  void step_faults(std::chrono::nanoseconds dt);

  /// Ends all clients' subscriptions to paths that match the pattern.
  void drop_subscriptions(const std::string& pattern);

 protected:
  template <class T>
  using reading_ptr = std::shared_ptr<reading<T>>;

  template <class T>
  reading_ptr<T> add_reading(const std::string& path, T initial) {
    auto added = add<reading<T>>(path, std::move(initial));
    reading_faults_.watch(added);
    return added;
  }

  template <class T>
  std::shared_ptr<setting<T>> add_setting(const std::string& path, T initial,
                                          std::function<void(const T&)> accept) {
    auto guarded = [this, path, accept = std::move(accept)](const T& value) {
      const std::lock_guard lock(enter());
      write_faults_.pass(path, [accept, value] { accept(value); });
    };
    return add<setting<T>>(path, std::move(initial), std::move(guarded));
  }

  /// As above, for a setting that takes the lock itself or must not hold it.
  template <class T>
  std::shared_ptr<setting<T>> add_free_setting(const std::string& path, T initial,
                                               std::function<void(const T&)> accept) {
    return add<setting<T>>(path, std::move(initial), std::move(accept));
  }

  template <class Arg, class Answer>
  void add_free_command(const std::string& path, std::function<Answer(const Arg&)> execute) {
    add<device_command<Arg, Answer>>(path, std::move(execute));
  }

  template <class Arg, class Answer>
  void add_command(const std::string& path, std::function<Answer(const Arg&)> execute) {
    auto guarded = [this, path, execute = std::move(execute)](const Arg& argument) {
      const std::lock_guard lock(enter());
      const auto answer = std::make_shared<Answer>(as_if_done<Answer>(argument));
      write_faults_.pass(path, [=] { *answer = execute(argument); });
      return *answer;
    };
    add<device_command<Arg, Answer>>(path, std::move(guarded));
  }

 private:
  template <class Node, class... Args>
  std::shared_ptr<Node> add(const std::string& path, Args&&... args) {
    const auto [own_name, parent] = nx_db::split_path(path);
    auto node = std::make_shared<Node>(own_name, std::forward<Args>(args)...);
    db_.add_node(parent, node);
    return node;
  }

  /// Answer of a command that is lost or late.
  template <class Answer, class Arg>
  static Answer as_if_done(const Arg& argument) {
    if constexpr (std::is_same_v<Arg, Answer>) {
      return argument;
    } else {
      return Answer(true);
    }
  }

  /// Locks the plant, unless the device refuses.
  std::mutex& enter() const;

  std::string name_;
  std::mutex& light_;
  std::atomic<bool> refusing_{false};
  reading_faults reading_faults_;
  write_faults write_faults_;
  nx_db db_;
};

}  // namespace sim
