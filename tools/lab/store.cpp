#include "tools/lab/store.h"

#include <cstdlib>

#include "platform/kvs_client/kvs_client.h"
#include "tools/lab/lab_failure.h"

namespace tools::lab {

namespace {

constexpr const char* configuration_tag = "{conf}";
constexpr const char* data_tag = "{data}";
constexpr unsigned store_timeout = 10;
constexpr std::chrono::seconds start_limit{15};

bool answers() {
  try {
    return kvs_client("lab", "").ping();
  } catch (const kvs_client_exception&) {
    return false;
  }
}

/// What a mounted and healthy store of a node holds.
void write_node_keys() {
  kvs_client client("lab", "");
  const std::string configuration = configuration_tag;
  const std::string data = data_tag;
  client.set(configuration + ":qz:mounts", std::string("config"), store_timeout);
  client.set(data + ":nx/system/info:data/swVersion", std::string("1.0.0"), store_timeout);
  client.set(data + ":qz:status", std::string("ok"), store_timeout);
}

}  // namespace

store::store(supervisor& programs, const lab_folder& folder) {
  const auto socket = (folder.path() / "store.sock").string();
  url_ = "unix://" + socket;
  programs.start({"redis-server",
                  {"redis-server", "--port", "0", "--unixsocket", socket, "--save", "",
                   "--appendonly", "no", "--dir", folder.path().string()},
                  {},
                  (folder.logs() / "store.log").string()});
  setenv("KVS_URL", url_.c_str(), 1);
  programs.wait_until("the key store", start_limit, answers);
  try {
    write_node_keys();
  } catch (const kvs_client_exception& error) {
    throw lab_failure("cannot write to the key store: " + error.what());
  }
}

std::vector<std::string> store::environment() const {
  return {"KVS_URL=" + url_, std::string("REDIS_CONF_HASH_TAG=") + configuration_tag,
          std::string("REDIS_DATA_HASH_TAG=") + data_tag};
}

}  // namespace tools::lab
