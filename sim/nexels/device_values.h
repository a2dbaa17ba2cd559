// The kinds of value on a simulated device's tree: a reading that the plant changes, a setting that
// a client writes and the device checks, a command with an answer. Settings and commands run on the
// writing client's thread; readings are changed by the thread that steps the plant.
//
// A refusal is thrown as nx_error and changes nothing.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <type_traits>

#include "sim/nexels/faulty_reading.h"

namespace sim {

/// T: bool, float, unsigned int, std::string, int.
template <class T>
class reading : public faulty_reading {
 public:
  reading(const std::string& name, T initial);

  /// Publishes if the value changes; otherwise costs only a comparison.
  void update(const T& value);
  /// The true value, without faults.
  T value() const;

  std::string get_info() const override;
  json_value get_info(json_allocator& allocator) const override;

 protected:
  json_value true_value(json_allocator& allocator) const override;
  bool is_measured() const override { return std::is_same_v<T, float>; }

 private:
  T value_;
};

/// Shows the last accepted value.
template <class T>
class setting : public reading<T> {
 public:
  using apply = std::function<void(const T&)>;
  setting(const std::string& name, T initial, apply accept);

  void set(const std::string& path, const nx::json_value& value) override;
  std::string get_info() const override;
  nx::json_value get_info(nx::json_allocator& allocator) const override;

 private:
  apply accept_;
};

/// Arg: bool, int, std::string (a JSON text is passed as it is). Answer: bool, int.
template <class Arg, class Answer>
class device_command : public nx_db_leaf_node {
 public:
  using action = std::function<Answer(const Arg&)>;
  device_command(const std::string& name, action execute);

  void run(const std::string& path, const json_value& args, json_allocator& allocator,
           json_value& result) override;
  bool write_returns_response() const override { return true; }
  std::string get_info() const override;
  json_value get_info(json_allocator& allocator) const override;

 private:
  action execute_;
};

}  // namespace sim
