// The one error type of the value tree. It travels from node operations to clients as it is, and
// is kept by value inside values that are in error.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

class nx_error : public std::exception {
 public:
  /// What this system itself tells, on the wire and in the log: negated errno numbers. A device may
  /// answer with others.
  enum error_code : std::int32_t {
    foreign = -1,          ///< an exception that is not of this system
    not_found = -2,        ///< no such path, or an object that is gone
    io_failed = -5,        ///< an input or output step failed
    forbidden = -13,       ///< not in this session
    invalid = -22,         ///< a value out of its range, or nothing that is available now
    no_value = -61,        ///< not set yet, or no number
    not_connected = -107,  ///< a client's own: the service is not reached
    no_answer = -110       ///< a client's own: no answer in time
  };

  nx_error(std::int32_t number, std::string text) : code(number), message(std::move(text)) {}

  const char* what() const noexcept override { return message.c_str(); }

  bool operator==(const nx_error& other) const {
    return code == other.code && message == other.message;
  }

  std::int32_t code;
  std::string message;
};
