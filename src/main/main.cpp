// The daemon's outer life: command line, product, calibration, tree server, manager thread; then
// the main thread belongs to the server until a signal ends it.

#include <malloc.h>

#include <chrono>
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>

#include "base/manager/interface.h"
#include "helpers/calibration.h"
#include "helpers/guard.h"
#include "helpers/logger.h"
#include "helpers/service_manager.h"
#include "helpers/start_report.h"
#include "main/allocation.h"
#include "main/lumora_manager.h"
#include "main/manager_thread.h"
#include "main/options.h"
#include "main/stop_signals.h"
#include "platform/kvs_client/kvs_client.h"
#include "platform/nexel_client/nexel_client.h"
#include "platform/note_log/note_log.h"
#include "platform/value_tree/nexel_api.h"
#include "platform/wire/shown_text.h"
#include "platform/wire/socket_path.h"
#include "products/factory.h"

namespace {

constexpr const char* server_path = "/tmp/device_managers/lumora";

constexpr int status_orderly_end = 0;
constexpr int status_wrong_command_line = 1;
constexpr int status_no_server = 2;  // a restart may help here, unlike above

/// A store that answers takes milliseconds; one that does not must not delay the exit.
constexpr std::chrono::milliseconds last_store_answers{500};

/// Writes what the flood guard still holds back after everything else is gone.
struct end_of_log {
  ~end_of_log() { note_log::flush(); }
};

/// A client may ask for answers of megabytes. By default the allocator raises its threshold at the
/// first of them, and each thread then keeps the memory of later ones in its own arena.
/// To be called while there is a single thread.
void give_large_memory_back() {
  constexpr int threshold_bytes = 128 * 1024;
  constexpr int most_arenas = 4;
  ::mallopt(M_MMAP_THRESHOLD, threshold_bytes);  // NOLINT(concurrency-mt-unsafe): one thread yet
  ::mallopt(M_ARENA_MAX, most_arenas);           // NOLINT(concurrency-mt-unsafe): one thread yet
}

/// Lends the calling thread to the server until it is told to stop; then stops the manager thread.
void serve(nexel_api& server, lumora_manager& daemon, std::shared_ptr<manager::interface>& manager,
           const std::string& interface_name) {
  auto& service = helpers::service_manager::instance();
  // A slow device makes a long cycle with many answers, each of them a sign of life.
  nexel_client_api::after_each_call([] { helpers::service_manager::instance().alive(); });
  bool running = true;
  manager_thread thread(daemon, manager, running);
  const stop_relay relay([&server] { server.stop(); });
  server.start_ipv6_socket(interface_name);
  service.ready();  // the socket is bound: connections are served from here on
  server.start();
  service.stopping();
  LUMORA_LOG(2, "Shutting down manager thread");
  kvs::announce_end(last_store_answers);
  thread.stop();
}

}  // namespace

int main(int argc, const char** argv) try {
  catch_stop_signals();
  end_without_memory(status_no_server);
  if (argc == 2 && std::string_view(argv[1]) == "--version") {
    std::cout << "lumora_manager " LUMORA_VERSION << std::endl;
    return status_orderly_end;
  }
  const end_of_log written_last;
  const auto given = parse_options(argc, argv);
  if (!given) return status_wrong_command_line;
  auto manager = products::create_manager(given->product);
  if (!manager) {
    std::cout << "Unknown product: " << nx::shown_text(given->product) << std::endl;
    return status_wrong_command_line;
  }
  give_large_memory_back();
  if (const auto fault = note_log::severity_fault(); !fault.empty()) {
    helpers::start_report::instance().tell("log", fault);
  }
  calibration::instance().read_calibration_values(nx::rooted_path(calibration::file));
  nexel_api server(server_path, given->port, false);
  const auto daemon = std::make_shared<lumora_manager>(server.get_db());
  helpers::guarded([&] { serve(server, *daemon, manager, given->interface_name); });
  return status_orderly_end;
} catch (const std::exception& failure) {
  std::cerr << "lumora_manager: " << failure.what() << std::endl;
  return status_no_server;
}
