// lumora_gateway: the process around the gateway. It serves until SIGINT or SIGTERM; SIGHUP
// makes it take its certificate and its token anew.
#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <csignal>
#include <exception>
#include <iostream>

#include "gateway/gateway.h"
#include "platform/note_log/note_log.h"

namespace {

constexpr int status_cannot_serve = 2;

struct end_of_log {
  ~end_of_log() { note_log::flush(); }
};

void await_signal(boost::asio::signal_set& signals, gateway::gateway_service& serving) {
  signals.async_wait([&](const boost::system::error_code& error, int number) {
    if (error) return;
    if (number != SIGHUP) return serving.stop();
    serving.renew();
    await_signal(signals, serving);
  });
}

void serve(const gateway::options& given) {
  boost::asio::io_context io(1);
  gateway::gateway_service serving(io, given);
  boost::asio::signal_set signals(io, SIGINT, SIGTERM, SIGHUP);
  await_signal(signals, serving);
  serving.start();
  std::cout << "Serving " << serving.address() << std::endl;
  io.run();
}

}  // namespace

int main(int argc, char** argv) try {
  const end_of_log written_last;
  std::signal(SIGPIPE, SIG_IGN);
  int exit_code = 0;
  const auto given = gateway::parse_options(argc, argv, exit_code);
  if (!given) return exit_code;
  serve(*given);
  return 0;
} catch (const std::exception& failure) {
  std::cerr << "lumora_gateway: " << failure.what() << std::endl;
  return status_cannot_serve;
}
