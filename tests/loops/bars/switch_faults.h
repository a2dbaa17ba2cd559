// The faults of a channel switch, on models that write to it and on those whose switch follows the
// key store.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>

#include "tests/support/plant_node.h"

namespace bars {

enum class switch_fault {
  loses_every_tenth,
  rounds_read_back,
  frozen_read_back,
  moves_late,
  trembling
};

inline constexpr switch_fault all_switch_faults[] = {
    switch_fault::loses_every_tenth, switch_fault::rounds_read_back, switch_fault::frozen_read_back,
    switch_fault::moves_late, switch_fault::trembling};

/// Spoils the add switch of a node from now on.
class switch_spoiler {
 public:
  switch_spoiler(test::plant_node& node, const std::string& model, switch_fault what);
  ~switch_spoiler();
  switch_spoiler(const switch_spoiler&) = delete;
  switch_spoiler& operator=(const switch_spoiler&) = delete;

 private:
  class slow_store;
  std::shared_ptr<slow_store> store_;
};

/// From now on the writes of one channel on the add side fail, as far as the model can be told so:
/// those that go through the store are lost.
void refuse_writes(test::plant_node& node, const std::string& model, unsigned channel);
void heal_writes(test::plant_node& node, const std::string& model);

}  // namespace bars
