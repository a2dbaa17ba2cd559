// The writes to a device during a walk over channels are sent at once, one after the other, and
// awaited together after the walk: forty steps cost one answer from the switch instead of forty.
// The nexel carries them out in the order in which they were sent. The same goes for the commands
// that remove a channel from its devices, which do not depend on each other's answers.
//
// Used by one thread, the manager's or that of a channel command, while a `scope` exists. A failure
// is thrown when the result of the turn that made the write is asked for.
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
  /// Makes `writes` the calling thread's for the scope's lifetime.
  class scope {
   public:
    explicit scope(cycle_writes& writes);
    ~scope();
    scope(const scope&) = delete;
    scope& operator=(const scope&) = delete;

   private:
    cycle_writes* former_;
  };

  /// The calling thread's; null outside a scope.
  static cycle_writes* current();

  /// The client must outlive the `wait`. Value: float, const char*.
  template <class Value>
  void send(nexel_client_api& client, const std::string& path, Value value);
  /// A command: an answer of false fails it with nx_error -5 and that text, a literal.
  void send_command(nexel_client_api& client, const std::string& path, const std::string& request,
                    const char* failure);

  /// Number of writes sent so far, which is the index of the next turn's first write.
  std::size_t sent() const { return pending_.size(); }
  /// Returns when all of them have been answered or given up.
  void wait();
  /// After `wait`: throws the first failure among the writes from `first` up to `end`.
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
