#include "main/lumora_manager.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "api/config_param.h"
#include "api/lazy_value.h"
#include "helpers/guard.h"
#include "helpers/logger.h"
#include "helpers/redis.h"
#include "helpers/service_manager.h"
#include "helpers/start_report.h"
#include "helpers/waiting.h"
#include "platform/wire/nx_error.h"

namespace {

using namespace std::chrono_literals;

bool still_running(bool* running) {
  return std::atomic_ref<bool>(*running).load();
}

/// What ended the manager thread, and what to do about it.
std::string end_of_start(const std::string& why) {
  constexpr std::string_view missing_tag = "undefined: ";
  if (!why.starts_with(missing_tag)) {
    return fmt::format("Nothing is regulated: {}. Mend that and start again", why);
  }
  return fmt::format(
      "Nothing is regulated: the environment variable {} is not set, and without it no key of the "
      "store is known. Set it, empty where the keys have no tag, and start again",
      why.substr(missing_tag.size()));
}

void tell_status(const char* line) {
  helpers::service_manager::instance().status(line);
}

void sleep_a_second() {
  helpers::waiting::instance().sleep(1s);
}

}  // namespace

lumora_manager::lumora_manager(nx_db& tree)
    : db(tree),
      config_status(nx::api::status_value<bool>::create(tree, "data/configStatus", false, 1)) {}

void lumora_manager::set_redis_config_status(bool value) {
  redis_config_status = value;
}

std::string lumora_manager::get_start() {
  const auto faults = helpers::start_report::instance().text();
  if (faults.empty()) throw nx_error(nx_error::no_value, "Nothing is wrong with the start");
  return faults;
}

void lumora_manager::publish_start() {
  start_value = nx::api::lazy_value<&lumora_manager::get_start>::create(db, "insight/start",
                                                                        shared_from_this());
}

void lumora_manager::start(std::shared_ptr<manager::interface>& manager, bool* running) {
  auto& service = helpers::service_manager::instance();
  service.watch_this_thread();
  publish_start();
  LUMORA_LOG(2, "Manager thread started, awaiting redis configuration.");
  std::string why = "the main loop has returned";
  helpers::guarded([&] {
    try {
      run_phases(*manager, running);
    } catch (...) {
      why = helpers::current_exception_text();
      helpers::start_report::instance().tell("node", end_of_start(why));
      throw;
    }
  });
  start_value->refresh();
  // Nothing in the process restarts this thread: the service manager has to restart the process.
  if (still_running(running)) service.give_up_this_thread(why);
}

void lumora_manager::run_phases(manager::interface& manager, bool* running) {
  config_status->update(true);
  tell_status("Waiting for the key store");
  if (!await_redis(running)) return;
  start_value->refresh();
  tell_status("Building the node");
  manager.start(db);
  if (!still_running(running)) return;  // a stop may have ended the start half-way
  // Last, so that a client that can write the parameter finds every value and setting on the tree.
  redis_config_param = nx::api::prompt_param<&lumora_manager::set_redis_config_status>::create(
      db, "config/redisConfigStatus", std::nullopt, shared_from_this());
  tell_status("Waiting for the configuration");
  if (!await_configuration(running)) return;
  LUMORA_LOG(2, "Redis configuration received, proceeding.");
  sleep_a_second();
  tell_status("Regulating");
  manager.run(db, running);
}

bool lumora_manager::await_redis(bool* running) {
  auto& store = redis::instance();
  while (still_running(running)) {
    if (store.is_connected()) return true;
    LUMORA_LOG(2, "Waiting for redis connection.");
    start_value->refresh();
    sleep_a_second();
  }
  return false;
}

bool lumora_manager::await_configuration(bool* running) {
  while (still_running(running)) {
    if (redis_config_status) return true;
    LUMORA_LOG(1, "Waiting for redis configuration.");
    sleep_a_second();
  }
  return false;
}
