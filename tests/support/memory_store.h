// The node's key store inside this process, ready for use, with the keys that a node's other
// services write; its address and tags are in the environment for the duration of a test.
#pragma once

#include <string>

#include "helpers/redis.h"
#include "platform/kvs_client/kvs_client.h"
#include "tests/support/environment.h"

namespace test {

class memory_store {
 public:
  memory_store() {
    kvs_memory::clear();
    set_status("ok");
    set_mounts("/mnt/store");
    kvs_memory::set("{data}:nx/system/info:data/swVersion", "R7");
    redis::instance().reset_for_test();
  }
  ~memory_store() {
    kvs_memory::set_available(true);
    redis::instance().reset_for_test();
  }
  memory_store(const memory_store&) = delete;
  memory_store& operator=(const memory_store&) = delete;

  void set_status(const std::string& status) { kvs_memory::set("{data}:qz:status", status); }
  void set_mounts(const std::string& mounts) { kvs_memory::set("{conf}:qz:mounts", mounts); }
  /// What was written for a channel of the twin switch.
  std::string attenuation(const std::string& module, unsigned channel) const {
    return kvs_memory::get("{conf}:nx/wss:config/module/" + module + "/channel/" +
                           std::to_string(channel) + "/attenuation");
  }

 private:
  const environment_variable url_{"KVS_URL", "memory:"};
  const environment_variable configuration_tag_{"REDIS_CONF_HASH_TAG", "{conf}"};
  const environment_variable data_tag_{"REDIS_DATA_HASH_TAG", "{data}"};
};

}  // namespace test
