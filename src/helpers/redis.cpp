#include "helpers/redis.h"

#include <fmt/format.h>

#include <cstdlib>

#include "helpers/guard.h"
#include "helpers/logger.h"
#include "helpers/service_manager.h"
#include "helpers/start_report.h"
#include "platform/kvs_client/kvs_client.h"
#include "platform/wire/nx_error.h"

namespace {

constexpr unsigned exchange_timeout = 10;  // tenths of a second

std::shared_ptr<kvs_client> new_client() {
  return std::make_shared<kvs_client>("default", "");
}

std::string hash_tag(const char* variable) {
  const char* value = std::getenv(variable);
  if (value == nullptr) throw nx_error(nx_error::invalid, fmt::format("undefined: {}", variable));
  return value;
}

/// Reports only what somebody has to fix before the store can be used; other failures pass by
/// themselves.
void tell_if_lasting(const std::string& failure) {
  auto& report = helpers::start_report::instance();
  if (failure.starts_with("KVS_URL")) {
    report.tell("KVS_URL", failure + ". Set it right and start again");
  } else if (failure.find("WRONGTYPE") != std::string::npos) {
    report.tell("store", failure +
                             ". The key holds another type than a text: delete it in the store, "
                             "who owns it writes it anew; the node waits");
  }
}

const std::string& text_of(const kvs_client::answer& answer) {
  if (answer.failure) throw kvs_client_exception(*answer.failure);
  return answer.text;
}

}  // namespace

redis::redis() : client_(new_client()) {}

redis& redis::instance() {
  static redis the_redis;
  return the_redis;
}

bool redis::is_connected() {
  const std::lock_guard lock(mutex_);
  return _check_connection(true);
}

std::string redis::get(const std::string& key) {
  const std::lock_guard lock(mutex_);
  require_connection(key);
  return text_of(value_);
}

void redis::set(const std::string& key, const std::string& value) {
  const std::lock_guard lock(mutex_);
  require_connection();
  client_->set(key, value, exchange_timeout);
}

void redis::set(const std::string& key, float value) {
  const std::lock_guard lock(mutex_);
  require_connection();
  client_->set<float>(key, value, exchange_timeout);
}

std::pair<std::string, std::string> redis::get_hash_tags() {
  const std::lock_guard lock(tags_mutex_);
  if (!hash_tags_) {
    auto data_tag = hash_tag("REDIS_DATA_HASH_TAG");
    auto configuration_tag = hash_tag("REDIS_CONF_HASH_TAG");
    hash_tags_.emplace(std::move(configuration_tag), std::move(data_tag));
  }
  return *hash_tags_;
}

std::string redis::get_release_version() {
  const std::lock_guard lock(version_mutex_);
  if (!release_version_) {
    release_version_ = get(fmt::format("{}:nx/system/info:data/swVersion", get_hash_tags().second));
  }
  return *release_version_;
}

void redis::reset_for_test() {
  const std::scoped_lock lock(version_mutex_, mutex_, tags_mutex_);
  client_ = new_client();
  hash_tags_.reset();
  release_version_.reset();
}

bool redis::_check_connection(bool reconnect) {
  helpers::service_manager::instance().alive();  // each answer may take a second
  get_hash_tags();  // a missing tag is the caller's problem, not a lost connection
  bool usable = false;
  const auto look = [&] {
    try {
      usable = is_usable();
    } catch (const kvs_client_exception& error) {
      tell_if_lasting(error.what());
      throw;
    }
  };
  if (helpers::guarded(look)) {
    if (usable) helpers::start_report::instance().clear("store");
    return usable;
  }
  if (!reconnect) return false;
  LUMORA_LOG(2, "Redis client not connected, reconnecting.");
  client_ = new_client();
  return _check_connection(false);
}

bool redis::is_usable() {
  const auto [configuration_tag, data_tag] = get_hash_tags();
  std::vector<std::string> keys{fmt::format("{}:qz:status", data_tag),
                                fmt::format("{}:qz:mounts", configuration_tag)};
  if (also_read_) keys.push_back(*also_read_);
  auto answers = client_->ping_and_get(keys, exchange_timeout);
  if (answers.at(0).text != "PONG") return false;
  if (text_of(answers.at(1)) != "ok") return false;
  if (text_of(answers.at(2)).empty()) return false;
  value_ = std::move(answers.back());
  return true;
}

void redis::require_connection(std::optional<std::string> also_read) {
  also_read_ = std::move(also_read);
  const bool is_connected = _check_connection(true);
  also_read_.reset();
  if (!is_connected) throw nx_error(nx_error::io_failed, "Redis not connected.");
}
