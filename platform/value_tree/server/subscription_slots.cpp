#include "platform/value_tree/server/subscription_slots.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <utility>

#include "platform/value_tree/nx_db_node.h"

namespace nx {
namespace {

constexpr unsigned index_bits = 32;

std::size_t positions_for(std::size_t count) {
  return std::bit_ceil(count + count / 3 + 1);
}

}  // namespace

nx_subscription_number subscription_slots::number_of(index at) const {
  return (nx_subscription_number{slots_[at].generation} << index_bits) | at;
}

subscription_slots::slot* subscription_slots::find(nx_subscription_number number) {
  const auto at = static_cast<index>(number);
  const bool current = at < slots_.size() && slots_[at].node && number_of(at) == number;
  return current ? &slots_[at] : nullptr;
}

void subscription_slots::order_later() {
  ordered_ = count_ > 0 && ordered_;
}

void subscription_slots::put_in_order() const {
  if (std::exchange(ordered_, true)) return;
  grow(positions_for(count_));
  for (std::size_t at = 0; at < slots_.size(); ++at) {
    if (slots_[at].node) by_path_[place_of(slots_[at].node->path())] = static_cast<index>(at + 1);
  }
}

nx_subscription_number subscription_slots::find(std::string_view path) const {
  put_in_order();
  const auto found = by_path_.empty() ? 0 : by_path_[place_of(path)];
  return found == 0 ? no_subscription : number_of(found - 1);
}

const std::string& subscription_slots::path_at(index position) const {
  return slots_[position - 1].node->path();
}

std::size_t subscription_slots::home_of(std::string_view path) const {
  return std::hash<std::string_view>()(path) & (by_path_.size() - 1);
}

// Its position, or the free position where it would be.
std::size_t subscription_slots::place_of(std::string_view path) const {
  auto place = home_of(path);
  while (by_path_[place] != 0 && path_at(by_path_[place]) != path)
    place = (place + 1) & (by_path_.size() - 1);
  return place;
}

// At most three quarters are used, so that a search is short and ends.
bool subscription_slots::has_positions_for(std::size_t count) const {
  return 4 * count <= 3 * by_path_.size();
}

void subscription_slots::insert(index at) {
  constexpr std::size_t fewest = 8;
  if (ordered_) {
    if (!has_positions_for(count_ + 1)) grow(std::max(fewest, 2 * by_path_.size()));
    by_path_[place_of(slots_[at].node->path())] = at + 1;
  }
  ++count_;
}

// At least twice as much as before, or a client that subscribes to one path after the other would
// have all of them moved each time.
void subscription_slots::reserve(std::size_t count) {
  if (count > slots_.capacity()) slots_.reserve(std::max(count, 2 * slots_.capacity()));
  if (ordered_ && !has_positions_for(count)) grow(positions_for(count));
}

// To a power of two.
void subscription_slots::grow(std::size_t positions) const {
  const auto former = std::exchange(by_path_, {});
  by_path_.resize(positions);
  for (const auto taken : former) {
    if (taken != 0) by_path_[place_of(path_at(taken))] = taken;
  }
}

// Those after it move up, unless that would put them before the position where their search begins.
void subscription_slots::take_off(std::size_t place) {
  const auto mask = by_path_.size() - 1;
  for (auto next = (place + 1) & mask; by_path_[next] != 0; next = (next + 1) & mask) {
    const auto home = home_of(path_at(by_path_[next]));
    if (((next - home) & mask) < ((next - place) & mask)) continue;
    by_path_[place] = by_path_[next];
    place = next;
  }
  by_path_[place] = 0;
  --count_;
}

nx_subscription_number subscription_slots::add(node_pointer node) {
  auto at = static_cast<index>(slots_.size());
  if (free_.empty()) {
    slots_.emplace_back();
  } else {
    at = free_.back();
    free_.pop_back();
  }
  slots_[at].node = std::move(node);
  insert(at);
  return number_of(at);
}

subscription_slots::node_pointer subscription_slots::erase(nx_subscription_number number) {
  slot* ended = find(number);
  if (ended == nullptr) return nullptr;
  put_in_order();
  const auto at = static_cast<index>(number);
  take_off(place_of(ended->node->path()));
  auto node = std::move(ended->node);
  *ended = {.node = nullptr, .generation = ended->generation + 1};
  free_.push_back(at);
  return node;
}

std::vector<subscription_slots::node_pointer> subscription_slots::nodes() const {
  std::vector<node_pointer> found;
  found.reserve(size());
  for (const auto& one : slots_) {
    if (one.node) found.push_back(one.node);
  }
  return found;
}

std::vector<subscription_slots::node_pointer> subscription_slots::take_nodes() {
  std::vector<node_pointer> taken;
  taken.reserve(size());
  for (auto& one : slots_) {
    if (one.node) taken.push_back(std::move(one.node));
  }
  *this = {};
  return taken;
}

}  // namespace nx
