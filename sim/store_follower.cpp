#include "sim/store_follower.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <vector>

#include "platform/kvs_client/kvs_client.h"
#include "platform/note_log/note_log.h"

namespace sim {

namespace {

constexpr std::chrono::milliseconds period{100};
constexpr unsigned timeout_tenths = 10;

std::optional<double> number_in(const std::string& text) {
  char* end = nullptr;
  const double number = std::strtod(text.c_str(), &end);
  if (text.empty() || end != text.c_str() + text.size()) return std::nullopt;
  return number;
}

std::unique_ptr<kvs_client> new_client() {
  return std::make_unique<kvs_client>("lumora_sim", "");
}

}  // namespace

store_follower::store_follower(std::string tag)
    : tag_(std::move(tag)), thread_([this](const std::stop_token& stop) { follow(stop); }) {}

store_follower::~store_follower() {
  thread_.request_stop();
  wake_.notify_all();
}

std::optional<double> store_follower::attenuation(const std::string& module, unsigned channel) {
  const std::lock_guard lock(mutex_);
  return wanted_[{module, channel}];
}

std::string store_follower::key_of(const place& of) const {
  return fmt::format("{}:nx/wss:config/module/{}/channel/{}/attenuation", tag_, of.first,
                     of.second);
}

void store_follower::refresh(kvs_client& store) {
  std::vector<place> places;
  {
    const std::lock_guard lock(mutex_);
    for (const auto& [of, value] : wanted_)
      places.push_back(of);
  }
  for (const auto& of : places) {
    const auto value = number_in(store.get<std::string>(key_of(of), timeout_tenths));
    const std::lock_guard lock(mutex_);
    if (value) wanted_[of] = value;
  }
}

void store_follower::follow(const std::stop_token& stop) {
  auto store = new_client();
  bool was_away = false;
  while (!stop.stop_requested()) {
    try {
      refresh(*store);
      was_away = false;
    } catch (const kvs_client_exception& error) {
      if (!was_away) note_log::write(note_log::warning, "store_follower", error.what());
      was_away = true;
      store = new_client();
    }
    std::unique_lock lock(mutex_);
    wake_.wait_for(lock, stop, period, [] { return false; });
  }
}

}  // namespace sim
