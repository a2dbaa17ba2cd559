// A parameter that clients write: a write calls a member function of its owner. The setter takes
// the value (bool, float, std::string or const rapidjson::Document&, by value or by reference) and
// at most one bound argument, before or after it, which is passed to `create`. The node stores
// nothing across restarts. Once its owner is gone, it answers with the error -2.
//
// A setter that calls no device and takes no lock that is held across such a call, in particular no
// plan's, makes the parameter a prompt_param: writes to it are handled on the socket's thread.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

#include "api/attach.h"
#include "api/config_value.h"
#include "api/failure.h"
#include "api/member_pointer.h"

namespace nx::api {

enum class setter_pace { may_wait, at_once };

template <auto Setter, setter_pace Pace = setter_pace::may_wait>
class config_param : public config_value<typename setter_arguments<
                         typename member_traits<decltype(Setter)>::arguments>::value_type> {
  using traits = member_traits<decltype(Setter)>;
  using arguments = setter_arguments<typename traits::arguments>;

 public:
  using owner_type = typename traits::owner_type;
  using value_type = typename arguments::value_type;

  config_param(const std::string& name, std::optional<value_type> initial,
               const std::shared_ptr<owner_type>& owner, typename arguments::bound bound)
      : config_value<value_type>(name, std::move(initial)),
        owner_(owner),
        bound_(std::move(bound)) {}

  template <class... Bound>
  static std::shared_ptr<config_param> create(nx_db& db, const std::string& path,
                                              std::optional<value_type> initial,
                                              const std::shared_ptr<owner_type>& owner,
                                              Bound... bound) {
    return create_node<config_param>(db, path, std::move(initial), owner,
                                     typename arguments::bound{std::move(bound)...});
  }

  bool write_may_wait() const override { return Pace == setter_pace::may_wait; }

 protected:
  void apply(const value_type& value) override {
    const auto owner = owner_.lock();
    if (!owner) throw_owner_gone();
    call(*owner, value, std::make_index_sequence<std::tuple_size_v<typename arguments::bound>>());
  }

 private:
  template <std::size_t... Index>
  void call(owner_type& owner, const value_type& value, std::index_sequence<Index...>) {
    if constexpr (arguments::value_first) {
      (owner.*Setter)(value, std::get<Index>(bound_)...);
    } else {
      (owner.*Setter)(std::get<Index>(bound_)..., value);
    }
  }

  std::weak_ptr<owner_type> owner_;
  typename arguments::bound bound_;
};

template <auto Setter>
using prompt_param = config_param<Setter, setter_pace::at_once>;

}  // namespace nx::api
