#include "gateway/tree/recorder.h"

#include <fmt/format.h>

#include <charconv>

namespace gateway {

namespace {

constexpr const char* recorded[] = {"insight/client/*/*/measured", "insight/client/*/*/target",
                                    "data/client/*/*/attenuation"};

/// From `"value":-3.2}`; a value in error, or not a number, gives none.
std::optional<double> number_of(std::string_view member) {
  constexpr std::string_view name = "\"value\":";
  if (!member.starts_with(name)) return std::nullopt;
  double value = 0;
  const auto* begin = member.data() + name.size();
  const auto [end, error] = std::from_chars(begin, member.data() + member.size(), value);
  if (error != std::errc() || end == begin) return std::nullopt;
  return value;
}

}  // namespace

recorder::recorder(std::shared_ptr<tree_mirror> mirror, const settings& bounds)
    : mirror_(std::move(mirror)), settings_(bounds) {}

recorder::~recorder() {
  stop();
}

void recorder::start() {
  for (const auto* pattern : recorded)
    sources_.push_back({mirror_->watch(pattern)});
  mirror_->add(*this);
}

void recorder::stop() {
  mirror_->remove(*this);
  sources_.clear();
}

void recorder::mirror_changed() {
  if (link_changes_ != mirror_->link_changes()) {
    link_changes_ = mirror_->link_changes();
    note_loss();
  }
  for (auto& each : sources_) {
    each.of->for_each_after(each.seen, [this](const std::string& path, std::string_view member) {
      note(path, number_of(member));
    });
    each.seen = each.of->newest();
  }
  forget_old();
}

void recorder::note(const std::string& path, std::optional<double> value) {
  auto& points = series_[path];
  const auto now = settings_.now();
  const auto count = points.size();
  const bool crowded = count >= 2 && now - points[count - 2].at < closest && points.back().value &&
                       points[count - 2].value && value;
  if (crowded) points.pop_back();
  points.push_back({now, value});
  while (points.size() > 1 && points[1].at <= now - span)
    points.pop_front();
}

/// What has not been heard is not known.
void recorder::note_loss() {
  for (const auto& [path, points] : series_) {
    if (points.back().value) note(path, std::nullopt);
  }
}

/// When a channel is removed, its last ten minutes are too.
void recorder::forget_old() {
  const auto begin = settings_.now() - span;
  std::erase_if(series_, [begin](const auto& entry) {
    const auto& last = entry.second.back();
    return !last.value && last.at < begin;
  });
}

const recorder::series& recorder::of(const std::string& path) const {
  const auto found = series_.find(path);
  return found == series_.end() ? none_ : found->second;
}

std::string value_text(const recorder::point& of) {
  return of.value ? fmt::format("{}", *of.value) : "null";
}

}  // namespace gateway
