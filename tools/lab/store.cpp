#include "tools/lab/store.h"

#include <cstdlib>

#include "platform/kvs_client/kvs_client.h"
#include "tools/lab/lab_failure.h"

namespace tools::lab {

namespace {

constexpr unsigned store_timeout = 10;
constexpr std::chrono::seconds start_limit{15};

bool answers() {
  try {
    return kvs_client("lab", "").ping();
  } catch (const kvs_client_exception&) {
    return false;
  }
}

/// Nodes share the store but no keys.
std::string data_tag(unsigned node) {
  return node == 0 ? "{data}" : "{data-far}";
}

/// The contents of a mounted and healthy store of a node.
void write_keys(unsigned node) {
  kvs_client client("lab", "");
  const auto configuration = store::configuration_tag(node);
  const auto data = data_tag(node);
  client.set(configuration + ":qz:mounts", std::string("config"), store_timeout);
  client.set(data + ":nx/system/info:data/swVersion", std::string("1.0.0"), store_timeout);
  client.set(data + ":qz:status", std::string("ok"), store_timeout);
}

}  // namespace

store::store(supervisor& programs, const lab_folder& folder, unsigned nodes) {
  const auto socket = (folder.path() / "store.sock").string();
  url_ = "unix://" + socket;
  programs.start({"redis-server",
                  {"redis-server", "--port", "0", "--unixsocket", socket, "--save", "",
                   "--appendonly", "no", "--dir", folder.path().string()},
                  {},
                  (folder.logs() / "store.log").string()});
  // The client of the store asks the environment.
  setenv("KVS_URL", url_.c_str(), 1);  // NOLINT(concurrency-mt-unsafe): no other thread
  programs.wait_until("the key store", start_limit, answers);
  try {
    for (unsigned node = 0; node < nodes; ++node)
      write_keys(node);
  } catch (const kvs_client_exception& error) {
    throw lab_failure("cannot write to the key store: " + error.what());
  }
}

std::string store::configuration_tag(unsigned node) {
  return node == 0 ? "{conf}" : "{conf-far}";
}

std::vector<std::string> store::environment(unsigned node) const {
  return {"KVS_URL=" + url_, "REDIS_CONF_HASH_TAG=" + configuration_tag(node),
          "REDIS_DATA_HASH_TAG=" + data_tag(node)};
}

}  // namespace tools::lab
