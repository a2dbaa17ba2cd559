// Conversions between JSON values and the value types of the tree: bool, float, int, unsigned int,
// std::string and JSON documents. Used by nodes for written values and by clients for answers.
#pragma once

#include <string>

#include "platform/wire/json.h"

/// A JSON value of the wrong type. No base class: the server turns it into the error -22 "expected
/// float, found string". Both texts are literals.
struct json_value_conversion_error {
  const char* expected;
  const char* found;
};

namespace nx {

/// Name of a JSON value's type in conversion errors: "null", "bool", "object", "array", "string",
/// "32-bit unsigned integer", "32-bit signed integer", "64-bit unsigned integer", "64-bit signed
/// integer", "float" (a double within a float's range), "double", "unknown".
const char* json_type_name(const json_value& value);

/// Throws json_value_conversion_error. Accepted:
///   bool          true or false ("bool")
///   float         any number that a double holds without loss ("float")
///   int           an integer in the signed 32-bit range ("int")
///   unsigned int  an integer in the unsigned 32-bit range ("unsigned int")
///   std::string   a string as it is; anything else as its compact JSON text; nx_error -22 when
///                 it is longer than the limit of the protocol
///   json_document an object or array, copied, or a string that holds the text of one
///                 ("object or array", "stringified object or array")
template <class T>
T from_json(const json_value& value);

/// Throws nx_error -22 if the value is, or contains, a string beyond the limit of the protocol.
void check_strings(const json_value& value);

/// The reverse. The allocator is that of the document that will contain the value.
template <class T>
json_value to_json(const T& value, json_allocator& allocator);

/// Appends the text of `to_json(value)`.
template <class T>
void append_json(std::string& out, const T& value);

/// The member of that name; null if there is none, and for a value that is no object.
const json_value* member_of(const json_value& object, const char* name);
/// Its text; empty unless it is a string.
std::string text_member(const json_value& object, const char* name);

/// Parses one text. Throws nx_error -32700, saying what is wrong and where, for text that is not
/// JSON, not UTF-8 or nested deeper than the limit of the protocol.
json_document parse_json(const char* text, std::size_t size);
json_document parse_json(const std::string& text);

}  // namespace nx
