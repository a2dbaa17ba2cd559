// The line of orvakin: it supervises the fibre but has no line VOA to regulate with.
#pragma once

#include <memory>
#include <utility>

#include "base/manager/loops/line.h"
#include "helpers/logger.h"

namespace products::orva::orvakin {

template <class T>
class line : public ::manager::loops::line<T> {
 public:
  using base = ::manager::loops::line<T>;

  line(std::shared_ptr<::channel::plan<T>> channels, std::shared_ptr<::manager::remote::api> remote)
      : base(std::move(channels), std::move(remote)) {
    LUMORA_LOG(2, "Creating orva::orvakin::line instance.");
  }

  void manage_line(nx_db&, bool) override { this->judge(base::line_reason::no_attenuator); }
  void set_voa_default_attenuation() override {}
  bool is_voa_ready() override { return true; }
};

}  // namespace products::orva::orvakin
