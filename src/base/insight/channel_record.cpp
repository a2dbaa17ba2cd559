#include "base/insight/channel_record.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <utility>

#include "api/lazy_value.h"
#include "base/insight/news.h"
#include "helpers/waiting.h"
#include "platform/value_tree/event_frame.h"
#include "platform/value_tree/nx_db.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/nx_error.h"

namespace insight {

namespace {

using nx::json_value;

/// To a hundredth: smaller changes are not news.
float rounded(float value) {
  return std::round(value * 100.0f) / 100.0f;
}

json_value number(float value) {
  return json_value(std::round(double{value} * 100.0) / 100.0);
}

/// The wall clock time of a point in steady time.
std::string time_text(time_point moment) {
  const auto ago = helpers::steady_now() - moment;
  return nx::event_time(helpers::system_now() -
                        std::chrono::duration_cast<std::chrono::system_clock::duration>(ago));
}

}  // namespace

std::string channel_record::path(const char* name) const {
  return fmt::format("insight/client/{}/{}/{}", id_, is_rx_ ? "rx" : "tx", name);
}

void channel_record::setup_api(nx_db& db, unsigned id, unsigned frequency,
                               const std::string& direction) {
  id_ = id;
  frequency_ = frequency;
  is_rx_ = direction == "rx";
  const auto self = shared_from_this();
  using nx::api::lazy_value;
  using record = channel_record;
  nodes_ = {
      lazy_value<&record::get_state>::create(db, path("state"), self),
      lazy_value<&record::get_why>::create(db, path("why"), self),
      lazy_value<&record::get_target>::create(db, path("target"), self),
      lazy_value<&record::get_measured>::create(db, path("measured"), self),
      lazy_value<&record::get_error>::create(db, path("error"), self),
      lazy_value<&record::get_dead_band>::create(db, path("deadBand"), self),
      lazy_value<&record::get_headroom_up>::create(db, path("headroomUp"), self),
      lazy_value<&record::get_headroom_down>::create(db, path("headroomDown"), self),
      told_age<&record::get_age>(db, path("age"), self),
      lazy_value<&record::get_arrival>::create(db, path("arrival"), self),
  };
  counts_ = {lazy_value<&record::get_steps>::create(db, path("steps"), self),
             lazy_value<&record::get_steps_last_hour>::create(db, path("stepsLastHour"), self)};
}

void channel_record::remove_api() {
  for (auto* nodes : {&counts_, &nodes_}) {
    for (const auto& node : *nodes)
      node->db->remove_node(node->get_path(0));
    nodes->clear();
  }
}

void channel_record::added() {
  const std::lock_guard lock(mutex_);
  view_.ways.added();
}

channel_way::news channel_record::look(const channel_verdict& verdict) {
  const std::lock_guard lock(mutex_);
  view_.verdict = verdict;
  const auto news = view_.ways.look(verdict);
  if (news.is_event()) view_.actuator.event();
  view_.actuator.step(verdict.at, verdict.step);
  return news;
}

void channel_record::event() {
  const std::lock_guard lock(mutex_);
  view_.actuator.event();
}

void channel_record::felt(const neighbour& other) {
  const std::lock_guard lock(mutex_);
  view_.ways.felt(other);
}

bool channel_record::take_news() {
  const std::lock_guard lock(mutex_);
  const auto last = view_.ways.last();
  told_figures now{.verdict = view_.verdict,
                   .last_step = view_.actuator.last_step(),
                   .neighbour_moved = last && last->felt_most ? last->felt_most->moved : 0};
  if (looks_alike(told_.verdict, now.verdict) && told_.last_step == now.last_step &&
      looks_alike(told_.neighbour_moved, now.neighbour_moved)) {
    return false;
  }
  told_ = std::move(now);
  return true;
}

bool channel_record::refresh(bool is_new_minute) {
  const bool is_news = take_news();
  if (is_news || is_new_minute) {
    for (const auto& count : counts_)
      count->refresh();
  }
  if (!is_news) return false;
  for (const auto& node : nodes_)
    node->refresh();
  return true;
}

channel_record::view channel_record::snapshot() const {
  const std::lock_guard lock(mutex_);
  return view_;
}

channel_history channel_record::history(const view& of) const {
  channel_history told{.is_rx = is_rx_};
  if (of.ways.is_under_way()) told.steps = of.ways.last()->steps;
  if (const auto last = of.actuator.last_step())
    told.since_step = std::chrono::duration<float>(of.verdict.at - *last).count();
  return told;
}

std::string channel_record::get_state() {
  const std::lock_guard lock(mutex_);
  return states::row_of(view_.verdict.state()).text;
}

std::string channel_record::get_why() {
  const auto now = snapshot();
  return why(now.verdict, history(now));
}

template <float channel_verdict::*Figure>
nx::api::reading<float> channel_record::figure() {
  {
    const std::lock_guard lock(mutex_);
    const float value = view_.verdict.*Figure;
    if (is_figure(value)) return rounded(value);
  }
  const auto now = snapshot();
  return nx_error(nx_error::no_value, absence(now.verdict, history(now)));
}

nx::api::reading<float> channel_record::get_target() {
  return figure<&channel_verdict::target>();
}
nx::api::reading<float> channel_record::get_measured() {
  return figure<&channel_verdict::measured>();
}
nx::api::reading<float> channel_record::get_error() {
  return figure<&channel_verdict::error>();
}
nx::api::reading<float> channel_record::get_dead_band() {
  return figure<&channel_verdict::dead_band>();
}
nx::api::reading<float> channel_record::get_headroom_up() {
  return figure<&channel_verdict::headroom_up>();
}
nx::api::reading<float> channel_record::get_headroom_down() {
  return figure<&channel_verdict::headroom_down>();
}
nx::api::reading<float> channel_record::get_age() {
  return figure<&channel_verdict::age>();
}

unsigned channel_record::get_steps() {
  const std::lock_guard lock(mutex_);
  return view_.actuator.steps();
}

unsigned channel_record::get_steps_last_hour() {
  const std::lock_guard lock(mutex_);
  return view_.actuator.steps_last_hour(helpers::steady_now());
}

nx::api::reading<nx::json_document> channel_record::get_arrival() {
  const auto now = snapshot();
  const auto last = now.ways.last();
  if (!last) return nx_error(nx_error::no_value, "The channel has not come to a target yet");
  nx::json_document document(rapidjson::kObjectType);
  auto& allocator = document.GetAllocator();
  const bool under_way = now.ways.is_under_way();
  document.AddMember("cause", rapidjson::StringRef(name_of(last->cause)), allocator);
  document.AddMember("begin", nx::to_json(time_text(last->begin), allocator), allocator);
  document.AddMember("underWay", under_way, allocator);
  document.AddMember("seconds", number(last->seconds(now.verdict.at)), allocator);
  document.AddMember("steps", last->steps, allocator);
  document.AddMember("largestStep", number(last->largest_step), allocator);
  document.AddMember("largestExcursion", number(last->beyond), allocator);
  json_value felt;
  if (last->felt_most) {
    felt.SetObject();
    felt.AddMember("channel", last->felt_most->id, allocator);
    felt.AddMember("moved", number(last->felt_most->moved), allocator);
  }
  document.AddMember("neighbour", felt, allocator);
  if (under_way) {
    const auto* waits_for = states::row_of(now.verdict.state()).text;
    document.AddMember("waitsFor", rapidjson::StringRef(waits_for), allocator);
  }
  return document;
}

}  // namespace insight
