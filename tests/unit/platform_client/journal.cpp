#include "journal.h"

#include <algorithm>

namespace client_test {

void journal::note(const std::string& text) {
  const auto to = notes_;
  std::lock_guard lock(to->mutex);
  to->entries.push_back(text);
  to->changed.notify_all();
}

std::vector<std::string> journal::entries() const {
  std::lock_guard lock(notes_->mutex);
  return notes_->entries;
}

std::size_t journal::count(const std::string& text) const {
  std::lock_guard lock(notes_->mutex);
  return notes_->count(text);
}

bool journal::await(const std::string& text, std::size_t times,
                    std::chrono::milliseconds patience) const {
  std::unique_lock lock(notes_->mutex);
  return notes_->changed.wait_for(lock, patience, [&] { return notes_->count(text) >= times; });
}

std::size_t journal::notes::count(const std::string& text) const {
  return static_cast<std::size_t>(std::count(entries.begin(), entries.end(), text));
}

void noting_subscriber::send_changed_value_event(std::string_view path,
                                                 const nx::json_value& value) {
  to_.note(std::string(path) + " = " + nx::json_text(value));
}

void noting_subscriber::send_exception_event(std::string_view path,
                                             const nx_client_exception& error) {
  to_.note(std::string(path) + " ! " + std::to_string(error.code));
}

void noting_subscriber::send_subscription_ended_event(std::string_view path,
                                                      subscription_ended_rc rc) {
  to_.note(std::string(path) + (rc == subscription_ended_rc::removed ? " ended" : " dropped"));
}

void noting_connection::connection_established_event(const std::string& name) {
  to_.note("established " + name);
}

void noting_connection::connection_lost_event(const std::string& name) {
  to_.note("lost " + name);
}

void noting_read::process_ok_response(const nx::json_value& result) {
  to_.note("call = " + nx::json_text(result));
}

void noting_read::process_error_response(const nx_client_exception& error) {
  to_.note("call ! " + std::to_string(error.code));
}

void noting_read::report_local_error(const nx_client_exception& error) {
  to_.note("call ! " + std::to_string(error.code));
}

}  // namespace client_test
