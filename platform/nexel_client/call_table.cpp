#include "platform/nexel_client/call_table.h"

namespace nx {

std::uint64_t call_table::add(std::shared_ptr<nexel_object> object, time_point deadline) {
  calls_.emplace_hint(calls_.end(), ++last_id_, waiting_call{std::move(object), deadline});
  return last_id_;
}

std::shared_ptr<nexel_object> call_table::take(std::uint64_t id) {
  auto node = calls_.extract(id);
  return node ? std::move(node.mapped().object) : nullptr;
}

std::vector<std::shared_ptr<nexel_object>> call_table::take_expired(time_point now) {
  std::vector<std::shared_ptr<nexel_object>> taken;
  while (!calls_.empty() && calls_.begin()->second.deadline <= now) {
    taken.push_back(std::move(calls_.begin()->second.object));
    calls_.erase(calls_.begin());
  }
  return taken;
}

std::optional<call_table::time_point> call_table::next_deadline() const {
  if (calls_.empty()) return std::nullopt;
  return calls_.begin()->second.deadline;
}

}  // namespace nx
