// A nexel's end of the wire that does exactly what a test says, and records each request as "METHOD
// PATH". One connection at a time.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "journal.h"

namespace client_test {

class scripted_server {
 public:
  /// What to send for a request; empty is no answer. Lines end with '\n'.
  using script = std::function<std::string(const nx::json_value& request)>;

  /// Any get gives {PATH: 1}, any other request {}.
  static std::string answer(const nx::json_value& request);
  static std::string result(const nx::json_value& request, const std::string& result_json);
  static std::string silence(const nx::json_value&) { return {}; }

  explicit scripted_server(const std::string& socket_path, script does = answer);
  /// On [::1], at a free port.
  explicit scripted_server(script does);
  ~scripted_server();

  unsigned port() const { return port_; }
  void set_script(script does);
  void send(const std::string& bytes);
  void drop_connection();

  journal seen;

 private:
  void serve();
  void serve_connection();
  std::string read_some();
  void handle(const std::string& line);

  int listener_ = -1;
  unsigned port_ = 0;
  std::mutex mutex_;  // of the three below
  bool ending_ = false;
  int connection_ = -1;
  script script_;
  std::thread thread_;
};

}  // namespace client_test
