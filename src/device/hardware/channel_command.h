// Commands that add and remove channels on the selka devices. Called on a server thread or the
// manager's. Throws whatever the client throws, and nx_error -5 with the caller's text for a
// refusal. Frequencies and widths in units of 10 MHz.
#pragma once

#include <future>
#include <string>

class nexel_client_api;

namespace device::hardware {

/// Runs the command with the request, and throws nx_error -5 with `failure` if the answer is false.
/// Value: std::string, bool.
template <class Value>
void run_channel_command(nexel_client_api& client, const std::string& path, const Value& request,
                         const char* failure);

/// As above, but within a turn of `cycle_writes` its answer is awaited at the end of the turn.
void run_channel_command_in_turn(nexel_client_api& client, const std::string& path,
                                 const std::string& request, const char* failure);

/// A command in flight: later requests to the nexel are answered after it.
class sent_channel_command {
 public:
  /// The client must outlive it; `failure` is a literal.
  sent_channel_command(nexel_client_api& client, std::string path, const std::string& request,
                       const char* failure);
  /// Waits for the answer, once; throws like `run_channel_command`.
  void wait();

 private:
  nexel_client_api& client_;
  const std::string path_;
  const char* failure_;
  std::future<bool> answer_;
};

std::string channel_request(unsigned center);
std::string channel_request(unsigned center, unsigned width);
std::string channel_request(unsigned center, unsigned width, unsigned port,
                            const std::string& version);

}  // namespace device::hardware
