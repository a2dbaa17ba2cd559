// Any JSON as the request of a channel command: a request that passes the checks is within the
// limits that the loops rely on.
#include <rapidjson/document.h>

#include <cstdint>
#include <optional>

#include "base/manager/channel_request.h"
#include "fuzz/check.h"
#include "helpers/logger.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/nx_error.h"

namespace {

using fuzz::check;

constexpr int silent = 3;

/// Nothing if the request is refused, with its reason.
template <class Read>
auto accepted(Read read, const nx::json_document& request)
    -> std::optional<decltype(read(request))> try {
  return read(request);
} catch (const nx_error& error) {
  check(error.code == nx_error::invalid && !error.message.empty(), "a refusal says why");
  return std::nullopt;
}

void check_add(const nx::json_document& sent) {
  const auto request = accepted(manager::read_add_request, sent);
  if (!request) return;
  check(request->directions.rx || request->directions.tx, "a channel has a direction");
  check(request->center > 18'000'000 && request->center < 20'000'000,
        "the centre is near the band");
  check(request->port >= 1 && request->port <= 34, "the port exists");
}

void check_remove(const nx::json_document& sent) {
  const auto request = accepted(manager::read_remove_request, sent);
  if (!request) return;
  check(request->directions.rx || request->directions.tx, "a channel has a direction");
  check(request->center >= 19'134'375 && request->center <= 19'613'125,
        "the centre is in the band");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) try {
  logger::instance().level = silent;
  const auto document = nx::parse_json(reinterpret_cast<const char*>(data), size);
  const auto request = nx::from_json<nx::json_document>(document);
  check_add(request);
  check_remove(request);
  return 0;
} catch (const nx_error&) {
  return 0;
} catch (const json_value_conversion_error&) {
  return 0;
}
