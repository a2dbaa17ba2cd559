// A snapshot of what a cycle of the loops reads from devices without subscription: it goes out at
// the cycle's beginning to all nexels at once, each path once, and is waited for once. Reads of the
// proxies on the same thread then take it from here. What nobody declared is asked for when it is
// needed, and kept for the rest of the cycle, or for a second; a write to a device makes what is
// kept of it stale. A channel command has one of its own: what it will need of one device is on its
// way while it waits for another.
//
// Of one thread while a `scope` stands, the manager's or that of a channel command; polled values
// and other commands read for themselves. Failures of the snapshot are kept too, and thrown where
// the reading is used.
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/wire/nx_client_exception.h"

class nexel_client_api;
class nexel_request;

namespace device {

/// One path that a cycle will read; `type` as the proxy converts it. Paths of a nexel with the same
/// `pattern` are asked for by that, in one request; a nexel that does not know patterns is asked
/// for each.
struct read_wish {
  enum class type { number, truth, count, text };

  std::shared_ptr<nexel_client_api> client;
  type what;
  std::string path;
  std::string pattern{};
};

class pending_read;

class cycle_reads {
 public:
  cycle_reads();
  ~cycle_reads();
  cycle_reads(const cycle_reads&) = delete;
  cycle_reads& operator=(const cycle_reads&) = delete;

  /// Makes `reads` that of this thread, until its end.
  class scope {
   public:
    explicit scope(cycle_reads& reads);
    ~scope();
    scope(const scope&) = delete;
    scope& operator=(const scope&) = delete;

   private:
    cycle_reads* former_;
  };

  /// What the last `fetch` and what came since in the scope have cost, writes included.
  struct cost {
    std::size_t requests = 0;
    std::size_t waits = 0;
    std::chrono::nanoseconds waited{0};
  };

  /// While one lives, the thread waits for answers of devices: counted as a wait, and what is kept
  /// does not age by it. Nothing outside of a scope.
  class waiting_time {
   public:
    explicit waiting_time(std::size_t requests, cycle_reads* reads = current());
    ~waiting_time();
    waiting_time(const waiting_time&) = delete;
    waiting_time& operator=(const waiting_time&) = delete;

   private:
    cycle_reads* reads_;
    std::chrono::steady_clock::time_point begin_;
  };

  /// That of this thread; null outside of a scope.
  static cycle_reads* current();

  /// Forgets all and asks for what is wished. Returns when every nexel has answered or its client
  /// has given up.
  void fetch(const std::vector<read_wish>& wishes);
  /// Asks in the same way for those of which nothing is kept, as after a write.
  void complete(const std::vector<read_wish>& wishes);

  /// As `complete`, but returns at once: the first `get` of such a path waits for its nexel.
  void ask_ahead(const std::vector<read_wish>& wishes);

  /// T: bool, float, unsigned int, std::string. Throws nx_client_exception.
  template <class T>
  T get(nexel_client_api& client, const std::string& path);

  /// A write to the nexel: what was read of the paths with `part` in them may hold no longer.
  void forget(const nexel_client_api& client, std::string_view part = {});

  const cost& last_cost() const { return cost_; }

  using answer = std::variant<bool, float, unsigned, std::string, nx_client_exception>;
  /// What is kept of a path of the nexel at that address, as it came; null for what is not. Asks
  /// nobody.
  const answer* peek(const std::string& nexel, const std::string& path) const;

 private:
  struct kept {
    answer what;
    std::chrono::steady_clock::time_point at;
  };
  using key = std::pair<std::string, std::string>;  // nexel, path

  using reads_under_way = std::vector<std::unique_ptr<pending_read>>;
  // By nexel. Proxies of one nexel have clients of their own; the first one asks for all.
  using requests =
      std::map<std::string, std::pair<nexel_client_api*, std::shared_ptr<nexel_request>>>;

  requests prepare_requests(const std::vector<read_wish>& wishes);
  static void send(const requests& prepared);
  /// Waits for what that nexel was asked ahead.
  void collect(const std::string& nexel);
  void take_answers(reads_under_way::iterator first);
  /// By nexel, then by path.
  void keep(std::map<std::string, std::map<std::string, answer>> told);
  template <class T>
  T ask(nexel_client_api& client, const std::string& path);
  bool is_kept(const key& of) const;
  template <class T>
  const answer* find(const key& of) const;
  /// Now, less the time that went by in waits for answers.
  std::chrono::steady_clock::time_point age_clock() const;

  std::map<key, kept> answers_;
  reads_under_way under_way_;
  std::set<std::string> without_patterns_;  // nexels
  cost cost_;
  std::chrono::nanoseconds all_waits_{0};
};

}  // namespace device
