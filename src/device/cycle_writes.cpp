#include "device/cycle_writes.h"

#include <utility>

#include "device/cycle_reads.h"
#include "platform/nexel_client/nexel_client.h"
#include "platform/wire/nx_error.h"

namespace device {

namespace {

thread_local cycle_writes* current_writes = nullptr;

}  // namespace

cycle_writes::scope::scope(cycle_writes& writes)
    : former_(std::exchange(current_writes, &writes)) {}

cycle_writes::scope::~scope() {
  current_writes = former_;
}

cycle_writes* cycle_writes::current() {
  return current_writes;
}

template <class Value>
void cycle_writes::send(nexel_client_api& client, const std::string& path, Value value) {
  pending_.push_back(
      {.client = &client, .path = path, .answer = client.send_set<void>(path, value)});
}

void cycle_writes::send_command(nexel_client_api& client, const std::string& path,
                                const std::string& request, const char* failure) {
  pending_.push_back({.client = &client,
                      .path = path,
                      .answer = client.send_set<bool>(path, request),
                      .refusal = failure});
}

void cycle_writes::wait(pending& each) {
  if (auto* done = std::get_if<std::future<void>>(&each.answer)) {
    return each.client->wait_for(*done, each.path);
  }
  auto& taken = std::get<std::future<bool>>(each.answer);
  if (!each.client->wait_for(taken, each.path)) throw nx_error(nx_error::io_failed, each.refusal);
}

void cycle_writes::wait() {
  if (pending_.empty()) return;
  const cycle_reads::waiting_time counted(pending_.size());
  for (auto& each : pending_) {
    try {
      wait(each);
    } catch (...) {
      each.failure = std::current_exception();
    }
  }
}

void cycle_writes::throw_failure(std::size_t first, std::size_t end) const {
  for (auto i = first; i < end; ++i) {
    if (const auto& failure = pending_.at(i).failure) std::rethrow_exception(failure);
  }
}

template void cycle_writes::send(nexel_client_api&, const std::string&, float);
template void cycle_writes::send(nexel_client_api&, const std::string&, const char*);

}  // namespace device
