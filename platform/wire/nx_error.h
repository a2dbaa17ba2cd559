// The only error type of the value tree. It passes from node operations to clients unchanged, and
// is stored by value in values that are in error.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

class nx_error : public std::exception {
 public:
  /// The codes this system itself uses, on the wire and in the log: negated errno numbers. A device
  /// may answer with others.
  enum error_code : std::int32_t {
    foreign = -1,          ///< an exception from outside this system
    not_found = -2,        ///< no such path, or an object that is gone
    io_failed = -5,        ///< an input or output operation failed
    forbidden = -13,       ///< not in this session
    invalid = -22,         ///< a value out of range, or something not available now
    no_value = -61,        ///< not set yet, or not a number
    not_connected = -107,  ///< raised by a client: the service cannot be reached
    no_answer = -110       ///< raised by a client: no answer in time
  };

  nx_error(std::int32_t number, std::string text) : code(number), message(std::move(text)) {}

  const char* what() const noexcept override { return message.c_str(); }

  bool operator==(const nx_error& other) const {
    return code == other.code && message == other.message;
  }

  std::int32_t code;
  std::string message;
};
