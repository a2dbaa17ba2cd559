// The twin switch's view of the node's key store, as the real switch has it: ten times a second a
// thread reads the attenuations of all channels ever asked for, so that the plant, which asks with
// its lock held, never waits for the store. While the store is away the last values stay.
#pragma once

#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>

class kvs_client;

namespace sim {

class store_follower {
 public:
  /// `tag` is the configuration hash tag in front of the keys; the store is found through KVS_URL,
  /// as by every client.
  explicit store_follower(std::string tag);
  ~store_follower();
  store_follower(const store_follower&) = delete;
  store_follower& operator=(const store_follower&) = delete;

  /// dB, as last read; empty until the key has been read and found. `module` is "add" or "drop".
  std::optional<double> attenuation(const std::string& module, unsigned channel);

 private:
  using place = std::pair<std::string, unsigned>;

  void follow(const std::stop_token& stop);
  void refresh(kvs_client& store);
  std::string key_of(const place& of) const;

  std::string tag_;
  std::mutex mutex_;
  std::condition_variable_any wake_;
  std::map<place, std::optional<double>> wanted_;
  std::jthread thread_;  // last: it uses all the others
};

}  // namespace sim
