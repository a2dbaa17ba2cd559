// The request behind a subscription; its result goes to the table of the client that sent it.
#pragma once

#include <chrono>
#include <string>

#include "platform/nexel_client/client_errors.h"
#include "platform/nexel_client/nexel_request.h"
#include "platform/nexel_client/subscription_table.h"

namespace nx {

class subscription_call final : public nexel_object {
 public:
  /// Time between a refusal and the next try.
  static constexpr std::chrono::seconds retry_interval{1};

  subscription_call(const std::string& path, subscription_table& table)
      : nexel_object(path), table_(table) {}

  const char* method() const override { return "subscribe"; }
  void write_request_data(json_value&, json_allocator&) const override {}
  void process_ok_response(const json_value&) override { table_.confirmed(get_path()); }
  void process_error_response(const nx_client_exception& error) override {
    table_.refused(get_path(), error, std::chrono::steady_clock::now() + retry_interval);
  }
  /// A lost connection is reported to all subscribers at once, not here.
  void report_local_error(const nx_client_exception& error) override {
    if (error.code != nx_error::not_connected) process_error_response(error);
  }

 private:
  subscription_table& table_;
};

}  // namespace nx
