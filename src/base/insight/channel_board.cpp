#include "base/insight/channel_board.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/insight/event_log.h"
#include "helpers/waiting.h"

namespace insight {

void channel_board::enter(record_ptr record) {
  const auto frequency = record->frequency();
  const std::lock_guard lock(mutex_);
  records_[frequency] = std::move(record);
}

void channel_board::added(unsigned frequency) {
  const auto found = records_.find(frequency);
  if (found == records_.end()) return;
  found->second->added();
  had_event_ = true;
}

void channel_board::remove(unsigned frequency) {
  const auto found = records_.find(frequency);
  if (found == records_.end()) return;
  const auto record = found->second;
  {
    const std::lock_guard lock(mutex_);
    records_.erase(found);
  }
  record->remove_api();
  had_event_ = true;
}

void channel_board::keep(const std::set<unsigned>& frequencies) {
  for (const auto& record : records()) {
    if (!frequencies.contains(record->frequency())) remove(record->frequency());
  }
}

void channel_board::tell(const channel_record& of, const channel_verdict& verdict,
                         const channel_way::news& news) const {
  if (!news.came_on && !news.went_dark && !news.arrived && !news.exhausted) return;
  auto& log = event_log::instance();
  const auto subject = channel_subject(direction_.c_str(), of.id());
  if (news.came_on) log.tell(event_kind::lit, subject);
  if (news.went_dark) log.tell(event_kind::dark, subject);
  if (news.exhausted) log.tell(event_kind::exhausted, subject, {{"error", verdict.error}});
  if (!news.arrived) return;
  const auto way = *of.snapshot().ways.last();
  log.tell(event_kind::arrived, subject,
           {{"cause", name_of(way.cause)},
            {"seconds", way.seconds(verdict.at)},
            {"steps", static_cast<double>(way.steps)}});
}

void channel_board::look(channel_record& record, const channel_verdict& verdict) {
  const auto news = record.look(verdict);
  record.error_ = verdict.lit ? verdict.error : no_figure;
  record.is_settled_ = verdict.is_settled;
  record.is_under_way_ = (record.is_under_way_ || news.set_out) && !news.arrived && verdict.lit;
  record.took_part_ = record.is_under_way_ || news.arrived;
  // A channel that needs a person does not count as moving.
  const bool moves = states::row_of(verdict.state()).how != states::severity::person;
  any_under_way_ = any_under_way_ || (record.took_part_ && moves);
  had_event_ = had_event_ || news.came_on || news.went_dark || news.set_out_by_wish;
  tell(record, verdict, news);
}

channel_board::largest_moves channel_board::moves() const {
  largest_moves found;
  const auto moved = [](const channel_record* of) { return of ? std::fabs(of->moved_) : 0.0f; };
  for (const auto& [frequency, record] : records_) {
    const auto* each = record.get();
    if (!is_figure(each->moved_)) continue;
    if (moved(each) > moved(found.most)) {
      found.second = std::exchange(found.most, each);
    } else if (moved(each) > moved(found.second)) {
      found.second = each;
    }
  }
  return found;
}

void channel_board::let_feel() {
  for (const auto& [frequency, record] : records_)
    record->moved_ = record->level_.departure(record->error_);
  const auto [most, second] = moves();
  for (const auto& [frequency, record] : records_) {
    if (!record->took_part_) continue;
    const auto* other = most == record.get() ? second : most;
    if (other) record->felt({.id = other->id(), .moved = other->moved_});
  }
}

void channel_board::note_rest() {
  for (const auto& [frequency, record] : records_)
    record->level_.rest(record->error_, record->is_settled_);
}

void channel_board::tell_news() {
  const auto now = helpers::steady_now().time_since_epoch();
  const auto minute = std::chrono::floor<std::chrono::minutes>(now);
  const bool is_new_minute = minute != minute_;
  minute_ = minute;
  bool is_news = is_new_minute;
  for (const auto& [frequency, record] : records_)
    is_news = record->refresh(is_new_minute) || is_news;
  if (is_news) ++news_;
}

void channel_board::finish() {
  if (had_event_) {
    for (const auto& [frequency, record] : records_)
      record->event();
  }
  any_under_way_ ? let_feel() : note_rest();
  had_event_ = any_under_way_ = false;
  tell_news();
}

std::vector<channel_board::record_ptr> channel_board::records() const {
  const std::lock_guard lock(mutex_);
  std::vector<record_ptr> all;
  all.reserve(records_.size());
  for (const auto& [frequency, record] : records_)
    all.push_back(record);
  return all;
}

}  // namespace insight
