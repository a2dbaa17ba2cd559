#include "tests/support/plant_stage.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/manager/automation.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"
#include "platform/note_log/note_log.h"
#include "tests/support/board_file.h"

namespace test {

long count_of(const log_lines& lines, const std::string& beginning) {
  return std::ranges::count_if(
      lines, [&](const std::string& line) { return line.starts_with(beginning); });
}

sim::topology dark_topology(const std::string& product, unsigned nodes) {
  auto topology = sim::default_topology(product, nodes);
  for (auto& node : topology.nodes)
    node.lit = std::vector<unsigned>{};
  return topology;
}

sim::topology facing(const std::string& product, const std::string& family, double length_km) {
  auto topology = sim::default_topology(product);
  for (auto& fibre : topology.fibres)
    fibre.length_km = length_km;
  topology.peer = family;
  return topology;
}

plant_stage::plant_stage(sim::topology topology)
    : plant_(std::make_unique<sim::plant>(std::move(topology))),
      clock_(std::make_shared<hand_clock>([this](std::chrono::nanoseconds piece) { step(piece); })),
      channels_(plant_->channels()) {
  helpers::waiting::instance().set_source(clock_);
  automation::instance().set("managedCLI");
  logger::instance().level = 2;
  note_log::set_observer([this](const note_log::record& record) { take_line(record.text); });
  network_.set_wait([this](std::chrono::milliseconds time) { clock_->sleep_in_call(time); });
  network_.set_clock([this] { return clock_->steady_now(); });
  load_board_file(plant_->board_file());
}

plant_stage::~plant_stage() {
  note_log::set_observer({});
  helpers::waiting::instance().set_source(nullptr);
}

void plant_stage::end_time() {
  helpers::waiting::instance().stop();
  clock_->interrupt();
}

void plant_stage::step(std::chrono::nanoseconds piece) {
  plant_->step(piece);
  unpolled_ += piece;
  // Inside a device call this thread may hold what a getter or the receiver of an event waits for:
  // pollers and executors of their own would wait for the end of the call.
  if (clock_->is_held()) {
    network_.retry_subscriptions();
    return;
  }
  network_.deliver();
  // The poller counts in whole milliseconds; what is left over waits for the next step.
  const auto whole = std::chrono::duration_cast<std::chrono::milliseconds>(unpolled_);
  unpolled_ -= whole;
  poll(whole);
}

double plant_stage::error_at(unsigned node, unsigned channel) {
  return plant_->channel_power_dbm(node, sim::measuring_point::booster_output, channel) -
         plant_->booster_target_dbm(node, channel);
}

bool plant_stage::all_within(unsigned node, double within_db) {
  for (const auto channel : channels_) {
    if (std::fabs(error_at(node, channel)) >= within_db) return false;
  }
  return true;
}

void plant_stage::take_line(const std::string& text) {
  std::function<void()> action;
  {
    const std::lock_guard lock(log_mutex_);
    log_.push_back(text);
    if (at_awaited_line_ && text.starts_with(awaited_line_)) {
      action = std::exchange(at_awaited_line_, nullptr);
    }
  }
  if (action) action();
}

void plant_stage::at_log_line(std::string beginning, std::function<void()> action) {
  const std::lock_guard lock(log_mutex_);
  awaited_line_ = std::move(beginning);
  at_awaited_line_ = std::move(action);
}

log_lines plant_stage::take_log() {
  const std::lock_guard lock(log_mutex_);
  return std::exchange(log_, {});
}

}  // namespace test
