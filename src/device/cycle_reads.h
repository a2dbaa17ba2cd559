// A snapshot of what a cycle of the loops reads from devices without subscriptions. At the
// beginning of the cycle it is requested from all nexels at once, each path once, and awaited once.
// Reads by the proxies on the same thread are then answered from it. Reads that were not declared
// are made when needed, and kept for the rest of the cycle, or for a second; a write to a device
// makes its kept readings stale. A channel command has its own snapshot: what it will need from one
// device is already in flight while it waits for another.
//
// Used by one thread while a `scope` exists, the manager's or that of a channel command; polled
// values and other commands do their own reads. Failures are kept too, and thrown where the reading
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
class nexel_request;

namespace device {

/// One path that a cycle will read; `type` as the proxy converts it. Paths of a nexel with the same
/// `pattern` are read by that pattern, in one request; if a nexel does not support patterns, each
/// is read separately.
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

  /// Makes `reads` the calling thread's snapshot for the scope's lifetime.
  class scope {
   public:
    explicit scope(cycle_reads& reads);
    ~scope();
    scope(const scope&) = delete;
    scope& operator=(const scope&) = delete;

   private:
    cycle_reads* former_;
  };

  /// The cost of the last `fetch` and everything since in the scope, including writes.
  struct cost {
    std::size_t requests = 0;
    std::size_t waits = 0;
    std::chrono::nanoseconds waited{0};
  };

  /// While an object of this class exists, the thread is waiting for answers from devices: the time
  /// is counted as a wait, and kept readings do not age. No effect outside a scope.
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

  /// The calling thread's snapshot; null outside a scope.
  static cycle_reads* current();

  /// Discards everything and requests the given reads. Returns when every nexel has answered or its
  /// client has given up.
  void fetch(const std::vector<read_wish>& wishes);
  /// In the same way, requests those reads that are not kept, as after a write.
  void complete(const std::vector<read_wish>& wishes);

  /// As `complete`, but returns at once: the first `get` of such a path waits for its nexel.
  void ask_ahead(const std::vector<read_wish>& wishes);

  /// T: bool, float, unsigned int, std::string. Throws nx_client_exception.
  template <class T>
  T get(nexel_client_api& client, const std::string& path);

  /// After a write to the nexel: discards readings of paths that contain `part`.
  void forget(const nexel_client_api& client, std::string_view part = {});

  const cost& last_cost() const { return cost_; }

  using answer = std::variant<bool, float, unsigned, std::string, nx_client_exception>;
  /// The kept answer for a path of the nexel at that address, as it arrived; null if there is none.
  /// Sends nothing.
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
  void keep(std::map<std::string, std::map<std::string, answer>>&& told);
  template <class T>
  T ask(nexel_client_api& client, const std::string& path);
  bool is_kept(const key& of) const;
  template <class T>
  const answer* find(const key& of) const;
  /// The present time, less the time spent waiting for answers.
  std::chrono::steady_clock::time_point age_clock() const;

  std::map<key, kept> answers_;
  reads_under_way under_way_;
  std::set<std::string> without_patterns_;  // nexels
  cost cost_;
  std::chrono::nanoseconds all_waits_{0};
};

}  // namespace device
