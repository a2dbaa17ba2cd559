#include "tests/system/regulating_node.h"

#include <fmt/format.h>

#include <cmath>
#include <stdexcept>
#include <utility>

namespace test {

void regulating_node::start_surroundings(const std::string& product) {
  start_store();
  start_devices(product);
}

void regulating_node::start_and_await(const std::string& product) {
  start_daemon({"--product", product});
  if (!await_configuration()) throw std::runtime_error("not built: " + daemon().last_lines());
  // Cycles show in the log from here on.
  write("debug/loglevel", "\"verbose\"");
}

void regulating_node::release() {
  const auto answer = write("config/redisConfigStatus", "true");
  if (answer != "{}") throw std::runtime_error("not configured: " + answer);
  if (!wait_for_more(operational_line)) {
    throw std::runtime_error("not operational: " + daemon().last_lines());
  }
}

void regulating_node::bring_up() {
  start_surroundings();
  start_and_await();
  release();
  if (!await_rest()) throw std::runtime_error("not at rest: " + plant_.off_target(rest_db));
}

bool regulating_node::wait_for_more(const std::string& text, unsigned lines) {
  return daemon().wait_for(text, daemon().count(text) + lines);
}

bool regulating_node::await_rest() {
  double writes = -1.0;
  const auto rests = [&] {
    const double before = std::exchange(writes, plant_.switch_writes());
    return writes == before;
  };
  constexpr unsigned cycles = 6;  // three seconds: passes of the monitor are a second apart
  return await_on_target() &&
         eventually([&] { return wait_for_more(operational_line, cycles) && rests(); });
}

bool regulating_node::await_on_target() const {
  return eventually([&] { return plant_.off_target(rest_db).empty(); });
}

std::string regulating_node::correct_a_disturbance(const std::string& channel) {
  const auto attenuation = fmt::format("truth/node/0/rx/channel/{}/attenuation", channel);
  const double before = plant_.number(attenuation);
  plant_.disturb(channel, 2.0);
  const bool corrected = eventually([&] {
    return plant_.number(attenuation) > before + 1.0 && std::fabs(plant_.error(channel)) < rest_db;
  });
  if (corrected) return {};
  return fmt::format("{} stays off by {:.2f} dB:\n{}", channel, plant_.error(channel),
                     daemon().last_lines());
}

finished regulating_node::lumoractl(const std::vector<std::string>& words) const {
  process::settings what{
      {std::string(LUMORA_BIN_DIR) + "/lumoractl", "--root", root().path()}, {}, {}};
  what.command.insert(what.command.end(), words.begin(), words.end());
  return run(what);
}

}  // namespace test
