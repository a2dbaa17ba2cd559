// What happened, in order, as short texts from any thread; and receivers that write into it.
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/nexel_client/nexel_client.h"

namespace client_test {

using namespace std::chrono_literals;

class journal {
 public:
  void note(const std::string& text);
  std::vector<std::string> entries() const;
  std::size_t count(const std::string& text) const;
  /// Waits until the entry stands there `times` times; false after a time no healthy run needs.
  bool await(const std::string& text, std::size_t times = 1,
             std::chrono::milliseconds patience = 20s) const;

 private:
  struct notes {
    std::size_t count(const std::string& text) const;

    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::string> entries;
  };
  // Shared by copies: a receiver may be noting still when the test has seen enough and ends.
  const std::shared_ptr<notes> notes_ = std::make_shared<notes>();
};

/// "PATH = VALUE", "PATH ! CODE", "PATH ended", "PATH dropped".
class noting_subscriber : public nexel_subscriber {
 public:
  noting_subscriber(std::string path, const journal& to)
      : nexel_subscriber(std::move(path)), to_(to) {}
  void send_changed_value_event(std::string_view path, const nx::json_value& value) override;
  void send_exception_event(std::string_view path, const nx_client_exception& error) override;
  void send_subscription_ended_event(std::string_view path, subscription_ended_rc rc) override;

 private:
  journal to_;
};

/// "established NAME", "lost NAME".
class noting_connection : public nexel_connection_subscriber {
 public:
  explicit noting_connection(const journal& to) : to_(to) {}
  void connection_established_event(const std::string& name) override;
  void connection_lost_event(const std::string& name) override;

 protected:
  journal to_;
};

/// A call whose outcome is noted: "call = RESULT", "call ! CODE".
class noting_read : public nexel_object {
 public:
  noting_read(const std::string& path, const journal& to) : nexel_object(path), to_(to) {}
  const char* method() const override { return "get"; }
  void write_request_data(nx::json_value&, nx::json_allocator&) const override {}
  void process_ok_response(const nx::json_value& result) override;
  void process_error_response(const nx_client_exception& error) override;
  void report_local_error(const nx_client_exception& error) override;

 private:
  journal to_;
};

/// The exception that a call raises; code 0 when it raises none.
template <class Call>
nx_client_exception failure_of(Call call) {
  try {
    call();
  } catch (const nx_client_exception& error) {
    return error;
  }
  return {0, "no failure", {}};
}

}  // namespace client_test
