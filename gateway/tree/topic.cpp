#include "gateway/tree/topic.h"

#include <algorithm>

#include "platform/value_tree/path_pattern.h"
#include "platform/wire/json_text.h"

namespace gateway {

std::shared_ptr<const event_frame> make_frame(std::string_view path, std::string_view time,
                                              std::string_view member) {
  auto frame = std::make_shared<event_frame>();
  auto& text = frame->text;
  text.reserve(64 + path.size() + 2 * time.size() + member.size());
  text += "id: ";
  text += time;
  text += "\ndata: {\"path\":";
  nx::append_json_string(text, path);
  text += ",\"time\":";
  nx::append_json_string(text, time);
  text += ',';
  frame->value_at = text.size();
  text += member;
  text += "}\n\n";
  return frame;
}

bool is_journal(std::string_view path) {
  return path == "insight/log";
}

bool topic::covers(std::string_view path) const {
  return pattern_ == path || nx::path_matches(pattern_, path);
}

bool topic::put(const std::string& path, std::shared_ptr<const event_frame> frame) {
  const auto known = latest_.find(path);
  if (known != latest_.end()) {
    if (known->second->frame->value() == frame->value()) return false;
    supersede(known->second);
  }
  entries_.push_back({++newest_, path, std::move(frame)});
  latest_[path] = std::prev(entries_.end());
  return true;
}

void topic::supersede(place old) {
  if (!is_journal(old->path)) {
    entries_.erase(old);
    return;
  }
  old->superseded = true;
  if (++superseded_ <= journal_depth) return;
  --superseded_;
  entries_.erase(std::ranges::find(entries_, true, &entry::superseded));
}

void topic::clear() {
  entries_.clear();
  latest_.clear();
  superseded_ = 0;
  filled_ = false;
  last_piece_ = {};
}

std::vector<std::string> topic::paths() const {
  std::vector<std::string> found;
  found.reserve(latest_.size());
  for (const auto& [path, at] : latest_)
    found.push_back(path);
  return found;
}

topic::piece topic::after(number from, number joined, std::size_t limit) {
  const bool shared = from >= joined;
  if (shared && last_piece_.bytes && piece_from_ == from && last_piece_.to == newest_) {
    return last_piece_;
  }
  auto at = entries_.end();
  while (at != entries_.begin() && std::prev(at)->changed > from)
    --at;
  std::string bytes;
  piece made{from, nullptr};
  for (; at != entries_.end() && bytes.size() < limit; ++at) {
    made.to = at->changed;
    if (!at->superseded || at->changed > joined) bytes += at->frame->text;
  }
  if (bytes.empty()) return made;
  made.bytes = std::make_shared<const std::string>(std::move(bytes));
  if (shared) {
    piece_from_ = from;
    last_piece_ = made;
  }
  return made;
}

}  // namespace gateway
