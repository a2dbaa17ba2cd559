// The node's automation mode: who may regulate. Written by server threads, read by the manager
// thread and the line.
#pragma once

#include <atomic>
#include <string>

enum class automation_mode : unsigned {
  managed_cli = 0,
  managed_netconf = 1,
  embedded = 2,
  bright = 3,  ///< no regulation
  dark = 4     ///< no regulation
};

class automation {
 public:
  static automation& instance();
  virtual ~automation() = default;

  /// Throws nx_error -22 "Unknown automation mode" and keeps the mode.
  virtual void set(const std::string& text);
  virtual std::string to_string();
  virtual automation_mode get();

  bool is_regulating();

 private:
  automation() = default;
  std::atomic<automation_mode> mode_{automation_mode::managed_cli};
};
