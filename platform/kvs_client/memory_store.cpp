#include <map>
#include <mutex>

#include "platform/kvs_client/connection.h"

namespace {

struct memory_store {
  std::mutex mutex;
  std::map<std::string, std::string> values;
  bool available = true;

  static memory_store& instance() {
    static memory_store store;
    return store;
  }

  void require_available() const {
    if (!available) throw kvs_client_exception("memory store is not available");
  }

  std::string read(const std::string& key) const {
    const auto found = values.find(key);
    return found == values.end() ? std::string() : found->second;
  }
};

class memory_connection : public kvs_client::connection {
 public:
  bool ping(kvs_timeout) override {
    const std::lock_guard lock(store.mutex);
    store.require_available();
    return true;
  }

  std::vector<kvs_client::answer> ping_and_get(const std::vector<std::string>& keys,
                                               kvs_timeout) override {
    const std::lock_guard lock(store.mutex);
    store.require_available();
    std::vector<kvs_client::answer> answers{{"PONG", {}}};
    for (const auto& key : keys)
      answers.push_back({store.read(key), {}});
    return answers;
  }

  std::string get(const std::string& key, kvs_timeout) override {
    const std::lock_guard lock(store.mutex);
    store.require_available();
    return store.read(key);
  }

  void set(const std::string& key, const std::string& value, kvs_timeout) override {
    const std::lock_guard lock(store.mutex);
    store.require_available();
    store.values[key] = value;
  }

 private:
  memory_store& store = memory_store::instance();
};

}  // namespace

namespace kvs {

std::unique_ptr<kvs_client::connection> make_memory_connection() {
  return std::make_unique<memory_connection>();
}

}  // namespace kvs

namespace kvs_memory {

void set(const std::string& key, const std::string& value) {
  auto& store = memory_store::instance();
  const std::lock_guard lock(store.mutex);
  store.values[key] = value;
}

std::string get(const std::string& key) {
  auto& store = memory_store::instance();
  const std::lock_guard lock(store.mutex);
  return store.read(key);
}

void clear() {
  auto& store = memory_store::instance();
  const std::lock_guard lock(store.mutex);
  store.values.clear();
  store.available = true;
}

void set_available(bool available) {
  auto& store = memory_store::instance();
  const std::lock_guard lock(store.mutex);
  store.available = available;
}

}  // namespace kvs_memory
