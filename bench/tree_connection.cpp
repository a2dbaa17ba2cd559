#include "bench/tree_connection.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <array>
#include <stdexcept>

#include "platform/wire/plain_message.h"

namespace bench {
namespace {

using pool = rapidjson::MemoryPoolAllocator<>;
using document = rapidjson::GenericDocument<rapidjson::UTF8<>, pool, pool>;

constexpr std::size_t stack_bytes = 1024;

// Memory of one message after the other.
struct arena {
  std::array<char, std::size_t{256} * 1024> values_buffer;
  std::array<char, std::size_t{64} * 1024> stack_buffer;
  std::string text;
};

}  // namespace

void tree_connection::read(unsigned lines, const char* member) {
  std::array<char, std::size_t{16} * 1024> chunk;
  while (lines > 0) {
    if (const auto line = lines_.next()) {
      parse(line->text, member);
      --lines;
    } else {
      lines_.append({chunk.data(), socket_.receive_some(chunk.data(), chunk.size())});
    }
  }
}

void tree_connection::parse(std::string_view line, const char* member) {
  if (member == std::string_view("method") && nx::read_plain_event(line)) return;
  if (member == std::string_view("result") && nx::read_plain_result(line)) return;
  static arena kept;
  kept.text.assign(line);
  pool values(kept.values_buffer.data(), kept.values_buffer.size());
  pool stack(kept.stack_buffer.data(), kept.stack_buffer.size());
  document message(&values, stack_bytes, &stack);
  message.ParseInsitu(kept.text.data());
  const bool understood = !message.HasParseError();
  const auto& first = understood && message.IsArray() ? message[0] : message;
  if (!understood || !first.HasMember(member)) {
    throw std::runtime_error("unexpected: " + std::string(line));
  }
}

}  // namespace bench
