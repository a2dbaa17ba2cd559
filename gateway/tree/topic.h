// The present values of all paths that match one pattern, as events ready to be sent, in order of
// their last change. All streams with that pattern read the same topic, each from the last change
// that it has sent: a client that does not read costs only its position, and gets the newest value
// of each path when it reads again. On the gateway's thread.
#pragma once

#include <cstdint>
#include <iterator>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace gateway {

/// One event as sent, "id: TIME
/// data: {...}
///
/// ", shared by the topics that contain it.
struct event_frame {
  std::string text;
  std::size_t value_at = 0;  ///< where the value begins in the text, after path and time

  std::string_view value() const { return std::string_view(text).substr(value_at); }
};

/// `member` is `"value":JSON` or `"error":JSON`.
std::shared_ptr<const event_frame> make_frame(std::string_view path, std::string_view time,
                                              std::string_view member);

/// A path of which every event counts, not only the newest.
bool is_journal(std::string_view path);

class topic {
 public:
  using number = std::uint64_t;
  static constexpr std::size_t journal_depth = 1000;

  explicit topic(std::string pattern) : pattern_(std::move(pattern)) {}

  const std::string& pattern() const { return pattern_; }
  bool covers(std::string_view path) const;

  /// No effect if the path already has that value. True if something changed.
  bool put(const std::string& path, std::shared_ptr<const event_frame> frame);
  /// The tree is gone: the values are no longer known to be valid.
  void clear();

  /// All paths of the pattern are now present.
  bool filled() const { return filled_; }
  void set_filled() { filled_ = true; }
  std::vector<std::string> paths() const;
  number newest() const { return newest_; }

  /// Calls `told(path, value)` for each path that has changed after `from`; the value is taken from
  /// its frame.
  template <class Told>
  void for_each_after(number from, Told told) const {
    auto at = entries_.end();
    while (at != entries_.begin() && std::prev(at)->changed > from)
      --at;
    for (; at != entries_.end(); ++at)
      told(at->path, at->frame->value());
  }

  struct piece {
    number to = 0;                             ///< the last change included
    std::shared_ptr<const std::string> bytes;  ///< null if there is none
  };
  /// Changes after `from`, up to about `limit` bytes. A journal's events before `joined` count as
  /// its history, of which only the last one is a present value.
  piece after(number from, number joined, std::size_t limit);

 private:
  struct entry {
    number changed;
    std::string path;
    std::shared_ptr<const event_frame> frame;
    bool superseded = false;
  };
  using place = std::list<entry>::iterator;

  void supersede(place old);

  const std::string pattern_;
  bool filled_ = false;
  number newest_ = 0;
  std::list<entry> entries_;  // in ascending order of `changed`
  std::unordered_map<std::string, place> latest_;
  std::size_t superseded_ = 0;

  // Streams that are up to date ask for the same piece one after the other.
  number piece_from_ = 0;
  piece last_piece_;
};

}  // namespace gateway
