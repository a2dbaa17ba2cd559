// Describes a failure once for all who report it: the log, clients of the tree, the events of a
// subscription. Sorts the current exception into the kinds of the system; the caller words it for
// its readers.
#pragma once

#include <cstdint>
#include <string>

#include "platform/wire/nx_error.h"

/// Thrown by the client of a key store.
class kvs_client_exception {
 public:
  explicit kvs_client_exception(std::string text) : text_(std::move(text)) {}
  const std::string& what() const { return text_; }

 private:
  std::string text_;
};

namespace nx {

struct failure {
  enum class kind {
    refused,     ///< nx_error: a node's, or this program's own
    conversion,  ///< json_value_conversion_error: a value of another type
    device,      ///< nx_client_exception
    store,       ///< kvs_client_exception
    foreign
  };
  kind from;
  std::int32_t code;    ///< nx_error::error_code; a store and foreign exceptions have the first
  std::string message;  ///< without a place or path
  std::string path;     ///< that a device was asked for

  nx_error as_error() const { return {code, message}; }
};

/// Call inside a catch block.
failure current_failure();

/// The same as the clients of a tree are told it, for what a node threw: an nx_error as it is, a
/// failed conversion as -22 "expected float, found string", a device's with its path, anything else
/// as -1.
nx_error current_node_error();

}  // namespace nx
