#include "api/failure.h"

#include <stdexcept>
#include <string>
#include <system_error>

#include "platform/wire/failure.h"

namespace nx::api {
namespace {

std::string text_of(const char* kind, const std::exception& error) {
  return std::string(kind) + " error (" + error.what() + ")";
}

}  // namespace

void throw_owner_gone() {
  throw nx_error(nx_error::not_found, "Object has been removed");
}

void throw_not_set() {
  throw nx_error(nx_error::no_value, "Value has not been set");
}

nx_error current_value_error() {
  const auto found = current_failure();
  using kind = failure::kind;
  if (found.from == kind::refused || found.from == kind::device) return found.as_error();
  try {
    throw;
  } catch (const std::system_error& error) {
    return {error.code().value(), text_of("System", error)};
  } catch (const std::runtime_error& error) {
    return {nx_error::foreign, text_of("Runtime", error)};
  } catch (const std::logic_error& error) {
    return {nx_error::foreign, text_of("Logic", error)};
  } catch (const std::exception& error) {
    return {nx_error::foreign, text_of("Generic", error)};
  } catch (...) {
    return {nx_error::foreign, "Unknown error"};
  }
}

}  // namespace nx::api
