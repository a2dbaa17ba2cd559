// Two daemons face to face, each in its own network, with a simulated plant that carries the light
// between them. Without a supervisory link one daemon faces a simulated peer.
#pragma once

#include <array>
#include <memory>
#include <string>

#include "tests/system/regulating_node.h"
#include "tests/system/supervisory_link.h"

namespace test {

class daemon_pair {
 public:
  /// `link` may be null. Throws std::runtime_error, as all others here.
  explicit daemon_pair(std::unique_ptr<supervisory_link> link);

  unsigned size() const { return link_ ? 2 : 1; }  ///< daemons
  supervisory_link& link() { return *link_; }
  daemon_node& near() { return near_; }  ///< with the store and the devices of both
  process& daemon(unsigned node) { return *daemons_[node]; }
  const plant_controls& plant(unsigned node) const { return plants_[node]; }
  std::string daemon_socket(unsigned node) const;

  /// The store, the devices and the daemons, until both regulate their line with each other and
  /// rest.
  void bring_up();
  void start_devices();
  /// In the place of one that has ended; returns once it is configured.
  void start_daemon(unsigned node);

  /// Waits until the line of a node regulates with a peer that was identified after `begin` of its
  /// log; false when patience ends, which is long enough for two that wait for each other.
  bool await_line(unsigned node, std::size_t begin);
  /// All channels of both on target, and no step of any switch for some cycles.
  bool await_rest();
  std::string off_target(double within_db) const;

  /// Cycles from the last of the peer's identifications to the first regulation of the line behind
  /// it, in what a node logged from `begin` on; a huge number when there is none.
  unsigned cycles_until_regulation(unsigned node, std::size_t begin);

 private:
  std::string root(unsigned node) const;
  process::settings settings_of(unsigned node) const;
  void write(unsigned node, const std::string& path, const std::string& value) const;
  bool awaits_configuration(unsigned node) const;
  double switch_writes() const;

  daemon_node near_;
  std::array<plant_controls, 2> plants_{plant_controls(near_.root().path()),
                                        plant_controls(near_.root().path(), 1)};
  std::unique_ptr<supervisory_link> link_;
  std::array<std::unique_ptr<process>, 2> daemons_;
};

}  // namespace test
