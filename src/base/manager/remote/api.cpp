#include "base/manager/remote/api.h"

#include "base/manager/remote/client.h"
#include "base/manager/remote/peer_products.h"
#include "device/interfaces/osc.h"
#include "device/subscriber.h"
#include "helpers/guard.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"

namespace manager::remote {

namespace {

using namespace std::chrono_literals;

constexpr const char* not_identified = "n/a";
constexpr std::chrono::nanoseconds unidentified_retry = 30s;

std::chrono::system_clock::time_point now() {
  return helpers::waiting::instance().system_now();
}

}  // namespace

api::api()
    : client_(std::make_shared<manager::remote::client>()),
      subscriber_(std::make_shared<::device::subscriber>()),
      device_(create_adapter(not_identified)),
      last_subscription_(now()) {}

api::~api() = default;

bool api::is_known() const {
  return known_;
}

bool api::is_embedded_ila() const {
  return embedded_ila_;
}

bool api::has_osnr() const {
  return osnr_;
}

void api::update_flags() {
  known_ = is_listed(product_);
  embedded_ila_ = device_->is_embedded_ila();
  osnr_ = device_->has_osnr();
}

void api::create_values(nx_db& db) {
  const auto create = [&db](text_value& value, const char* path) {
    if (!value) value = nx::api::status_value<std::string>::create(db, path, not_identified, 1);
  };
  create(remote_product_value_, "data/line/1/remoteProduct");
  create(remote_sw_version_value_, "data/line/1/remoteSwVersion");
  create(remote_hw_revision_value_, "data/line/1/remoteHwRevision");
}

void api::run_cycle(nx_db& db, const std::shared_ptr<::device::interfaces::osc>& osc,
                    const channel_source& channels) {
  create_values(db);
  try {
    keep_connection(db, osc, channels);
  } catch (...) {
    reset();
    client_->disconnect();
    helpers::log_current_exception();
  }
}

void api::keep_connection(nx_db& db, const std::shared_ptr<::device::interfaces::osc>& osc,
                          const channel_source& channels) {
  if (!osc->is_operational()) return;
  if (!client_->connected) {
    LUMORA_LOG(2, "Connecting to remote nexel.");
    client_->connect(db, osc);
    subscribed_ = false;
    return;
  }
  const bool all_alive = subscriber_->is_operational();
  const bool unidentified =
      product_ == not_identified && now() - last_subscription_ > unidentified_retry;
  if (all_alive && subscribed_ && !unidentified) return;
  last_subscription_ = now();
  setup_remote_subscriptions(channels);
}

void api::setup_remote_subscriptions(const channel_source& channels) {
  reset();
  identify_remote();
  LUMORA_LOG(2, "Starting remote subscription.");
  device_->subscribe(client_, subscriber_);
  // Now, so that a channel that came while the peer was asked is among them.
  for (const unsigned id : channels())
    device_->subscribe_channel(client_, subscriber_, id);
  subscribed_ = true;
}

void api::identify_remote() {
  helpers::guarded([this] {
    product_ = client_->get("data/product");
    sw_version_ = client_->get("data/swVersion");
    hw_revision_ = client_->get("data/hwRevision");
  });
  {
    const std::lock_guard lock(mutex_);
    device_ = create_adapter(product_);
  }
  update_flags();
  publish_identity();
}

void api::publish_identity() {
  if (remote_product_value_) {
    const auto former = remote_product_value_->get_last_sent();
    if (former != product_) {
      LUMORA_LOG(2, "Remote device product changed from {} to {}", former, product_);
    }
    remote_product_value_->update(product_);
  }
  if (remote_sw_version_value_) remote_sw_version_value_->update(sw_version_);
  if (remote_hw_revision_value_) remote_hw_revision_value_->update(hw_revision_);
}

void api::reset() {
  subscriber_->reset();
  subscribed_ = false;
  product_ = sw_version_ = hw_revision_ = not_identified;
  known_ = false;
}

template <class Result, class... Parameters, class... Args>
Result api::forward(Result (device::interface::*operation)(const device::subscriber_ptr&,
                                                           Parameters...),
                    const Args&... args) {
  const auto adapter = [this] {
    const std::lock_guard lock(mutex_);
    return device_;
  }();
  return (adapter.get()->*operation)(subscriber_, args...);
}

std::string api::get_hostname() {
  return forward(&device::interface::get_hostname);
}

float api::get_fiber_length() {
  return forward(&device::interface::get_fiber_length);
}

float api::get_utilization() {
  return forward(&device::interface::get_utilization);
}

float api::get_line_tx_total_power() {
  return forward(&device::interface::get_line_tx_total_power);
}

float api::get_line_rx_total_power() {
  return forward(&device::interface::get_line_rx_total_power);
}

float api::get_line_tx_power() {
  return forward(&device::interface::get_line_tx_power);
}

float api::get_line_rx_power() {
  return forward(&device::interface::get_line_rx_power);
}

float api::get_line_target_power() {
  return forward(&device::interface::get_line_target_power);
}

float api::get_client_target_power() {
  return forward(&device::interface::get_client_target_power);
}

std::string api::get_line_interface_name(const std::string& direction) {
  return forward(&device::interface::get_line_interface_name, direction);
}

float api::get_dispersion() {
  return forward(&device::interface::get_dispersion);
}

float api::get_osc_loss() {
  return forward(&device::interface::get_osc_loss);
}

float api::get_osc_attenuation() {
  return forward(&device::interface::get_osc_attenuation);
}

float api::get_osc_tx_power() {
  return forward(&device::interface::get_osc_tx_power);
}

float api::get_osc_rx_power() {
  return forward(&device::interface::get_osc_rx_power);
}

float api::get_preamp_power_limit() {
  return forward(&device::interface::get_preamp_power_limit);
}

float api::get_preamp_gain() {
  return forward(&device::interface::get_preamp_gain);
}

float api::get_edfa_tx_saturation() {
  return forward(&device::interface::get_edfa_tx_saturation);
}

float api::get_edfa_tx_calibration() {
  return forward(&device::interface::get_edfa_tx_calibration);
}

float api::get_preamp_default_gain() {
  return forward(&device::interface::get_preamp_default_gain);
}

std::string api::get_channel_rx_status(unsigned id) {
  return forward(&device::interface::get_channel_rx_status, id);
}

std::string api::get_channel_tx_status(unsigned id) {
  return forward(&device::interface::get_channel_tx_status, id);
}

float api::get_channel_osnr(unsigned id) {
  return forward(&device::interface::get_channel_osnr, id);
}

float api::get_channel_tx_peak(unsigned id) {
  return forward(&device::interface::get_channel_tx_peak, id);
}

float api::get_channel_tx_ocm_power(unsigned id) {
  return forward(&device::interface::get_channel_tx_ocm_power, id);
}

float api::get_channel_rx_power(unsigned id) {
  return forward(&device::interface::get_channel_rx_power, id);
}

float api::get_channel_tx_power(unsigned id) {
  return forward(&device::interface::get_channel_tx_power, id);
}

std::string api::get_spanloss_section() {
  return forward(&device::interface::get_spanloss_section);
}

float api::get_ots_spanloss_tx() {
  return forward(&device::interface::get_ots_spanloss_tx);
}

float api::get_ots_spanloss_rx() {
  return forward(&device::interface::get_ots_spanloss_rx);
}

float api::get_oms_spanloss_tx() {
  return forward(&device::interface::get_oms_spanloss_tx);
}

float api::get_oms_spanloss_rx() {
  return forward(&device::interface::get_oms_spanloss_rx);
}

float api::get_channel_detection_level() {
  return forward(&device::interface::get_channel_detection_level);
}

float api::get_tdcm_dispersion() {
  return forward(&device::interface::get_tdcm_dispersion);
}

float api::get_final_dispersion() {
  return forward(&device::interface::get_final_dispersion);
}

std::string api::get_fiber_type() {
  return forward(&device::interface::get_fiber_type);
}

float api::get_tdcm_offset() {
  return forward(&device::interface::get_tdcm_offset);
}

}  // namespace manager::remote
