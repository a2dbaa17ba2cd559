#include "helpers/guard_register.h"

#include "helpers/logger.h"
#include "helpers/waiting.h"

namespace helpers {

guard_register& guard_register::instance() {
  static guard_register the_register;
  return the_register;
}

void guard_register::set_observer(observer told) {
  auto next = told ? std::make_shared<const observer>(std::move(told)) : nullptr;
  const std::lock_guard lock(mutex_);
  observer_ = std::move(next);
}

std::pair<guard_register::active_guard&, bool> guard_register::enter(const guard_kind& guard,
                                                                     const std::string& subject,
                                                                     const std::string& reason) {
  auto& of_guard = states_[guard.name];
  of_guard.name = guard.name;
  const auto [entry, is_new] = of_guard.active.try_emplace(subject);
  if (is_new) {
    entry->second = {.since = system_now(), .reason = reason};
    LUMORA_LOG(guard.log_level, "Guard {} begins on {}: {}", guard.name, subject, reason);
  }
  return {entry->second, is_new};
}

void guard_register::begin(const guard_kind& guard, const std::string& subject,
                           const std::string& reason) {
  enter_and_tell(guard, subject, reason, 0);
}

void guard_register::withhold(const guard_kind& guard, const std::string& subject,
                              const std::string& reason) {
  enter_and_tell(guard, subject, reason, 1);
}

void guard_register::enter_and_tell(const guard_kind& guard, const std::string& subject,
                                    const std::string& reason, unsigned writes) {
  std::unique_lock lock(mutex_);
  const auto [active, is_new] = enter(guard, subject, reason);
  active.withheld += writes;
  states_.find(guard.name)->second.withheld += writes;
  if (!is_new || !observer_) return;
  const auto told = observer_;
  const auto begun = active;
  lock.unlock();
  (*told)({.guard = guard, .subject = subject, .begins = true, .what = begun});
}

void guard_register::end(const guard_kind& guard, const std::string& subject) {
  std::unique_lock lock(mutex_);
  const auto of_guard = states_.find(guard.name);
  if (of_guard == states_.end()) return;
  const auto found = of_guard->second.active.find(subject);
  if (found == of_guard->second.active.end()) return;
  const auto ended = std::move(found->second);
  of_guard->second.active.erase(found);
  const auto lasted = system_now() - ended.since;
  LUMORA_LOG(guard.log_level, "Guard {} ends on {} after {:.1f} s, writes withheld: {}", guard.name,
             subject, std::chrono::duration<double>(lasted).count(), ended.withheld);
  const auto told = observer_;
  lock.unlock();
  if (!told) return;
  (*told)({.guard = guard, .subject = subject, .begins = false, .what = ended, .lasted = lasted});
}

void guard_register::show(const guard_kind& guard, const std::string& subject, bool active,
                          const std::string& reason) {
  active ? begin(guard, subject, reason) : end(guard, subject);
}

bool guard_register::is_active(const guard_kind& guard, const std::string& subject) const {
  const std::lock_guard lock(mutex_);
  const auto found = states_.find(std::string_view(guard.name));
  return found != states_.end() && found->second.active.contains(subject);
}

std::vector<guard_register::state> guard_register::states() const {
  const std::lock_guard lock(mutex_);
  std::vector<state> all;
  for (const auto& [name, each] : states_)
    all.push_back(each);
  return all;
}

void guard_register::reset() {
  const std::lock_guard lock(mutex_);
  states_.clear();
}

}  // namespace helpers
