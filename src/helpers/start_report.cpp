#include "helpers/start_report.h"

#include <utility>

#include "helpers/logger.h"

namespace helpers {

namespace {
constexpr int severity_error = 3;
}

start_report& start_report::instance() {
  // Outlives every static: server threads may still read while the process ends.
  static auto* const the_report = new start_report;
  return *the_report;
}

void start_report::tell(const std::string& subject, const std::string& cause_and_remedy) {
  observer told;
  {
    const std::lock_guard lock(mutex_);
    auto& known = faults_[subject];
    if (known == cause_and_remedy) return;
    known = cause_and_remedy;
    any_ = true;
    told = observer_;
  }
  LUMORA_LOG_DIRECT(severity_error, "start", cause_and_remedy);
  if (told) told(subject, cause_and_remedy);
}

void start_report::clear(const std::string& subject) {
  if (!any_.load(std::memory_order_relaxed)) return;
  const std::lock_guard lock(mutex_);
  faults_.erase(subject);
  any_ = !faults_.empty();
}

std::string start_report::text() const {
  const std::lock_guard lock(mutex_);
  std::string all;
  for (const auto& [subject, fault] : faults_)
    all += (all.empty() ? "" : "\n") + fault;
  return all;
}

void start_report::set_observer(const observer& told) {
  std::map<std::string, std::string> before;
  {
    const std::lock_guard lock(mutex_);
    observer_ = told;
    before = faults_;
  }
  if (!told) return;
  for (const auto& [subject, fault] : before)
    told(subject, fault);
}

}  // namespace helpers
