#include "tests/loops/bars/switch_faults.h"

#include <fmt/format.h>

#include <optional>

#include "platform/kvs_client/kvs_client.h"
#include "tests/loops/bars/node_case.h"

namespace bars {

using sim::reading_fault;
using sim::write_fault;

namespace {

std::optional<double> stored(const std::string& module, unsigned channel) {
  const auto text = kvs_memory::get(
      fmt::format("{{conf}}:nx/wss:config/module/{}/channel/{}/attenuation", module, channel));
  return text.empty() ? std::nullopt : std::optional(std::stod(text));
}

}  // namespace

/// Makes a switch that follows the store do so 1.5 s late.
class switch_spoiler::slow_store {
 public:
  std::optional<double> operator()(const std::string& module, unsigned channel) {
    auto& one = channels_[{module, channel}];
    const auto wanted = stored(module, channel);
    if (wanted != one.seen) {
      one.shown = one.seen;
      one.seen = wanted;
      one.looks = 0;
    }
    return ++one.looks > looks_of_delay || !one.shown ? one.seen : one.shown;
  }

 private:
  static constexpr int looks_of_delay = 15;  // ten a second
  struct state {
    std::optional<double> seen;
    std::optional<double> shown;
    int looks = 0;
  };

  std::map<std::pair<std::string, unsigned>, state> channels_;
};

switch_spoiler::switch_spoiler(test::plant_node& node, const std::string& model,
                               switch_fault what) {
  auto& plant = node.plant();
  const auto device = switch_device(model);
  const auto read_back = attenuation_path(model, "data", "*");
  const auto writes = attenuation_path(model, "config", "*");
  if (what == switch_fault::rounds_read_back) {
    plant.set_reading_fault(0, device, read_back, reading_fault::stepped(0.25));
  } else if (what == switch_fault::frozen_read_back) {
    plant.set_reading_fault(0, device, read_back, reading_fault::frozen());
  } else if (what == switch_fault::trembling) {
    plant.set_reading_fault(0, device, read_back, reading_fault::trembling(0.02));
  } else if (!is_selka(model)) {
    plant.set_write_fault(0, device, writes,
                          what == switch_fault::moves_late ? write_fault::late(1500ms)
                                                           : write_fault::lost().each(10));
  } else if (what == switch_fault::moves_late) {
    // A write to the store reaches the switch late, but is never lost.
    store_ = std::make_shared<slow_store>();
    plant.set_switch_source([store = store_](const std::string& module, unsigned channel) {
      return (*store)(module, channel);
    });
  }
}

switch_spoiler::~switch_spoiler() = default;

void refuse_writes(test::plant_node& node, const std::string& model, unsigned channel) {
  const auto name = fmt::format("{}", channel);
  if (!is_selka(model)) {
    return node.plant().set_write_fault(
        0, switch_device(model), attenuation_path(model, "config", name), write_fault::refused());
  }
  node.plant().set_switch_source([channel](const std::string& module, unsigned which) {
    return module == "add" && which == channel ? std::nullopt : stored(module, which);
  });
}

void heal_writes(test::plant_node& node, const std::string& model) {
  if (is_selka(model)) return node.plant().set_switch_source(stored);
  node.plant().heal_writes(0, switch_device(model));
}

}  // namespace bars
