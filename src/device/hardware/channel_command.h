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

/// As the former, but within a turn of `cycle_writes` its answer is waited for at the turn's end.
void run_channel_command_in_turn(nexel_client_api& client, const std::string& path,
                                 const std::string& request, const char* failure);

/// A command that is on its way: what is asked of the nexel meanwhile is answered behind it.
class sent_channel_command {
 public:
  /// The client outlives it; `failure` is a literal.
  sent_channel_command(nexel_client_api& client, std::string path, const std::string& request,
                       const char* failure);
  /// Waits for the answer, once; throws as `run_channel_command`.
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
