// The journal's native protocol: one datagram per entry, so that priority, channel and place in the
// code are fields that the node's staff can filter by.
#pragma once

#include <string>

#include "platform/note_log/record.h"

namespace note_log {

/// The entry for a record: MESSAGE as on a line, PRIORITY, SYSLOG_IDENTIFIER, CHANNEL, and
/// CODE_FILE, CODE_LINE and CODE_FUNC where known.
std::string journal_entry(const record& rec, const std::string& message,
                          const std::string& program);

class journal_socket {
 public:
  explicit journal_socket(const std::string& path = "/run/systemd/journal/socket");
  ~journal_socket();
  journal_socket(const journal_socket&) = delete;
  journal_socket& operator=(const journal_socket&) = delete;

  /// Never blocks. False if nothing accepts the entry, or if it is too long for a datagram.
  bool send(const std::string& entry) const;

 private:
  std::string path_;
  int number_;
};

}  // namespace note_log
