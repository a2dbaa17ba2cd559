// What every proxy is made of: the connection to its nexel, the answers to operations that its
// device does not have, and one of two bases, with or without a table of subscribed paths.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "device/interface.h"

namespace boost::asio {
class io_context;
}

namespace device::hardware {

/// Never blocks; the connection is made in the background.
std::shared_ptr<nexel_client_api> make_client(std::shared_ptr<boost::asio::io_context> io,
                                              const std::string& socket_path);

/// Throws nx_error -22 "Not implemented".
[[noreturn]] void throw_not_implemented();

/// Throws nx_error -22 that names the operation: `result` and `operation` are the parts of its
/// signature before and after "device::hardware::CLASS::".
[[noreturn]] void throw_no_subscription(const char* result, const char* class_name,
                                        const char* operation);

/// Subscribes to what `paths_of` returns for each channel, all at once, and waits once. Returns the
/// channels with a path that delivered no value; throws nx_error -22 if that is all of them.
std::set<unsigned> subscribe_together(
    subscriber& values, const std::shared_ptr<nexel_client_api>& client,
    const std::vector<unsigned>& channels,
    const std::function<std::vector<wanted_path>(unsigned)>& paths_of);

/// Holds the table of subscribed paths; channels are not counted.
template <class... Interfaces>
class with_subscriptions : public Interfaces... {
 public:
  bool has_subscriber() override { return true; }
  std::optional<std::shared_ptr<subscriber>> get_subscriber() override { return subscriber_; }
  unsigned get_channel_subscribe_count() override { return 0; }

 protected:
  const std::shared_ptr<subscriber> subscriber_ = std::make_shared<subscriber>();
};

/// The nine operations, except the first, of a proxy without subscriptions.
template <class Interface>
class without_subscriptions : public Interface {
 public:
  bool has_subscriber() override { return false; }
  std::optional<std::shared_ptr<subscriber>> get_subscriber() override { return std::nullopt; }
  void subscribe_channel(unsigned) override {
    throw_no_subscription("void", class_name_, "subscribe_channel(unsigned int)");
  }
  void unsubscribe_channel(unsigned) override {}
  void subscribe() override { throw_no_subscription("void", class_name_, "subscribe()"); }
  void unsubscribe() override {}
  unsigned get_channel_subscribe_count() override {
    throw_no_subscription("unsigned int", class_name_, "get_channel_subscribe_count()");
  }
  bool has_channel(unsigned) override { throw_not_implemented(); }

 protected:
  explicit without_subscriptions(const char* class_name) : class_name_(class_name) {}

 private:
  const char* class_name_;
};

}  // namespace device::hardware
