// The getter call of a value: the only thing that differs between the many measured values of the
// tree. `Base` is the node class that calls `read` and does everything else; it depends only on the
// value's type, so each additional value costs the compiler just a few lines.
#pragma once

#include <memory>
#include <string>
#include <tuple>
#include <utility>

#include "api/failure.h"
#include "api/member_pointer.h"

namespace nx::api {

/// Arguments of the getter beyond the owner are bound: stored here and passed at each read.
template <class Base, auto Getter>
class async_volatile_value : public Base {
  using traits = member_traits<decltype(Getter)>;

 public:
  using owner_type = typename traits::owner_type;
  using value_type = typename traits::result_type;
  using bound_type = typename traits::arguments;

  async_volatile_value(const std::string& name, const std::shared_ptr<owner_type>& owner,
                       bound_type bound)
      : Base(name), owner_(owner), bound_(std::move(bound)) {}

 protected:
  /// Throws nx_error -2 if the owner is gone, and whatever the getter throws.
  value_type read_getter() override {
    const auto owner = owner_.lock();
    if (!owner) throw_owner_gone();
    return call(*owner, std::make_index_sequence<std::tuple_size_v<bound_type>>());
  }

 private:
  template <std::size_t... Index>
  value_type call(owner_type& owner, std::index_sequence<Index...>) {
    return (owner.*Getter)(std::get<Index>(bound_)...);
  }

  std::weak_ptr<owner_type> owner_;
  bound_type bound_;
};

}  // namespace nx::api
