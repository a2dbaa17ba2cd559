// What a walk over channels writes to a device goes out at once, one write behind the other, and is
// waited for together when the walk is over: forty steps cost one answer of the switch and not
// forty. The nexel does them in the order in which they were sent.
//
// Of one thread, the manager's, while a `scope` stands. A failure is thrown where the turn is asked
// for in which the write was made.
#pragma once

#include <cstddef>
#include <exception>
#include <future>
#include <string>
#include <vector>

class nexel_client_api;

namespace device {

class cycle_writes {
 public:
  /// Makes `writes` that of this thread, until its end.
  class scope {
   public:
    explicit scope(cycle_writes& writes);
    ~scope();
    scope(const scope&) = delete;
    scope& operator=(const scope&) = delete;

   private:
    cycle_writes* former_;
  };

  /// That of this thread; null outside of a scope.
  static cycle_writes* current();

  /// The client outlives the `wait`. Value: float, const char*.
  template <class Value>
  void send(nexel_client_api& client, const std::string& path, Value value);

  /// How many writes were sent so far: the first of the next turn.
  std::size_t sent() const { return pending_.size(); }
  /// Returns when all of them have been answered or given up.
  void wait();
  /// After `wait`: throws the first failure of the writes from `first` up to `end`.
  void throw_failure(std::size_t first, std::size_t end) const;

 private:
  struct pending {
    nexel_client_api* client;
    std::string path;
    std::future<void> answer;
    std::exception_ptr failure{};
  };

  std::vector<pending> pending_;
};

}  // namespace device
