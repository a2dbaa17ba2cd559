// Reads and writes of single paths by proxies. Within a cycle of the loops a read is answered from
// the cycle's snapshot, and a write makes that stale.
#pragma once

#include <string>
#include <string_view>

#include "device/cycle_reads.h"
#include "device/cycle_writes.h"
#include "device/reading_kind.h"
#include "platform/nexel_client/nexel_client.h"
#include "platform/wire/nx_client_exception.h"

namespace device::hardware {

/// T: bool, unsigned int, std::string. Throws whatever the client throws.
template <class T>
T read(nexel_client_api& client, const std::string& path) {
  auto* reads = cycle_reads::current();
  return reads ? reads->get<T>(client, path) : client.get<T>(path);
}

/// `number` if an instrument of the kind can report it; otherwise throws nx_client_exception -22,
/// naming `path`: the service that sends it is broken, and must not be used for regulation.
inline float plausible(float number, reading_kind kind, const std::string& path) {
  if (judge(kind, number) != verdict::refused) return number;
  throw nx_client_exception{nx_error::invalid, refusal_text(kind, number), path};
}

/// Throws whatever the client throws, and as above.
inline float read_number(nexel_client_api& client, const std::string& path, reading_kind kind) {
  return plausible(read<float>(client, path), kind, path);
}

/// Writes a path. `touches` is a part of all paths whose readings the write may change; "" for all
/// paths of the nexel. Throws whatever the client throws; the old readings are discarded even then.
template <class R, class Value>
R write(nexel_client_api& client, const std::string& path, const Value& value,
        std::string_view touches = {}) {
  if (auto* reads = cycle_reads::current()) reads->forget(client, touches);
  const cycle_reads::waiting_time counted(1);
  return client.set<R>(path, value);
}

/// A write in a channel's turn: during a walk over channels its answer is awaited after the walk,
/// together with the others. Value: float, const char*.
template <class Value>
void write_in_turn(nexel_client_api& client, const std::string& path, Value value,
                   std::string_view touches) {
  auto* writes = cycle_writes::current();
  if (!writes) return write<void>(client, path, value, touches);
  if (auto* reads = cycle_reads::current()) reads->forget(client, touches);
  writes->send(client, path, value);
}

}  // namespace device::hardware
