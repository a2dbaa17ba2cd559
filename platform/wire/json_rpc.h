// The messages of the tree protocol as text: requests, answers and events, used by servers and
// clients alike. One message is one line; the sender adds the line end.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/wire/json.h"
#include "platform/wire/nx_error.h"

namespace nx::json_rpc {

// Errors of the protocol itself; all other codes are negated errno numbers of the tree.
inline constexpr std::int32_t parse_error = -32700;
inline constexpr std::int32_t invalid_request = -32600;
inline constexpr std::int32_t unknown_method = -32601;
inline constexpr std::int32_t invalid_params = -32602;

/// {"jsonrpc":"2.0","id":ID,"method":METHOD,"params":PARAMS}.
std::string request(std::uint64_t id, std::string_view method, std::string_view params_text);
/// The same, appended to `out`.
void append_request(std::string& out, std::uint64_t id, std::string_view method,
                    std::string_view params_text);

/// Appends an answer. The id is JSON text, as it was sent; "null" for a message that could not be
/// read.
void append_result(std::string& out, std::string_view id, const json_value& result);
/// The beginning of an answer, up to its result; the result and a '}' follow.
void begin_result(std::string& out, std::string_view id);
void append_error(std::string& out, std::string_view id, const nx_error& error);
/// The same for a message whose id is not known.
std::string error_without_id(const nx_error& error);

/// {"jsonrpc":"2.0","method":METHOD,"params":PARAMS}, the form of "event" and "ended".
std::string notification(std::string_view method, const json_value& params);

/// {"code":..,"message":..}, the form of an error inside answers, events and results.
void append_error_object(std::string& out, const nx_error& error);
json_value error_value(const nx_error& error, json_allocator& allocator);
/// True for a value of exactly that form.
bool is_error_value(const json_value& value);

/// {"error":{"code":..,"message":..}}: the form of a value in error among others.
json_value value_in_error(json_value error, json_allocator& allocator);

/// The reverse; members that are missing or of the wrong type read as -1 and "Unknown error!".
nx_error error_from_value(const json_value& error);

}  // namespace nx::json_rpc
