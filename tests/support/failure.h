// The exception of a call as text, so that a table can expect it.
#pragma once

#include <exception>
#include <string>

#include "platform/wire/json_conversion.h"
#include "platform/wire/nx_client_exception.h"
#include "platform/wire/nx_error.h"

namespace test {

/// "! CODE MESSAGE" of the system's own errors, "? EXPECTED, FOUND" of a refused JSON value, the
/// text of any other exception; "" when the call raises nothing.
template <class Call>
std::string failure_of(Call&& call) {
  try {
    call();
  } catch (const nx_error& error) {
    return "! " + std::to_string(error.code) + " " + error.message;
  } catch (const nx_client_exception& error) {
    return "! " + std::to_string(error.code) + " " + error.message;
  } catch (const json_value_conversion_error& error) {
    return std::string("? ") + error.expected + ", " + error.found;
  } catch (const std::exception& error) {
    return error.what();
  }
  return "";
}

}  // namespace test
