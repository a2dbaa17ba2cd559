// What the log watches for repetition, found by its key and kept in order of age, the oldest first.
// Bounded, since the texts of a daemon in trouble are not: beyond `most` nothing further is
// watched. The caller locks.
#pragma once

#include <cstddef>
#include <iterator>
#include <list>
#include <string>
#include <unordered_map>
#include <utility>

namespace note_log {

/// Entry: with a member `key`, which stays as it was added.
template <class Entry>
class watch_list {
 public:
  using iterator = typename std::list<Entry>::iterator;
  static constexpr std::size_t most = 1024;

  Entry* find(const std::string& key) {
    const auto found = by_key_.find(key);
    return found == by_key_.end() ? nullptr : &*found->second;
  }

  void add(Entry entry) {
    if (by_age_.size() >= most) return;
    by_age_.push_back(std::move(entry));
    by_key_.emplace(by_age_.back().key, std::prev(by_age_.end()));
  }

  /// Makes it the youngest.
  void renew(const Entry& entry) { by_age_.splice(by_age_.end(), by_age_, by_key_.at(entry.key)); }

  /// Returns the next in age.
  iterator erase(iterator entry) {
    by_key_.erase(entry->key);
    return by_age_.erase(entry);
  }

  void clear() {
    by_key_.clear();
    by_age_.clear();
  }

  iterator begin() { return by_age_.begin(); }
  iterator end() { return by_age_.end(); }

 private:
  std::list<Entry> by_age_;
  std::unordered_map<std::string, iterator> by_key_;
};

}  // namespace note_log
