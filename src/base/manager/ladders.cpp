#include "base/manager/ladders.h"

#include <rapidjson/document.h>

#include <utility>

#include "base/guards/line_span.h"
#include "base/insight/news.h"
#include "base/manager/loops/line_peer.h"
#include "base/manager/remote/api.h"
#include "helpers/calibration.h"
#include "helpers/waiting.h"
#include "models/model.h"
#include "platform/wire/json_conversion.h"

namespace manager {

namespace {

using namespace std::chrono_literals;
using ::insight::device_board;
using ::insight::ladder_view;
using ::manager::remote::device::operation;
using number = std::optional<float>;

constexpr auto between_looks = 2s;

number moved(number power, float by) {
  return power ? number(*power + by) : std::nullopt;
}

number lit(number power) {
  return power ? guards::lit_power(*power) : std::nullopt;
}

number lit_osc(number power) {
  return power ? guards::lit_osc_power(*power) : std::nullopt;
}

/// A dark amplifier's noise may arrive below the threshold too: it has then lost what a span loses.
bool is_dark(number sent, number received) {
  constexpr float more_than_any_span_db = 35.0f;
  return sent && received && guards::is_dark_power(*received) &&
         *sent - *received > more_than_any_span_db;
}

bool is_osc_dark(number power) {
  return power && guards::is_dark_osc_power(*power);
}

/// The far end, as long as it is known and shows signs of life: older reports say nothing about the
/// present light.
class far_end {
 public:
  far_end(const std::shared_ptr<remote::api>& api, std::chrono::steady_clock::time_point now)
      : peer_(api), is_there_(peer_.is_known() && peer_.is_alive(now)) {}

  number told(operation what) const { return is_there_ ? peer_.value(what) : std::nullopt; }
  number told(operation what, unsigned channel) const {
    const auto reading = is_there_ ? peer_.known(what, channel) : std::nullopt;
    return reading ? number(reading->value) : std::nullopt;
  }

 private:
  loops::line_peer peer_;
  bool is_there_;
};

const board_numbers& board() {
  return calibration::instance().board();
}

/// At the connector, like the line's own values.
number line_output(const device_board& devices, number booster, bool has_voa) {
  if (!has_voa) return moved(booster, board().boostertx_to_linetx_db());
  const auto attenuation = devices.number("voa", "attenuation");
  const auto insertion_loss = devices.number("voa", "insertionLoss");
  if (!attenuation || !insertion_loss) return std::nullopt;
  return moved(booster, board().boostertx_to_linetx_db() - *attenuation - *insertion_loss);
}

number far_gain(const far_end& peer) {
  const auto gain = peer.told(operation::get_preamp_gain);
  const auto lacks = peer.told(operation::get_edfa_tx_saturation);
  return gain && lacks ? number(*gain - *lacks) : std::nullopt;
}

/// Behind a dark line, and of channels that it does not detect, a monitor tells its own noise.
void add_far_powers(const far_end& peer, ladders::channels& channels) {
  for (auto& channel : channels) {
    const auto peak = peer.told(operation::get_channel_tx_peak, channel.id);
    const auto far = peer.told(operation::get_channel_tx_ocm_power, channel.id);
    if (peak && *peak != 0 && far && guards::is_channel_power(*far)) channel.far = far;
  }
}

ladder_view view_out(const device_board& devices, const far_end& peer, ladders::channels channels,
                     bool has_voa) {
  const auto output = devices.number("booster", "outputPower");
  const auto sent = line_output(devices, output, has_voa);
  const auto received = peer.told(operation::get_line_rx_power);
  const auto osc_received = peer.told(operation::get_osc_rx_power);
  const bool dark = is_dark(sent, received);
  if (!dark) add_far_powers(peer, channels);
  return {.lit = std::move(channels),
          .input = devices.number("booster", "inputPower"),
          .output = output,
          .gain = devices.number("booster", "actualGain"),
          .calibration = board().mon_to_boostertx_db(),
          .sent = sent,
          .received = dark ? std::nullopt : lit(received),
          .osc_sent = moved(devices.number("sfp", "outputPower"), board().osctx_to_linetx_db()),
          .osc_received = lit_osc(osc_received),
          .is_dark = dark,
          .is_osc_dark = is_osc_dark(osc_received),
          .far_gain = far_gain(peer),
          .far_calibration = peer.told(operation::get_edfa_tx_calibration)};
}

ladder_view view_in(const device_board& devices, const far_end& peer, ladders::channels channels,
                    bool switch_inside) {
  const auto sent = lit(peer.told(operation::get_line_tx_power));
  const auto input = devices.number("preamp", "inputPower");
  const bool dark = is_dark(sent, devices.told("preamp", "inputPower"));
  return {.lit = std::move(channels),
          .input = dark ? std::nullopt : input,
          .output = devices.number("preamp", "outputPower"),
          .gain = devices.number("preamp", "actualGain"),
          .calibration = board().mon_to_preamptx_db(),
          .switch_inside = switch_inside,
          .sent = sent,
          .received = dark ? std::nullopt : moved(input, -board().linerx_to_preamprx_db()),
          .osc_sent = peer.told(operation::get_osc_tx_power),
          .osc_received = moved(devices.number("sfp", "inputPower"), -board().linerx_to_oscrx_db()),
          .is_dark = dark,
          .is_osc_dark = is_osc_dark(devices.told("sfp", "inputPower")),
          .far_gain = {},
          .far_calibration = {}};
}

nx::json_document document_of(const ::insight::ladder_book& book) {
  return nx::parse_json(::insight::ladder_json(book.open(), book.way()));
}

}  // namespace

void ladders::setup_api(nx_db& db, const std::string& product) {
  const auto* model = models::find_told(product);
  switch_inside_ = model != nullptr && model->plant.drop_switch_mid_stage;
  has_voa_ = model == nullptr || model->has_line_voa;
  using ::insight::told_value;
  const auto self = shared_from_this();
  nodes_.push_back(told_value<&ladders::get_rx>(db, "insight/ladder/rx", self));
  nodes_.push_back(told_value<&ladders::get_tx>(db, "insight/ladder/tx", self));
}

bool ladders::is_look_due() const {
  return helpers::steady_now() - last_look_ >= between_looks;
}

void ladders::look(const device_board& devices, const std::shared_ptr<remote::api>& peer,
                   channels out, channels in) {
  last_look_ = helpers::steady_now();
  const far_end far(peer, last_look_);
  out_.look(view_out(devices, far, std::move(out), has_voa_), last_look_);
  in_.look(view_in(devices, far, std::move(in), switch_inside_), last_look_);
  refresh();
}

void ladders::note_idle() {
  last_look_ = helpers::steady_now();
  out_.look({}, last_look_);
  in_.look({}, last_look_);
  refresh();
}

void ladders::refresh() {
  for (const auto& node : nodes_)
    node->refresh();
}

nx::json_document ladders::get_rx() {
  return document_of(out_);
}

nx::json_document ladders::get_tx() {
  return document_of(in_);
}

}  // namespace manager
