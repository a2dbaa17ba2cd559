#include "base/manager/leds.h"

#include <utility>

#include "base/manager/led_test.h"
#include "device/interfaces/led.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"
#include "platform/wire/nx_client_exception.h"
#include "platform/wire/nx_error.h"

namespace manager {

namespace {

using namespace std::chrono_literals;

/// A panel that starts with the node is ready by then.
constexpr auto usual_readiness = 10s;
/// A panel that fails is retried at the same pace as one that is not ready.
constexpr auto failure_pause = 1s;

}  // namespace

leds::leds() = default;

leds::~leds() {
  if (!thread_.joinable()) return;
  // The thread holds a reference while it runs: either it has ended by now, or this is it.
  if (thread_.get_id() == std::this_thread::get_id()) {
    thread_.detach();
  } else {
    thread_.join();
  }
}

void leds::set_led(std::shared_ptr<device::interfaces::led> led) {
  led_ = std::move(led);
}

void leds::start(bool) {
  LUMORA_LOG_DIRECT(3, "start", "In base class, led manager not started.");
}

void leds::update_led_statuses() {
  LUMORA_LOG_DIRECT(3, "update_led_statuses", "In base class, statuses not updated.");
}

void leds::boot_thread_function() {
  LUMORA_LOG_DIRECT(3, "boot_thread_function", "In base class, boot thread not started.");
}

void leds::start_thread(bool coldstart) {
  coldstart_ = coldstart;
  thread_ = std::thread([self = shared_from_this()] { self->led_poll(); });
}

void leds::stop() {
  stop_requested_ = true;
  if (thread_.joinable() && thread_.get_id() != std::this_thread::get_id()) thread_.join();
}

bool leds::is_stopping() const {
  return stop_requested_ || helpers::waiting::instance().stopping();
}

bool leds::pause(std::chrono::nanoseconds duration) {
  return helpers::waiting::instance().sleep(duration) && !stop_requested_;
}

void leds::meet(trouble now, const char* channel, const std::string& text) {
  if (trouble_ == now) return;
  trouble_ = now;
  LUMORA_LOG_DIRECT(3, channel, text);
  watch_.look(false, text);
}

void leds::recover() {
  if (trouble_ == trouble::none) return;
  trouble_ = trouble::none;
  LUMORA_LOG(2, "Led device is ready again.");
  watch_.look(true, "");
}

void leds::led_poll() {
  while (!is_stopping()) {
    try {
      poll_until_failure();
    } catch (const nx_client_exception& error) {
      meet(trouble::away, "led_poll", "Failed to poll leds: " + error.message);
    } catch (...) {
      meet(trouble::other, "led_poll", "Failed to poll leds. Unknown error.");
    }
    pause(failure_pause);
  }
}

void leds::wait_for_panel() {
  const auto begin = helpers::steady_now();
  while (!is_stopping() && !led_->is_operational()) {
    if (trouble_ != trouble::not_ready) LUMORA_LOG(2, "Led device is not ready yet");
    trouble_ = trouble::not_ready;
    const bool is_late = helpers::steady_now() - begin >= usual_readiness;
    if (is_late) watch_.look(false, "It is not ready");
    pause(not_ready_pause);
  }
}

void leds::poll_until_failure() {
  wait_for_panel();
  if (coldstart_ && !is_stopping()) {
    if (trouble_ != trouble::other) recover();
    LUMORA_LOG(2, "Coldstart, starting boot thread function");
    boot_thread_function();
    coldstart_ = false;
  }
  if (is_stopping()) return;
  read_led_statuses();
  while (!is_stopping()) {
    run_pass();
    recover();
    if (poll_interval_ms_ != 0) pause(std::chrono::milliseconds(poll_interval_ms_));
  }
}

void leds::run_pass() {
  update_led_statuses();
  if (needs_update_) update_leds(false);
}

void leds::run_led_test(led_test_plan plan) {
  plan.passes_over_refusals = test_was_refused_;
  led_test test(
      *led_, plan, [this] { return is_stopping(); },
      [this](std::chrono::nanoseconds duration) { return pause(duration); });
  try {
    if (!test.run()) return;
    update_led_statuses();
    update_leds(true);
  } catch (const nx_client_exception&) {
    // Already logged. What the panel shows is then read back and corrected.
  } catch (const nx_error&) {
    if (std::exchange(test_was_refused_, true)) return;
    throw;
  }
  LUMORA_LOG(2, "Led test ended");
}

}  // namespace manager
