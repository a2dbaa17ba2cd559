#include "base/manager/overview.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <utility>

#include "api/lazy_value.h"
#include "base/insight/news.h"
#include "base/manager/loops/line_loop.h"
#include "helpers/waiting.h"

namespace manager {

namespace {

using namespace std::chrono_literals;

constexpr auto between_looks_at_hunting = 10s;

bool hunts(const ::insight::node_facts& node) {
  return node.voa.is_hunting(node.now) || std::ranges::any_of(node.channels, [&](const auto& of) {
           return of.actuator.is_hunting(node.now);
         });
}

}  // namespace

void overview::setup_api(nx_db& db, std::shared_ptr<loops::line_loop> line, board_ptr rx,
                         board_ptr tx) {
  line_ = std::move(line);
  boards_ = {std::move(rx), std::move(tx)};
  const auto self = shared_from_this();
  nodes_ = {
      ::insight::told_value<&overview::get_summary>(db, "insight/summary", self),
      nx::api::lazy_value<&overview::get_rest>::create(db, "insight/rest", self),
  };
}

void overview::note_faults(const cycle_facts& facts) {
  std::vector<::insight::loop_fault> faults;
  for (const auto& [loop, reason] : facts.down) {
    const auto known = std::ranges::find(facts_.faults, loop, &::insight::loop_fault::loop);
    const auto since = known != facts_.faults.end() ? known->since : helpers::system_now();
    faults.push_back({loop, reason, since});
  }
  facts_.faults = std::move(faults);
}

void overview::note_cycle(cycle_facts facts) {
  if (nodes_.empty()) return;
  auto line = line_->get_verdict();
  bool is_news = news_of_channels() != std::exchange(told_news_, news_of_channels());
  const auto now = helpers::steady_now();
  is_news = is_news || (has_told_hunting_ && now - told_at_ >= between_looks_at_hunting);
  {
    const std::lock_guard lock(mutex_);
    is_news = is_news || line != facts_.line || facts.peer != facts_.peer ||
              facts.is_regulating != facts_.is_regulating ||
              facts.down.size() != facts_.faults.size();
    note_faults(facts);
    facts_.line = std::move(line);
    facts_.peer = std::move(facts.peer);
    facts_.is_regulating = facts.is_regulating;
  }
  if (!is_news) return;
  told_at_ = now;
  for (const auto& node : nodes_)
    node->refresh();
}

unsigned overview::news_of_channels() const {
  unsigned sum = 0;
  for (const auto& board : boards_)
    sum += board->news();
  return sum;
}

::insight::node_facts overview::gather() {
  auto facts = [this] {
    const std::lock_guard lock(mutex_);
    return facts_;
  }();
  for (const auto& board : boards_) {
    for (const auto& record : board->records()) {
      auto seen = record->snapshot();
      facts.channels.push_back({.id = record->id(),
                                .frequency = record->frequency(),
                                .is_rx = record->is_rx(),
                                .verdict = std::move(seen.verdict),
                                .actuator = seen.actuator});
    }
  }
  facts.voa = line_->get_voa_record();
  facts.has_given_way = line_->has_given_way();
  facts.now = helpers::steady_now();
  facts.wall_clock = helpers::system_now();
  has_told_hunting_ = hunts(facts);
  return facts;
}

std::string overview::get_summary() {
  return ::insight::summary_of(gather());
}

nx::json_document overview::get_rest() {
  return ::insight::rest_of(gather());
}

}  // namespace manager
