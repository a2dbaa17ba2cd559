// A reading of a simulated device that can be made to lie. Without a fault this costs nothing. With
// faults, the newest one determines what reads, subscriptions and events show, and a change of what
// is shown is an event at once.
//
// Faults are added and removed with the plant's lock held; clients read from any thread.
#pragma once

#include <mutex>
#include <vector>

#include "platform/value_tree/nx_db_node.h"
#include "sim/nexels/distortion.h"

namespace sim {

class faulty_reading : public nx_db_event_node {
 public:
  using nx_db_event_node::nx_db_event_node;

  /// `number` identifies the fault among those of this reading.
  void begin_fault(unsigned number, const reading_fault& fault, noise_source noise);
  void end_fault(unsigned number);
  void step_fault(std::chrono::nanoseconds dt);

  void get(const std::string& path, json_allocator& allocator, json_value& result) override;
  void subscribe(std::shared_ptr<nx_session> session, const std::string& path,
                 json_allocator& allocator, json_value& result,
                 std::unique_lock<std::recursive_mutex>& lock) override;

 protected:
  // All of these are called with mutex_ held.
  virtual json_value true_value(json_allocator& allocator) const = 0;
  virtual bool is_measured() const = 0;
  /// The true value has changed.
  void value_changed();

  mutable std::mutex mutex_;

 private:
  struct active_fault {
    unsigned number;
    distortion effect;
  };
  shown_reading true_reading() const;
  void show();
  json_document event_of_value(std::string path) const;
  json_document event_of_shown(std::string path) const;

  std::vector<active_fault> faults_;
  shown_reading shown_;  // while there are faults
};

}  // namespace sim
