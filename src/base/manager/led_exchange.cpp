#include "base/manager/led_exchange.h"

#include <algorithm>
#include <iterator>

#include "platform/wire/nx_client_exception.h"
#include "platform/wire/nx_error.h"

namespace manager {

namespace {

int code_of(const std::exception_ptr& failure) {
  if (!failure) return 0;
  try {
    std::rethrow_exception(failure);
  } catch (const nx_client_exception& error) {
    return error.code;
  } catch (...) {
    return 0;
  }
}

}  // namespace

bool is_panel_away(const std::exception_ptr& failure) {
  const int code = code_of(failure);
  return code == nx_error::not_connected || code == nx_error::no_answer;
}

template <class Item, class Exchange>
led_exchange::answers led_exchange::in_messages(const std::vector<Item>& items,
                                                const Exchange& exchange) {
  answers all;
  while (all.size() < items.size()) {
    const auto begin = items.begin() + static_cast<std::ptrdiff_t>(all.size());
    const auto count = std::min(longest_, items.size() - all.size());
    auto some = exchange(std::vector<Item>(begin, begin + static_cast<std::ptrdiff_t>(count)));
    const bool is_alive = !is_panel_away(some.front().failure);
    std::move(some.begin(), some.end(), std::back_inserter(all));
    const auto lost = std::find_if(all.begin(), all.end(),
                                   [](const auto& one) { return is_panel_away(one.failure); });
    if (lost == all.end()) continue;
    if (is_alive && count > 1) longest_ = count / 2;
    const auto failure = lost->failure;
    all.resize(items.size(), {{}, failure});
  }
  return all;
}

led_exchange::answers led_exchange::read(device::interfaces::led& panel,
                                         const std::vector<device::interfaces::led_address>& leds) {
  return in_messages(leds, [&](const auto& some) { return panel.read_together(some); });
}

led_exchange::answers led_exchange::write(
    device::interfaces::led& panel, const std::vector<device::interfaces::led_write>& writes) {
  return in_messages(writes, [&](const auto& some) { return panel.write_together(some); });
}

}  // namespace manager
