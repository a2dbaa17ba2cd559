// The one error type of the value tree. It travels from node operations to clients as it is, and
// is kept by value inside values that are in error.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

/// Codes are negated errno numbers: -1 foreign exception, -2 no such path or object, -5 an
/// input/output step failed, -13 forbidden, -22 invalid or not available, -61 no value.
class nx_error : public std::exception {
 public:
  nx_error(std::int32_t error_code, std::string text)
      : code(error_code), message(std::move(text)) {}

  const char* what() const noexcept override { return message.c_str(); }

  bool operator==(const nx_error& other) const {
    return code == other.code && message == other.message;
  }

  std::int32_t code;
  std::string message;
};
