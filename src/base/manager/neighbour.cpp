#include "base/manager/neighbour.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <array>
#include <utility>

#include "base/insight/event_log.h"
#include "base/insight/news.h"
#include "base/manager/loops/line_peer.h"
#include "base/manager/remote/api.h"
#include "helpers/waiting.h"
#include "platform/value_tree/event_frame.h"
#include "platform/wire/nx_error.h"

namespace manager {

namespace {

using ::insight::event_kind;
using ::insight::peer_gap;
using ::insight::peer_part;
using operation = remote::device::operation;

struct source {
  operation what;
  peer_part part;
};

/// What this node uses of the line at the peer, by where the peer has it from. A family that does
/// not have a value does not fail to report it.
constexpr auto sources = std::to_array<source>({
    {operation::get_line_rx_power, peer_part::preamp},
    {operation::get_preamp_gain, peer_part::preamp},
    {operation::get_preamp_power_limit, peer_part::preamp},
    {operation::get_line_tx_power, peer_part::sender},
    {operation::get_osc_rx_power, peer_part::transceiver},
    {operation::get_osc_tx_power, peer_part::transceiver},
    {operation::get_fiber_length, peer_part::supervisor},
    {operation::get_oms_spanloss_tx, peer_part::spans},
    {operation::get_oms_spanloss_rx, peer_part::spans},
    {operation::get_ots_spanloss_tx, peer_part::spans},
    {operation::get_ots_spanloss_rx, peer_part::spans},
});

/// In whole seconds of the wall clock, so that the same moment stays the same from look to look.
std::chrono::system_clock::time_point wall_clock_of(std::chrono::steady_clock::time_point moment) {
  const auto ago = helpers::steady_now() - moment;
  return std::chrono::round<std::chrono::seconds>(helpers::system_now() - ago);
}

std::vector<peer_gap> gaps_of(const remote::api& peer) {
  std::vector<peer_gap> gaps;
  for (const auto& [what, part] : sources) {
    const auto failing = peer.failing(what);
    if (!failing || helpers::steady_now() - failing->since < neighbour::patience) continue;
    const auto since = wall_clock_of(failing->since);
    if (gaps.empty() || gaps.back().part != part) gaps.push_back({part, since, {}});
    gaps.back().since = std::min(gaps.back().since, since);
    gaps.back().paths.push_back(failing->path);
  }
  return gaps;
}

}  // namespace

void neighbour::setup_api(nx_db& db) {
  node_ = ::insight::told_value<&neighbour::get_peer>(db, "insight/peer", shared_from_this());
}

void neighbour::look(const std::shared_ptr<remote::api>& peer) {
  ::insight::peer_view view;
  if (peer->is_up()) view.product = peer->last_product();
  const loops::line_peer line(peer);
  // Of one that is silent nothing is known, and one that is lost takes its gaps with it.
  if (!peer->is_up()) told_.clear();
  if (line.is_known() && line.is_alive(helpers::steady_now())) {
    view.gaps = gaps_of(*peer);
    tell_changes(view.gaps);
  }
  show(std::move(view));
}

void neighbour::tell_changes(const std::vector<peer_gap>& gaps) {
  const auto lacks = [](const std::vector<peer_gap>& all, peer_part part) {
    return std::ranges::find(all, part, &peer_gap::part) == all.end();
  };
  auto& log = ::insight::event_log::instance();
  for (const auto& gap : told_) {
    if (!lacks(gaps, gap.part)) continue;
    const std::chrono::duration<double> lasted = helpers::system_now() - gap.since;
    log.tell(event_kind::resumed, "peer",
             {{"part", ::insight::name_of(gap.part)}, {"seconds", lasted.count()}});
  }
  for (const auto& gap : gaps) {
    if (!lacks(told_, gap.part)) continue;
    log.tell(event_kind::stalled, "peer",
             {{"part", ::insight::name_of(gap.part)},
              {"reason", ::insight::meanwhile(gap.part)},
              {"since", nx::event_time(gap.since)}});
  }
  told_ = gaps;
}

void neighbour::note_idle() {
  show({});
}

void neighbour::show(::insight::peer_view view) {
  {
    const std::lock_guard lock(mutex_);
    if (view == view_) return;
    view_ = std::move(view);
  }
  if (node_) node_->refresh();
}

std::string neighbour::brief() const {
  const std::lock_guard lock(mutex_);
  return ::insight::peer_brief(view_);
}

nx::json_document neighbour::get_peer() {
  const std::lock_guard lock(mutex_);
  if (view_.product.empty()) throw nx_error(nx_error::no_value, "No peer is connected");
  return ::insight::peer_json(view_);
}

}  // namespace manager
