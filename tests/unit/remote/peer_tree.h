// The value tree of a peer, served in-process, and the supervisory channel that leads there.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <variant>

#include "api/status_value.h"
#include "base/manager/remote/peer_products.h"
#include "device/interfaces/osc.h"
#include "platform/in_process/network.h"
#include "platform/value_tree/nx_db.h"
#include "tests/support/fake_device.h"

namespace test {

class peer_tree {
 public:
  static constexpr const char* address = "[fe80::1%osc0]:5100";
  static constexpr const char* neighbour = "fe80::1%osc0";

  void set(const std::string& path, float value) { update(path, value); }
  void set(const std::string& path, bool value) { update(path, value); }
  void set(const std::string& path, const std::string& value) { update(path, value); }
  void set(const std::string& path, const char* value) { update(path, std::string(value)); }

  void identify(const std::string& product) {
    set("data/product", product);
    set("data/swVersion", "7.1");
    set("data/hwRevision", "B");
  }

  /// All that a peer of the product is asked for, of the line and of these channels. Every number
  /// is 0.
  void fill(const std::string& product, std::initializer_list<unsigned> channels = {});
  /// Takes a value off the tree.
  void remove(const std::string& path) {
    db.remove_node(path);
    nodes_.erase(path);
  }

  nx_db db;

 private:
  template <class T>
  using node = std::shared_ptr<nx::api::status_value<T>>;

  template <class T>
  void update(const std::string& path, const T& value) {
    const auto found = nodes_.find(path);
    if (found == nodes_.end()) {
      nodes_.emplace(path, nx::api::status_value<T>::create(db, path, value, 1));
    } else {
      std::get<node<T>>(found->second)->update(value);
    }
  }
  void set_default(device::value_type type, const std::string& path);

  std::map<std::string, std::variant<node<float>, node<bool>, node<std::string>>> nodes_;
};

inline void peer_tree::set_default(device::value_type type, const std::string& path) {
  using device::value_type;
  if (type == value_type::number) set(path, 0.0f);
  if (type == value_type::truth) set(path, true);
  if (type == value_type::text) set(path, "text");
}

inline void peer_tree::fill(const std::string& product, std::initializer_list<unsigned> channels) {
  identify(product);
  const auto adapter = manager::remote::create_adapter(product);
  const auto set_all = [this](const manager::remote::device::path_group& asked) {
    for (const auto& wanted : asked.paths)
      set_default(wanted.type, wanted.path);
  };
  set_all(adapter->line_paths());
  for (const unsigned id : channels)
    set_all(adapter->channel_paths(id));
}

class fake_osc : public fake_device<device::interfaces::osc> {
 public:
  float fiber_length = 80;
  float dispersion = 1336;
  std::string neighbour = peer_tree::neighbour;
  bool loss_of_link = false;
  unsigned neighbour_reads = 0;

  float get_fiber_length() override { return read("length", fiber_length); }
  float get_fiber_dispersion() override { return read("dispersion", dispersion); }
  std::string get_neighbour() override {
    ++neighbour_reads;
    return read("neighbour", neighbour);
  }
  bool has_loss_of_link() override { return read("loss of link", loss_of_link); }
};

}  // namespace test
