#include "sim/nexels/distortion.h"

#include <rapidjson/document.h>

#include "platform/wire/json_conversion.h"
#include "sim/optics/decibel.h"

namespace sim {

namespace {

using kind = reading_fault::kind;

double number_in(const std::string& json) {
  return nx::parse_json(json).GetDouble();
}

std::string text_of(double value) {
  return nx::json_text(nx::json_value(static_cast<float>(value)));
}

}  // namespace

distortion::distortion(reading_fault fault, const std::string& path, std::string present,
                       bool measured, noise_source noise)
    : fault_(std::move(fault)), held_(std::move(present)), measured_(measured), noise_(noise) {
  if (fault_.what == kind::missing) fault_.error = {nx_error::not_found, "No such path: " + path};
  draw();
}

void distortion::draw() {
  if (fault_.what == kind::trembling) {
    offset_ = offset_ > 0.0 ? -fault_.amount : fault_.amount;
  } else if (fault_.what == kind::noisy || fault_.what == kind::frozen) {
    offset_ = noise_.gaussian(fault_.amount);
  }
}

void distortion::step(std::chrono::nanoseconds dt) {
  since_draw_ += dt;
  if (since_draw_ < fault_.pace) return;
  since_draw_ = std::chrono::nanoseconds(0);
  draw();
}

std::string distortion::moved(const std::string& json) const {
  return measured_ && offset_ != 0.0 ? text_of(number_in(json) + offset_) : json;
}

std::string distortion::stepped(const std::string& json) const {
  if (!measured_ || fault_.amount <= 0.0) return json;
  return text_of(rounded_to(number_in(json), fault_.amount));
}

shown_reading distortion::of(const std::string& true_json) const {
  switch (fault_.what) {
    case kind::replaced:
      return {fault_.value};
    case kind::frozen:
      return {moved(held_)};
    case kind::noisy:
    case kind::trembling:
      return {moved(true_json)};
    case kind::stepped:
      return {stepped(true_json)};
    case kind::failed:
    case kind::missing:
      break;
  }
  return {"", fault_.error};
}

}  // namespace sim
