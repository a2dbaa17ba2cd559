// The JSON types of the tree protocol, declared without RapidJSON's headers: node classes name
// values and allocators in their signatures, and most files that include them never build one. A
// .cpp file that does includes <rapidjson/document.h> itself.
#pragma once

#include <rapidjson/fwd.h>

#include <string>

namespace nx {

using json_allocator = rapidjson::MemoryPoolAllocator<rapidjson::CrtAllocator>;
using json_value = rapidjson::Value;
using json_document = rapidjson::Document;

/// Compact text of a value. A number that a float holds exactly is written as the shortest decimal
/// that reads back to the same float ("0.2", "17", "-99"); any other as the shortest double. Throws
/// nx_error -22 for a number that is not finite: such a number is never sent.
std::string json_text(const json_value& value);

}  // namespace nx
