// The LED manager's tables and the LED nexel: reading back, and writing what changed.
#include <fmt/format.h>

#include "base/manager/leds.h"
#include "device/interfaces/led.h"
#include "helpers/logger.h"
#include "platform/wire/nx_client_exception.h"

namespace manager {

using device::interfaces::led_address;
using panel_row = led_address::panel_row;

/// A write to one LED pair, and its result.
struct leds::pair_write {
  panel_row row;
  unsigned number;  ///< counts from 1
  led_data colours;
  std::exception_ptr failure;
};

namespace {

/// Names of a row's LEDs in the log.
struct row_texts {
  const char* name;
  const char* failure;
  const char* log_channel;
};

const row_texts& texts_of(panel_row row) {
  static constexpr row_texts line{"Line", "Failed to set Line led: ", "update_line_leds"};
  static constexpr row_texts xc{"XC", "Failed to set XC led: ", "update_xc_leds"};
  static constexpr row_texts client{"AWG", "Failed to set AWG led: ", "update_awg_leds"};
  return row == panel_row::line ? line : row == panel_row::xc ? xc : client;
}

std::string name_of(panel_row row, unsigned number) {
  const char* name = texts_of(row).name;
  return row == panel_row::line ? name : fmt::format("{}{}", name, number);
}

/// The text of a client's failure; empty for a refusal, which is rethrown.
std::optional<std::string> client_failure(const std::exception_ptr& failure) {
  try {
    std::rethrow_exception(failure);
  } catch (const nx_client_exception& error) {
    return error.message;
  } catch (...) {
    return std::nullopt;
  }
}

void add_row(std::vector<led_address>& all, panel_row row, std::size_t count) {
  for (unsigned n = 1; n <= count; ++n) {
    all.push_back({row, n, true});
    all.push_back({row, n, false});
  }
}

}  // namespace

void leds::read_led_statuses() {
  panel_user_.require();
  std::vector<led_address> addresses;
  {
    const std::lock_guard lock(mutex_);
    add_row(addresses, panel_row::line, 1);
    add_row(addresses, panel_row::client, client_leds_.size());
    add_row(addresses, panel_row::xc, xc_leds_.size());
  }
  const auto answers = exchange_.read(*led_, addresses);
  for (const auto& answer : answers) {
    if (is_panel_away(answer.failure)) std::rethrow_exception(answer.failure);
  }
  const std::lock_guard lock(mutex_);
  for (std::size_t i = 0; i < answers.size(); ++i) {
    auto& entry = entry_at(addresses[i].row, addresses[i].number);
    if (answers[i].failure) {
      entry.changed = true;
    } else {
      (addresses[i].rx ? entry.rx : entry.tx) = answers[i].colour;
    }
  }
}

led_data& leds::entry_at(panel_row row, unsigned number) {
  if (row == panel_row::line) return line_led_;
  return (row == panel_row::xc ? xc_leds_ : client_leds_).at(number - 1);
}

void leds::update_leds(bool force) {
  panel_user_.require();
  auto writes = take_due_writes(force);
  if (writes.empty()) return;
  log_due_writes(writes);
  std::vector<device::interfaces::led_write> messages;
  for (const auto& write : writes) {
    messages.push_back({{write.row, write.number, true}, write.colours.rx});
    messages.push_back({{write.row, write.number, false}, write.colours.tx});
  }
  const auto answers = exchange_.write(*led_, messages);
  bool is_away = true;
  for (std::size_t i = 0; i < writes.size(); ++i) {
    const auto& rx = answers[2 * i].failure;
    const auto& tx = answers[2 * i + 1].failure;
    writes[i].failure = rx ? rx : tx;
    is_away = is_away && is_panel_away(rx) && is_panel_away(tx);
  }
  settle_writes(writes);
  tell_failures(writes, is_away);
}

/// The LEDs that are due for a write: line, cross-connects, clients.
std::vector<leds::pair_write> leds::take_due_writes(bool force) {
  const std::lock_guard lock(mutex_);
  std::vector<pair_write> writes;
  const auto add = [&](panel_row row, unsigned number, const led_data& entry) {
    if (entry.changed || force) writes.push_back({row, number, entry, nullptr});
  };
  add(panel_row::line, 1, line_led_);
  for (unsigned n = 1; n <= xc_leds_.size(); ++n)
    add(panel_row::xc, n, xc_leds_[n - 1]);
  for (unsigned n = 1; n <= client_leds_.size(); ++n)
    add(panel_row::client, n, client_leds_[n - 1]);
  return writes;
}

/// A write that is retried again and again is logged once.
void leds::log_due_writes(const std::vector<pair_write>& writes) {
  for (const auto& write : writes) {
    const auto name = name_of(write.row, write.number);
    const auto [known, is_new] = announced_.try_emplace(name, write.colours);
    if (!is_new && known->second.rx == write.colours.rx && known->second.tx == write.colours.tx)
      continue;
    known->second = write.colours;
    LUMORA_LOG(2, "Updating {} RX led to status {}", name, write.colours.rx);
    LUMORA_LOG(2, "Updating {} TX led to status {}", name, write.colours.tx);
  }
}

void leds::settle_writes(const std::vector<pair_write>& writes) {
  const std::lock_guard lock(mutex_);
  for (const auto& write : writes) {
    if (write.failure) continue;
    announced_.erase(name_of(write.row, write.number));
    entry_at(write.row, write.number).changed = false;
  }
}

/// Each failure is logged once while it lasts, and a single one for all if the panel is away.
/// Throws what makes the thread start over.
void leds::tell_failures(const std::vector<pair_write>& writes, bool is_away) {
  std::set<std::string> failures;
  std::exception_ptr refusal;
  for (const auto& write : writes) {
    if (!write.failure) continue;
    const auto failure = client_failure(write.failure);
    const auto& texts = texts_of(write.row);
    if (!failure) {
      refusal = refusal ? refusal : write.failure;
      continue;
    }
    if (is_away) {
      meet(trouble::away, texts.log_channel, texts.failure + *failure);
      std::rethrow_exception(write.failure);
    }
    const auto text = texts.failure + *failure;
    if (failures.insert(text).second && !told_failures_.contains(text))
      LUMORA_LOG_DIRECT(3, texts.log_channel, text);
  }
  told_failures_ = std::move(failures);
  if (refusal) std::rethrow_exception(refusal);
}

}  // namespace manager
