// The daemon's access to the node's key store: a readiness test that is stricter than a ping, one
// reconnect if the client fails, a lock, and the two hash tags in front of every key. Any thread. A
// read is sent together with its readiness tests; a write waits for them, since it cannot be
// undone.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "platform/kvs_client/kvs_client.h"
#include "platform/threads/ranked_mutex.h"

class redis {
 public:
  static redis& instance();

  /// The store answers, its status is "ok" and its persistent part is mounted. Throws nx_error -22
  /// if a hash tag is missing from the environment.
  bool is_connected();

  /// These throw nx_error -5 "Redis not connected.", nx_error -22 as above, or
  /// kvs_client_exception.
  std::string get(const std::string& key);
  void set(const std::string& key, const std::string& value);
  void set(const std::string& key, float value);

  /// Configuration tag, data tag; from REDIS_CONF_HASH_TAG and REDIS_DATA_HASH_TAG.
  std::pair<std::string, std::string> get_hash_tags();

  /// The node's software version; read once, then remembered.
  std::string get_release_version();

  /// Forgets client, tags and version, so that each test starts fresh.
  void reset_for_test();

 private:
  redis();
  bool _check_connection(bool reconnect);
  bool is_usable();
  void require_connection(std::optional<std::string> also_read = std::nullopt);

  std::shared_ptr<kvs_client> client_;
  nx::ranked_mutex mutex_{nx::lock_rank::key_store};
  std::optional<std::string> also_read_;  // the key that is read along with the tests
  kvs_client::answer value_;              // its value
  std::mutex tags_mutex_;
  std::optional<std::pair<std::string, std::string>> hash_tags_;
  std::mutex version_mutex_;
  std::optional<std::string> release_version_;
};
