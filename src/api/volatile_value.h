// A value read from its owner at every read, on the reader's thread: for cheap getters only. It has
// no subscribers.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "api/async_volatile_value.h"
#include "api/attach.h"
#include "platform/value_tree/nx_db_node.h"

namespace nx::api {

/// Everything but the getter. T: float, std::string, int, bool, unsigned int or a JSON document.
template <class T>
class volatile_value_base : public nx_db_leaf_node {
 public:
  explicit volatile_value_base(const std::string& name);
  ~volatile_value_base() override;

  /// Throws whatever the getter throws, and nx_error -61 for a float that is not finite.
  void get(const std::string& path, json_allocator& allocator, json_value& result) override;
  std::string get_info() const override;
  json_value get_info(json_allocator& allocator) const override;
  bool read_may_wait() const override;

 protected:
  virtual T read_getter() = 0;
};

template <auto Getter>
class volatile_value
    : public async_volatile_value<
          volatile_value_base<typename member_traits<decltype(Getter)>::result_type>, Getter> {
  using base = async_volatile_value<
      volatile_value_base<typename member_traits<decltype(Getter)>::result_type>, Getter>;

 public:
  using base::base;

  template <class... Bound>
  static std::shared_ptr<volatile_value> create(
      nx_db& db, const std::string& path, const std::shared_ptr<typename base::owner_type>& owner,
      Bound... bound) {
    return create_node<volatile_value>(db, path, owner,
                                       typename base::bound_type{std::move(bound)...});
  }
};

}  // namespace nx::api
