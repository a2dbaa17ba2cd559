// A client that sends bytes and reads lines, and a folder for the sockets of a test.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

class temp_folder {
 public:
  temp_folder();
  ~temp_folder();
  temp_folder(const temp_folder&) = delete;
  temp_folder& operator=(const temp_folder&) = delete;

  std::string operator/(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

class raw_client {
 public:
  static raw_client to_unix(const std::string& path);
  static raw_client to_ipv6(const std::string& address, unsigned port);
  ~raw_client();
  raw_client(raw_client&& other) noexcept;
  raw_client& operator=(raw_client&&) = delete;

  bool connected() const { return fd_ >= 0; }
  /// False when the server has closed.
  bool send(std::string_view bytes) const;
  void end_sending() const;
  /// The next line; "closed" when the server has closed, "nothing" after 10 s without one.
  std::string line();
  /// Sends a line and gives the next one.
  std::string ask(const std::string& request);
  /// True if a line waits, or comes in that time.
  bool has_line(int timeout_ms);

 private:
  explicit raw_client(int fd) : fd_(fd) {}
  bool receive(int timeout_ms);

  int fd_;
  bool closed_ = false;
  std::string buffer_;
};
