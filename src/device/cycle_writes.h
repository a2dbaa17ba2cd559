// What a walk over channels writes to a device goes out at once, one write behind the other, and is
// waited for together when the walk is over: forty steps cost one answer of the switch and not
// forty. The nexel does them in the order in which they were sent. So with the commands by which a
// channel leaves its devices, none of which depends on the other's answer.
//
// Of one thread, the manager's or that of a channel command, while a `scope` stands. A failure is
// thrown where the turn is asked for in which the write was made.
#pragma once

#include <cstddef>
#include <exception>
#include <future>
#include <string>
#include <variant>
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
  /// A command: an answer of false fails it with nx_error -5 and that text, a literal.
  void send_command(nexel_client_api& client, const std::string& path, const std::string& request,
                    const char* failure);

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
    std::variant<std::future<void>, std::future<bool>> answer;
    const char* refusal = "";
    std::exception_ptr failure{};
  };
  static void wait(pending& each);

  std::vector<pending> pending_;
};

}  // namespace device
