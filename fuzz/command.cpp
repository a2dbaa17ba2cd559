// Any JSON as the request of a channel command: a request that passes the checks is within the
// limits that the loops rely on.
#include <rapidjson/document.h>

#include <cstdint>

#include "base/manager/channel_request.h"
#include "fuzz/check.h"
#include "helpers/logger.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/nx_error.h"

namespace {

using fuzz::check;

constexpr int silent = 3;

template <class Call>
bool passes(Call&& call) try {
  call();
  return true;
} catch (const nx_error& error) {
  check(error.code == -22 && !error.message.empty(), "a refusal says why");
  return false;
}

void check_add(const manager::channel_request& request) {
  const bool fits = passes([&] {
    manager::check_add_structure(request);
    manager::check_add_limits(request);
    const auto directions = manager::add_directions(request);
    check(directions.rx || directions.tx, "a channel has a direction");
  });
  if (!fits) return;
  check(request.center && request.width && request.port, "nothing is missing");
  check(*request.center > 18'000'000 && *request.center < 20'000'000,
        "the centre is near the band");
  check(*request.port >= 1 && *request.port <= 34, "the port exists");
}

void check_remove(const manager::channel_request& request) {
  const bool fits = passes([&] {
    manager::check_remove_structure(request);
    manager::check_remove_limits(request);
    const auto directions = manager::remove_directions(request);
    check(directions.rx || directions.tx, "a channel has a direction");
  });
  if (!fits) return;
  check(request.center && request.direction, "nothing is missing");
  check(*request.center >= 19'134'375 && *request.center <= 19'613'125,
        "the centre is in the band");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) try {
  logger::instance().level = silent;
  const auto document = nx::parse_json(reinterpret_cast<const char*>(data), size);
  const auto request = manager::read_channel_request(nx::from_json<nx::json_document>(document));
  check_add(request);
  check_remove(request);
  return 0;
} catch (const nx_error&) {
  return 0;
} catch (const json_value_conversion_error&) {
  return 0;
}
