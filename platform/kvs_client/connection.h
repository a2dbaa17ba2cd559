// The back end of a kvs_client: a connection to a Redis server, or a store inside the process. Both
// throw kvs_client_exception. One thread at a time.
#pragma once

#include <memory>
#include <string>

#include "platform/kvs_client/endpoint.h"
#include "platform/kvs_client/kvs_client.h"

class kvs_client::connection {
 public:
  virtual ~connection() = default;
  virtual bool ping(kvs_timeout timeout) = 0;
  virtual std::vector<answer> ping_and_get(const std::vector<std::string>& keys,
                                           kvs_timeout timeout) = 0;
  virtual std::string get(const std::string& key, kvs_timeout timeout) = 0;
  virtual void set(const std::string& key, const std::string& value, kvs_timeout timeout) = 0;
};

namespace kvs {

/// Connects at the first call. `client_name` shows in the store's client list; may be empty.
std::unique_ptr<kvs_client::connection> make_server_connection(std::string url,
                                                               std::string client_name);
std::unique_ptr<kvs_client::connection> make_memory_connection();

}  // namespace kvs
