#include "platform/value_tree/server/node_errors.h"

#include "platform/kvs_client/kvs_client.h"
#include "platform/nexel_client/nx_client_exception.h"
#include "platform/wire/json_conversion.h"

namespace nx {

nx_error current_node_error() {
  try {
    throw;
  } catch (const nx_error& error) {
    return error;
  } catch (const json_value_conversion_error& error) {
    return {-22, std::string("expected ") + error.expected + ", found " + error.found};
  } catch (const nx_client_exception& error) {
    // A setter whose device failed: whoever wrote the value wants to know which and why.
    return {-1, error.path.empty() ? error.message : error.message + ": " + error.path};
  } catch (const kvs_client_exception& error) {
    return {-1, error.what()};
  } catch (const std::exception& error) {
    return {-1, error.what()};
  } catch (...) {
    return {-1, "Unknown error!"};
  }
}

}  // namespace nx
