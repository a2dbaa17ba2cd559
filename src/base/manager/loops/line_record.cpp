#include "base/manager/loops/line_record.h"

#include <cmath>

#include "helpers/waiting.h"

namespace manager::loops {

namespace {

constexpr float jump_of_error_db = 2.0f;

}  // namespace

void line_record::publish(const ::insight::line_verdict& verdict) {
  const std::lock_guard lock(mutex_);
  verdict_ = verdict;
}

void line_record::note_attenuation(float attenuation) {
  const std::lock_guard lock(mutex_);
  attenuation_ = attenuation;
}

void line_record::note_step(float change, float error) {
  const std::lock_guard lock(mutex_);
  // A step takes a fifth of the error: what has moved further has been moved.
  if (std::fabs(error - error_at_step_) >= jump_of_error_db) steps_.event();
  error_at_step_ = error;
  steps_.step(helpers::steady_now(), change);
}

void line_record::note_giving_way() {
  const std::lock_guard lock(mutex_);
  gave_way_ = helpers::steady_now();
}

void line_record::note_incident() {
  const std::lock_guard lock(mutex_);
  steps_.event();
}

::insight::line_verdict line_record::verdict() const {
  const std::lock_guard lock(mutex_);
  return verdict_;
}

::insight::actuator_record line_record::steps() const {
  const std::lock_guard lock(mutex_);
  return steps_;
}

std::optional<float> line_record::attenuation() const {
  const std::lock_guard lock(mutex_);
  return attenuation_;
}

bool line_record::has_given_way() const {
  const std::lock_guard lock(mutex_);
  return gave_way_ &&
         helpers::steady_now() - *gave_way_ < ::insight::actuator_record::hunting_window;
}

}  // namespace manager::loops
