#include "gateway/api/event_stream.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <utility>

#include "gateway/api/history_entries.h"
#include "platform/nexel_client/request_text.h"
#include "platform/wire/json_text.h"

namespace gateway {

struct event_stream::resuming {
  struct past {
    std::string time;
    std::shared_ptr<const event_frame> frame;
  };
  std::vector<past> events;
  std::size_t outstanding = 0;
};

void event_stream::start(std::shared_ptr<byte_sink> sink, std::shared_ptr<tree_mirror> mirror,
                         const settings& bounds, boost::asio::io_context& io,
                         std::vector<std::shared_ptr<topic>> topics, std::string last_id) {
  const std::shared_ptr<event_stream> made(new event_stream(
      std::move(sink), std::move(mirror), bounds, io, std::move(topics), std::move(last_id)));
  // The sink keeps the stream alive, and releases it when it closes.
  made->sink_->on_close([made] { made->closed(); });
  made->mirror_->add(*made);
  made->out_.push_back(std::make_shared<const std::string>("retry: 1000\n\n"));
  made->flush();
  made->beat();
}

event_stream::event_stream(std::shared_ptr<byte_sink> sink, std::shared_ptr<tree_mirror> mirror,
                           const settings& bounds, boost::asio::io_context& io,
                           std::vector<std::shared_ptr<topic>> topics, std::string last_id)
    : sink_(std::move(sink)),
      mirror_(std::move(mirror)),
      settings_(bounds),
      last_id_(std::move(last_id)),
      heartbeat_(io) {
  for (auto& each : topics)
    cursors_.push_back({.of = std::move(each)});
}

event_stream::~event_stream() {
  mirror_->remove(*this);
}

void event_stream::closed() {
  mirror_->remove(*this);
  heartbeat_.cancel();
  cursors_.clear();
  sink_.reset();
}

void event_stream::flush() {
  if (!sink_ || writing_) return;
  gather();
  write_next();
}

void event_stream::gather() {
  gather_link();
  if (!last_id_.empty()) resume();
  if (resuming_) return;
  for (auto& each : cursors_) {
    if (!each.begun && each.of->filled()) {
      each.begun = true;
      each.joined = each.of->newest();
    }
    if (!each.begun) continue;
    const auto piece = each.of->after(each.sent, each.joined, settings_.event_piece_bytes);
    each.sent = piece.to;
    if (piece.bytes) out_.push_back(piece.bytes);
  }
}

void event_stream::gather_link() {
  if (std::exchange(link_told_, true) && told_link_changes_ == mirror_->link_changes()) return;
  told_link_changes_ = mirror_->link_changes();
  out_.push_back(std::make_shared<const std::string>(
      fmt::format("event: link\ndata: {{\"up\":{},\"since\":\"{}\"}}\n\n", mirror_->link().is_up(),
                  mirror_->link_since())));
}

// A long list of paths is not searched, except for a journal among them: for any other path the
// present value makes up for what was missed.
std::vector<std::string> event_stream::resumed_paths() const {
  std::vector<std::string> paths;
  for (const auto& each : cursors_) {
    const auto of_topic = each.of->paths();
    paths.insert(paths.end(), of_topic.begin(), of_topic.end());
  }
  std::ranges::sort(paths);
  paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
  if (paths.size() > settings_.resumed_paths) {
    std::erase_if(paths, [](const auto& path) { return !is_journal(path); });
  }
  return paths;
}

void event_stream::resume() {
  const bool known =
      std::ranges::all_of(cursors_, [](const auto& one) { return one.of->filled(); });
  if (resuming_ || !known) return;
  const auto paths = resumed_paths();
  const auto found = std::make_shared<resuming>();
  found->outstanding = paths.size() + 1;
  resuming_ = true;
  const auto done = [weak = weak_from_this(), found](const std::string& path,
                                                     const nx::json_value* result) {
    if (const auto self = weak.lock()) self->history_arrived(*found, path, result);
  };
  for (const auto& path : paths) {
    mirror_->link().call(
        "history", nx::params_text(path),
        [done, path](const nx::json_value* result, const nx_error*) { done(path, result); });
  }
  done({}, nullptr);
}

void event_stream::history_arrived(resuming& found, const std::string& path,
                                   const nx::json_value* result) {
  for_each_entry(result, path, [&](std::string time, const nx::json_value& value) {
    if (time <= last_id_) return;
    std::string member = "\"value\":";
    nx::append_json_text(member, value);
    auto frame = make_frame(path, time, member);
    found.events.push_back({std::move(time), std::move(frame)});
  });
  if (--found.outstanding > 0) return;
  std::ranges::stable_sort(found.events, {}, &resuming::past::time);
  std::string text;
  for (const auto& each : found.events)
    text += each.frame->text;
  if (!text.empty()) out_.push_back(std::make_shared<const std::string>(std::move(text)));
  last_id_.clear();
  resuming_ = false;
  flush();
}

void event_stream::write_next() {
  if (!sink_ || writing_ || out_.empty()) return;
  writing_ = true;
  const auto bytes = std::move(out_.front());
  out_.pop_front();
  sink_->write(bytes, [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self) return;
    self->writing_ = false;
    self->out_.empty() ? self->flush() : self->write_next();
  });
}

void event_stream::beat() {
  heartbeat_.expires_after(settings_.heartbeat);
  heartbeat_.async_wait([weak = weak_from_this()](const boost::system::error_code& error) {
    const auto self = weak.lock();
    if (!self || error || !self->sink_) return;
    if (!self->writing_) {
      self->out_.push_back(std::make_shared<const std::string>(": heartbeat\n\n"));
      self->write_next();
    }
    self->beat();
  });
}

}  // namespace gateway
