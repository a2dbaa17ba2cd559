#include "platform/note_log/journal.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <regex>
#include <string_view>

#include "platform/note_log/line_layout.h"

namespace note_log {

namespace {

// A value that contains a line end has binary form: its size in eight bytes, lowest first, then the
// value.
void append_field(std::string& entry, std::string_view name, std::string_view value) {
  entry += name;
  if (value.find('\n') == value.npos) {
    entry += '=';
  } else {
    entry += '\n';
    auto size = static_cast<std::uint64_t>(value.size());
    for (int byte = 0; byte < 8; ++byte, size >>= 8)
      entry += static_cast<char>(size & 0xff);
  }
  entry += value;
  entry += '\n';
}

struct code_place {
  std::string file, line, function;
};

// Most records have their place as the channel, "FILE:LINE:FUNCTION"; others have it in the trace,
// " [at FILE:LINE]".
code_place place_of(const record& rec) {
  static const std::regex channel_form(R"(([^:]+\.[a-z]+):(\d+):(.*))");
  static const std::regex trace_form(R"( \[at (.+):(\d+)\])");
  std::smatch found;
  if (std::regex_match(rec.channel, found, channel_form)) return {found[1], found[2], found[3]};
  if (std::regex_match(rec.trace, found, trace_form)) return {found[1], found[2], {}};
  return {};
}

}  // namespace

std::string journal_entry(const record& rec, const std::string& message,
                          const std::string& program) {
  std::string entry;
  append_field(entry, "MESSAGE", message);
  append_field(entry, "PRIORITY", std::to_string(static_cast<int>(rec.severity)));
  append_field(entry, "SYSLOG_IDENTIFIER", program);
  append_field(entry, "CHANNEL", short_channel(rec.channel));
  if (!rec.subject.empty()) append_field(entry, "SUBJECT", rec.subject);
  const auto place = place_of(rec);
  if (!place.file.empty()) append_field(entry, "CODE_FILE", place.file);
  if (!place.line.empty()) append_field(entry, "CODE_LINE", place.line);
  if (!place.function.empty()) append_field(entry, "CODE_FUNC", place.function);
  return entry;
}

journal_socket::journal_socket(const std::string& path)
    : path_(path), number_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}

journal_socket::~journal_socket() {
  if (number_ >= 0) ::close(number_);
}

bool journal_socket::send(const std::string& entry) const {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path_.size() >= sizeof(address.sun_path)) return false;
  std::memcpy(address.sun_path, path_.c_str(), path_.size());
  const auto sent = ::sendto(number_, entry.data(), entry.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
                             reinterpret_cast<const sockaddr*>(&address), sizeof(address));
  return sent == static_cast<ssize_t>(entry.size());
}

}  // namespace note_log
