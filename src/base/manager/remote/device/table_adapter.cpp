#include "base/manager/remote/device/table_adapter.h"

#include <fmt/format.h>

#include <stdexcept>

#include "device/subscriber.h"
#include "platform/wire/nx_error.h"

namespace manager::remote::device {

namespace {

/// A row whose cells do not fit the result of its operation.
[[noreturn]] void misfit() {
  throw std::logic_error("value table of the peer: cell of a wrong kind");
}

template <class... Placeholder>
std::string full_path(const path& pattern, const Placeholder&... placeholder) {
  return fmt::format(fmt::runtime(pattern.text), placeholder...);
}

/// The answer of a cell: `T` is the type that the subscription cache holds for it.
template <class T, class Constant, class... Placeholder>
T read(const cell& from, const subscriber_ptr& values, const Placeholder&... placeholder) {
  if (const auto* refused = std::get_if<refusal>(&from))
    throw nx_error(nx_error::invalid, refused->text);
  if (const auto* pattern = std::get_if<path>(&from)) {
    return values->get<T>(full_path(*pattern, placeholder...));
  }
  if (const auto* constant = std::get_if<Constant>(&from)) {
    if constexpr (std::is_same_v<Constant, text>) {
      return constant->value;
    } else {
      return static_cast<T>(*constant);
    }
  }
  misfit();
}

template <class... Placeholder>
float number(const cell& from, const subscriber_ptr& values, const Placeholder&... placeholder) {
  return read<float, float>(from, values, placeholder...);
}

template <class... Placeholder>
std::string words(const cell& from, const subscriber_ptr& values,
                  const Placeholder&... placeholder) {
  return read<std::string, text>(from, values, placeholder...);
}

bool truth(const cell& from) {
  if (const auto* constant = std::get_if<bool>(&from)) return *constant;
  misfit();
}

}  // namespace

known_number table_adapter::find_known(const subscriber_ptr& values, operation what,
                                       std::optional<unsigned> id) {
  const auto* pattern = std::get_if<path>(&find(what));
  if (!pattern) return std::nullopt;
  if (!id) return values->find_known<float>(pattern->text);
  const auto text = full_path(*pattern, *id);
  if (what != operation::get_channel_tx_peak) return values->find_known<float>(text);
  const auto peak = values->find_known<bool>(text);
  if (!peak) return std::nullopt;
  return ::device::reading<float>{peak->value ? 1.0f : 0.0f, peak->arrived, peak->arrivals,
                                  peak->changes};
}

std::string table_adapter::get_hostname(const subscriber_ptr& values) {
  return words(find(operation::get_hostname), values);
}

float table_adapter::get_fiber_length(const subscriber_ptr& values) {
  return number(find(operation::get_fiber_length), values);
}

float table_adapter::get_utilization(const subscriber_ptr& values) {
  return number(find(operation::get_utilization), values);
}

float table_adapter::get_line_tx_total_power(const subscriber_ptr& values) {
  return number(find(operation::get_line_tx_total_power), values);
}

float table_adapter::get_line_rx_total_power(const subscriber_ptr& values) {
  return number(find(operation::get_line_rx_total_power), values);
}

float table_adapter::get_line_tx_power(const subscriber_ptr& values) {
  return number(find(operation::get_line_tx_power), values);
}

float table_adapter::get_line_rx_power(const subscriber_ptr& values) {
  return number(find(operation::get_line_rx_power), values);
}

float table_adapter::get_line_target_power(const subscriber_ptr& values) {
  return number(find(operation::get_line_target_power), values);
}

float table_adapter::get_client_target_power(const subscriber_ptr& values) {
  return number(find(operation::get_client_target_power), values);
}

std::string table_adapter::get_line_interface_name(const subscriber_ptr& values,
                                                   const std::string& direction) {
  return words(find(operation::get_line_interface_name), values, direction);
}

float table_adapter::get_dispersion(const subscriber_ptr& values) {
  return number(find(operation::get_dispersion), values);
}

float table_adapter::get_osc_loss(const subscriber_ptr& values) {
  return number(find(operation::get_osc_loss), values);
}

float table_adapter::get_osc_attenuation(const subscriber_ptr& values) {
  return number(find(operation::get_osc_attenuation), values);
}

float table_adapter::get_osc_tx_power(const subscriber_ptr& values) {
  return number(find(operation::get_osc_tx_power), values);
}

float table_adapter::get_osc_rx_power(const subscriber_ptr& values) {
  return number(find(operation::get_osc_rx_power), values);
}

float table_adapter::get_preamp_power_limit(const subscriber_ptr& values) {
  return number(find(operation::get_preamp_power_limit), values);
}

float table_adapter::get_preamp_gain(const subscriber_ptr& values) {
  return number(find(operation::get_preamp_gain), values);
}

float table_adapter::get_edfa_tx_saturation(const subscriber_ptr& values) {
  return number(find(operation::get_edfa_tx_saturation), values);
}

float table_adapter::get_edfa_tx_calibration(const subscriber_ptr& values) {
  return number(find(operation::get_edfa_tx_calibration), values);
}

float table_adapter::get_preamp_default_gain(const subscriber_ptr& values) {
  return number(find(operation::get_preamp_default_gain), values);
}

std::string table_adapter::get_channel_rx_status(const subscriber_ptr& values, unsigned id) {
  return words(find(operation::get_channel_rx_status), values, id);
}

std::string table_adapter::get_channel_tx_status(const subscriber_ptr& values, unsigned id) {
  return words(find(operation::get_channel_tx_status), values, id);
}

float table_adapter::get_channel_osnr(const subscriber_ptr& values, unsigned id) {
  return number(find(operation::get_channel_osnr), values, id);
}

float table_adapter::get_channel_tx_peak(const subscriber_ptr& values, unsigned id) {
  // The peer shows it as a truth value; those who average want a number.
  return read<bool, float>(find(operation::get_channel_tx_peak), values, id) ? 1.0f : 0.0f;
}

float table_adapter::get_channel_tx_ocm_power(const subscriber_ptr& values, unsigned id) {
  return number(find(operation::get_channel_tx_ocm_power), values, id);
}

float table_adapter::get_channel_rx_power(const subscriber_ptr& values, unsigned id) {
  return number(find(operation::get_channel_rx_power), values, id);
}

float table_adapter::get_channel_tx_power(const subscriber_ptr& values, unsigned id) {
  return number(find(operation::get_channel_tx_power), values, id);
}

std::string table_adapter::get_spanloss_section(const subscriber_ptr& values) {
  return words(find(operation::get_spanloss_section), values);
}

float table_adapter::get_ots_spanloss_tx(const subscriber_ptr& values) {
  return number(find(operation::get_ots_spanloss_tx), values);
}

float table_adapter::get_ots_spanloss_rx(const subscriber_ptr& values) {
  return number(find(operation::get_ots_spanloss_rx), values);
}

float table_adapter::get_oms_spanloss_tx(const subscriber_ptr& values) {
  return number(find(operation::get_oms_spanloss_tx), values);
}

float table_adapter::get_oms_spanloss_rx(const subscriber_ptr& values) {
  return number(find(operation::get_oms_spanloss_rx), values);
}

bool table_adapter::is_embedded_ila() {
  return truth(find(operation::is_embedded_ila));
}

float table_adapter::get_channel_detection_level(const subscriber_ptr& values) {
  return number(find(operation::get_channel_detection_level), values);
}

bool table_adapter::has_osnr() {
  return truth(find(operation::has_osnr));
}

float table_adapter::get_tdcm_dispersion(const subscriber_ptr& values) {
  return number(find(operation::get_tdcm_dispersion), values);
}

float table_adapter::get_final_dispersion(const subscriber_ptr& values) {
  return number(find(operation::get_final_dispersion), values);
}

std::string table_adapter::get_fiber_type(const subscriber_ptr& values) {
  return words(find(operation::get_fiber_type), values);
}

float table_adapter::get_tdcm_offset(const subscriber_ptr& values) {
  return number(find(operation::get_tdcm_offset), values);
}

}  // namespace manager::remote::device
