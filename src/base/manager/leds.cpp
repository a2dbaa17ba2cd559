#include "base/manager/leds.h"

#include <fmt/format.h>

#include "base/manager/led_test.h"
#include "device/interfaces/led.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"
#include "platform/nexel_client/nx_client_exception.h"

namespace manager {

namespace {

using namespace std::chrono_literals;

constexpr auto not_ready_pause = 1s;
/// Keeps a device that fails at once from taking the whole processor.
constexpr auto failure_pause = 100ms;

}  // namespace

leds::leds() = default;

leds::~leds() {
  if (!thread_.joinable()) return;
  // The thread holds a reference while it runs: it has ended by now, or is the one that is here.
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
  has_paused_ = true;
  return helpers::waiting::instance().sleep(duration) && !stop_requested_;
}

void leds::led_poll() {
  while (!is_stopping()) {
    has_paused_ = false;
    try {
      poll_until_failure();
    } catch (const nx_client_exception& error) {
      LUMORA_LOG_DIRECT(3, "led_poll", "Failed to poll leds: " + error.message);
    } catch (...) {
      LUMORA_LOG_DIRECT(3, "led_poll", "Failed to poll leds. Unknown error.");
    }
    if (!has_paused_) pause(failure_pause);
  }
}

void leds::poll_until_failure() {
  while (!is_stopping() && !led_->is_operational()) {
    LUMORA_LOG(2, "Led device is not ready yet");
    pause(not_ready_pause);
  }
  if (coldstart_ && !is_stopping()) {
    LUMORA_LOG(2, "Coldstart, starting boot thread function");
    boot_thread_function();
    coldstart_ = false;
  }
  if (is_stopping()) return;
  read_led_statuses();
  while (!is_stopping()) {
    run_pass();
    if (poll_interval_ms_ != 0) pause(std::chrono::milliseconds(poll_interval_ms_));
  }
}

void leds::run_pass() {
  update_led_statuses();
  if (needs_update_) update_leds(false);
}

void leds::run_led_test(const led_test_plan& plan) {
  led_test test(
      *led_, plan, [this] { return is_stopping(); },
      [this](std::chrono::nanoseconds duration) { return pause(duration); });
  if (!test.run()) return;
  update_led_statuses();
  update_leds(true);
  LUMORA_LOG(2, "Led test ended");
}

}  // namespace manager
