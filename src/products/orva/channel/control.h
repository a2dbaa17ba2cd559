// Regulation of an orva channel: adds the operator's admin status. "down" blocks the channel on the
// switch; a text other than "up" and "down" leaves it in regulation, but it neither raises its
// alarm nor counts as on target.
#pragma once

#include <mutex>
#include <string>

#include "base/channel/control/base.h"
#include "products/orva/channel/base.h"

namespace products::orva::channel {

template <class T>
class control : public ::channel::control::base<T> {
 public:
  using base = ::channel::control::base<T>;

  std::string get_admin_status();
  /// On a server thread; the text is kept unchanged.
  void set_admin_status(std::string status);

  bool is_admin_up() override;
  bool is_admin_down() override;
  bool is_on_target() override;
  bool can_regulate(std::shared_ptr<device::interfaces::wss> wss, float power_difference) override;
  void setup_channel_api(nx_db& db, std::shared_ptr<nx::api::value_group> values) override;

 private:
  std::shared_ptr<control<T>> shared_self();

  std::mutex admin_status_mutex_;
  std::string admin_status_ = "up";
};

}  // namespace products::orva::channel
