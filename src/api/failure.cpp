#include "api/failure.h"

#include <stdexcept>
#include <string>
#include <system_error>

#include "platform/nexel_client/nx_client_exception.h"

namespace nx::api {
namespace {

std::string text_of(const char* kind, const std::exception& error) {
  return std::string(kind) + " error (" + error.what() + ")";
}

}  // namespace

void throw_owner_gone() {
  throw nx_error(-2, "Object has been removed");
}

void throw_not_set() {
  throw nx_error(-61, "Value has not been set");
}

nx_error current_failure() {
  try {
    throw;
  } catch (const nx_error& error) {
    return error;
  } catch (const nx_client_exception& error) {
    return {error.code, error.message};
  } catch (const std::system_error& error) {
    return {error.code().value(), text_of("System", error)};
  } catch (const std::runtime_error& error) {
    return {-1, text_of("Runtime", error)};
  } catch (const std::logic_error& error) {
    return {-1, text_of("Logic", error)};
  } catch (const std::exception& error) {
    return {-1, text_of("Generic", error)};
  } catch (...) {
    return {-1, "Unknown error"};
  }
}

}  // namespace nx::api
