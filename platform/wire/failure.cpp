#include "platform/wire/failure.h"

#include "platform/wire/json_conversion.h"
#include "platform/wire/nx_client_exception.h"

namespace nx {

failure current_failure() {
  using kind = failure::kind;
  try {
    throw;
  } catch (const nx_error& error) {
    return {kind::refused, error.code, error.message, {}};
  } catch (const json_value_conversion_error& error) {
    return {kind::conversion,
            nx_error::invalid,
            std::string("expected ") + error.expected + ", found " + error.found,
            {}};
  } catch (const nx_client_exception& error) {
    return {kind::device, error.code, error.message, error.path};
  } catch (const kvs_client_exception& error) {
    return {kind::store, nx_error::foreign, error.what(), {}};
  } catch (const std::exception& error) {
    return {kind::foreign, nx_error::foreign, error.what(), {}};
  } catch (...) {
    return {kind::foreign, nx_error::foreign, "Unknown error!", {}};
  }
}

nx_error current_node_error() {
  const auto found = current_failure();
  if (found.from != failure::kind::device) return found.as_error();
  // A setter whose device failed: whoever wrote the value wants to know which and why.
  return {nx_error::foreign,
          found.path.empty() ? found.message : found.message + ": " + found.path};
}

}  // namespace nx
