#include "base/insight/loop_watch.h"

#include "base/insight/event_log.h"
#include "helpers/waiting.h"

namespace insight {

void loop_watch::look(bool went_through, const std::string& failure) {
  if (went_through == !down_) return;
  auto& log = event_log::instance();
  const auto now = helpers::steady_now();
  down_ = !went_through;
  if (down_) {
    since_ = now;
    reason_ = failure.empty() ? "a device is not operational" : failure;
    log.tell(event_kind::loop_down, name_, {{"reason", reason_}});
  } else {
    log.tell(
        event_kind::loop_up, name_,
        {{"seconds", std::chrono::duration<double>(now - since_).count()}, {"reason", reason_}});
  }
}

}  // namespace insight
