#include "platform/kvs_client/kvs_client.h"

#include <fmt/format.h>

#include <cmath>

#include "platform/kvs_client/connection.h"

namespace {

constexpr kvs_timeout ping_timeout = 10;

std::string client_name(const std::string& name, const std::string& user) {
  return user.empty() ? name : fmt::format("{}:{}", name, user);
}

std::unique_ptr<kvs_client::connection> open(const std::string& name, const std::string& user) {
  auto url = kvs::url_from_environment();
  if (url == "memory:") return kvs::make_memory_connection();
  return kvs::make_server_connection(std::move(url), client_name(name, user));
}

}  // namespace

kvs_client::kvs_client(const std::string& name, const std::string& user)
    : connection_(open(name, user)) {}

kvs_client::~kvs_client() = default;

bool kvs_client::ping() {
  return connection_->ping(ping_timeout);
}

std::vector<kvs_client::answer> kvs_client::ping_and_get(const std::vector<std::string>& keys,
                                                         kvs_timeout timeout) {
  return connection_->ping_and_get(keys, timeout);
}

template <>
std::string kvs_client::get<std::string>(const std::string& key, kvs_timeout timeout) {
  return connection_->get(key, timeout);
}

void kvs_client::set(const std::string& key, const std::string& value, kvs_timeout timeout) {
  connection_->set(key, value, timeout);
}

template <>
void kvs_client::set<std::string>(const std::string& key, const std::string& value,
                                  kvs_timeout timeout) {
  connection_->set(key, value, timeout);
}

template <>
void kvs_client::set<float>(const std::string& key, const float& value, kvs_timeout timeout) {
  if (!std::isfinite(value)) {
    throw kvs_client_exception(fmt::format("set {}: {} is not a finite number", key, value));
  }
  connection_->set(key, fmt::format("{}", value), timeout);
}
