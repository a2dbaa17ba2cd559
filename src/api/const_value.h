// A fixed fact on the tree, such as the product's name. T: float, unsigned int, std::string.
//
// Any thread reads it; it never changes and has no lock.
#pragma once

#include <memory>
#include <string>

#include "platform/value_tree/nx_db_node.h"

namespace nx::api {

template <class T>
class const_value : public nx_db_leaf_node {
 public:
  /// Throws nx_error -61 on a float that is not finite.
  const_value(const std::string& name, T value);
  ~const_value() override;

  static std::shared_ptr<const_value> create(nx_db& db, const std::string& path, T value);

  void get(const std::string& path, json_allocator& allocator, json_value& result) override;
  std::string get_info() const override;
  json_value get_info(json_allocator& allocator) const override;

 private:
  const T value_;
};

}  // namespace nx::api
