// How proxies read and write single paths. Inside a cycle of the loops a read is answered by the
// cycle's snapshot, and a write makes that stale.
#pragma once

#include <string>
#include <string_view>

#include "device/cycle_reads.h"
#include "device/cycle_writes.h"
#include "device/reading_kind.h"
#include "platform/nexel_client/nexel_client.h"

namespace device::hardware {

/// T: bool, unsigned int, std::string. Throws what the client throws.
template <class T>
T read(nexel_client_api& client, const std::string& path) {
  auto* reads = cycle_reads::current();
  return reads ? reads->get<T>(client, path) : client.get<T>(path);
}

/// Throws what the client throws, and nx_client_exception -22 on a number that no instrument of the
/// kind tells: a service that tells one is broken, and nothing may be regulated by it.
float read_number(nexel_client_api& client, const std::string& path, reading_kind kind);
/// `number` if it can be of the kind; throws as above, `path` says of what.
float plausible(float number, reading_kind kind, const std::string& path);

/// Writes a path; `touches` is part of all paths whose readings the write may change, "" of any of
/// the nexel. Throws what the client throws; then, too, the old readings are gone.
template <class R, class Value>
R write(nexel_client_api& client, const std::string& path, const Value& value,
        std::string_view touches = {}) {
  if (auto* reads = cycle_reads::current()) reads->forget(client, touches);
  const cycle_reads::waiting_time counted(1);
  return client.set<R>(path, value);
}

/// A write of a channel's turn: within a walk over channels its answer is waited for with those of
/// the others, when the walk is over. Value: float, const char*.
template <class Value>
void write_in_turn(nexel_client_api& client, const std::string& path, Value value,
                   std::string_view touches) {
  auto* writes = cycle_writes::current();
  if (!writes) return write<void>(client, path, value, touches);
  if (auto* reads = cycle_reads::current()) reads->forget(client, touches);
  writes->send(client, path, value);
}

}  // namespace device::hardware
