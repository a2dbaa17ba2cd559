#include "platform/value_tree/path_index.h"

#include "platform/value_tree/path_pattern.h"
#include "platform/wire/nx_error.h"

namespace nx {
namespace {

std::string level_key(std::string_view segment) {
  return std::string(segment) + '/';
}

void collect_all(const path_index::level& level, std::vector<path_index::node_pointer>& found) {
  for (const auto& [key, child] : level.children) {
    if (child.node) {
      found.push_back(child.node);
    } else {
      collect_all(*child.below, found);
    }
  }
}

void collect(const path_index::level& level, std::string_view pattern,
             std::vector<path_index::node_pointer>& found) {
  const auto [segment, rest] = first_segment(pattern);
  const bool last = segment.size() == pattern.size();
  if (last && segment == "**") return collect_all(level, found);
  const auto take = [&, rest = rest](const path_index::child& child) {
    if (last && child.node) found.push_back(child.node);
    if (!last && child.below) collect(*child.below, rest, found);
  };
  if (segment == "*") {
    for (const auto& [key, child] : level.children)
      take(child);
    return;
  }
  const auto child = last ? level.children.find(segment) : level.children.find(level_key(segment));
  if (child != level.children.end()) take(child->second);
}

// True if the level is empty afterwards.
bool erase_below(path_index::level& level, std::string_view path) {
  const auto [segment, rest] = first_segment(path);
  if (rest.empty()) {
    if (const auto node = level.children.find(segment); node != level.children.end()) {
      level.children.erase(node);
    }
  } else if (const auto below = level.children.find(level_key(segment));
             below != level.children.end() && erase_below(*below->second.below, rest)) {
    level.children.erase(below);
  }
  return level.children.empty();
}

// Throws before anything is changed.
void check_free(const path_index::level& root, std::string_view path) {
  const auto* level = &root;
  std::string_view rest = path;
  while (true) {
    const auto [segment, below] = first_segment(rest);
    const auto next = level->children.find(level_key(segment));
    if (below.empty()) {
      if (next == level->children.end()) return;
      throw nx_error(nx_error::invalid, "Nodes stand below the path: " + std::string(path));
    }
    if (level->children.contains(segment)) {
      throw nx_error(nx_error::invalid, "A node stands above the path: " + std::string(path));
    }
    if (next == level->children.end()) return;
    level = next->second.below.get();
    rest = below;
  }
}

}  // namespace

void path_index::set(std::string_view path, node_pointer node) {
  check_free(root_, path);
  auto* at = &root_;
  auto [segment, rest] = first_segment(path);
  for (; !rest.empty(); std::tie(segment, rest) = first_segment(rest)) {
    auto& next = at->children[level_key(segment)].below;
    if (!next) next = std::make_unique<path_index::level>();
    at = next.get();
  }
  at->children[std::string(segment)].node = std::move(node);
}

void path_index::erase(std::string_view path) {
  erase_below(root_, path);
}

std::vector<path_index::node_pointer> path_index::match(std::string_view pattern) const {
  std::vector<node_pointer> found;
  collect(root_, pattern, found);
  return found;
}

const path_index::level* path_index::find_level(std::string_view path) const {
  const auto* at = &root_;
  while (!path.empty()) {
    const auto [segment, rest] = first_segment(path);
    const auto next = at->children.find(level_key(segment));
    if (next == at->children.end()) return nullptr;
    at = next->second.below.get();
    path = rest;
  }
  return at;
}

}  // namespace nx
