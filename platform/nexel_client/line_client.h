// A blocking client of the bare protocol, for command lines and tests: one socket, one thread,
// requests as JSON text and answers as documents, events one at a time.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "platform/wire/json.h"

namespace nx {

class line_client {
 public:
  /// Throws nx_client_exception -107 if nothing listens there.
  static std::unique_ptr<line_client> connect_unix(const std::string& socket_path);
  static std::unique_ptr<line_client> connect_tcp(const std::string& host, unsigned port);
  ~line_client();

  /// One request; events that arrive meanwhile are kept for next_event. Throws nx_client_exception
  /// with the server's code and text, -110 if no answer arrives within `timeout`, -107 if the
  /// connection ends.
  json_document call(const std::string& method, const std::string& params_text,
                     std::chrono::milliseconds timeout = std::chrono::seconds(5));

  /// The next "event" or "ended" message; empty if none arrives in time.
  std::optional<json_document> next_event(std::chrono::milliseconds timeout);

  /// Raw bytes and lines, for tests of the protocol itself.
  void send_raw(const std::string& bytes);
  void end_sending();
  std::optional<std::string> read_line(std::chrono::milliseconds timeout);

 private:
  line_client();
  struct impl;
  std::unique_ptr<impl> impl_;
};

}  // namespace nx
