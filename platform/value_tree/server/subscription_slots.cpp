#include "platform/value_tree/server/subscription_slots.h"

#include <utility>

namespace nx {
namespace {

constexpr unsigned index_bits = 32;

}  // namespace

subscription_slots::subscription_slots() : by_path_(0, path_hash{this}, same_path{this}) {}

nx_subscription_number subscription_slots::number_of(index at) const {
  return (nx_subscription_number{slots_[at].generation} << index_bits) | at;
}

subscription_slots::slot* subscription_slots::find(nx_subscription_number number) {
  const auto at = static_cast<index>(number);
  const bool current = at < slots_.size() && slots_[at].path && number_of(at) == number;
  return current ? &slots_[at] : nullptr;
}

nx_subscription_number subscription_slots::find(std::string_view path) const {
  const auto found = by_path_.find(path);
  return found == by_path_.end() ? no_subscription : number_of(*found);
}

nx_subscription_number subscription_slots::add(std::shared_ptr<const std::string> path) {
  auto at = static_cast<index>(slots_.size());
  if (free_.empty()) {
    slots_.emplace_back();
  } else {
    at = free_.back();
    free_.pop_back();
  }
  slots_[at].path = std::move(path);
  by_path_.insert(at);
  return number_of(at);
}

void subscription_slots::erase(nx_subscription_number number) {
  slot* ended = find(number);
  if (ended == nullptr) return;
  const auto at = static_cast<index>(number);
  by_path_.erase(at);
  *ended = {.path = nullptr, .generation = ended->generation + 1};
  free_.push_back(at);
}

void subscription_slots::clear() {
  by_path_.clear();
  slots_.clear();
  slots_.shrink_to_fit();
  free_.clear();
  free_.shrink_to_fit();
}

std::vector<std::shared_ptr<const std::string>> subscription_slots::shared_paths() const {
  std::vector<std::shared_ptr<const std::string>> found;
  found.reserve(size());
  for (const auto& one : slots_) {
    if (one.path) found.push_back(one.path);
  }
  return found;
}

std::vector<std::string> subscription_slots::paths() const {
  std::vector<std::string> found;
  found.reserve(size());
  for (const auto at : by_path_)
    found.push_back(path_of(at));
  return found;
}

}  // namespace nx
