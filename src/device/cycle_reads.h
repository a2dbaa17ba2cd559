// A snapshot of what a cycle of the loops reads from devices without subscription: it goes out at
// the cycle's beginning to all nexels at once, each path once, and is waited for once. Reads of the
// proxies on the same thread then take it from here. What nobody declared is asked for when it is
// needed, and kept for the rest of the cycle, or for a second; a write to a device makes what is
// kept of it stale.
//
// Of one thread, the manager's, while a `scope` stands; polled values and commands read for
// themselves on other threads. Failures of the snapshot are kept too, and thrown where the reading
// is used.
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

class cycle_reads {
 public:
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
  std::set<std::string> without_patterns_;  // nexels
  cost cost_;
  std::chrono::nanoseconds all_waits_{0};
};

}  // namespace device
