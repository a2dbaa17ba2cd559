// The spans as an in-line amplifier measures them for this node: shown on the tree under the peer's
// names, with the last samples of each, and what the two settings that follow them were made from.
// The peer's tx span is this node's rx span. On the manager thread; only the published values are
// read elsewhere. Throws nothing of its own. Losses in dB.
#pragma once

#include <array>
#include <boost/circular_buffer.hpp>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "api/hysteresis_filtered_value.h"
#include "api/status_value.h"
#include "base/manager/remote/device/interface.h"

namespace manager::loops {

struct line_values;

class measured_spans {
 public:
  using operation = manager::remote::device::operation;

  /// As the peer names them.
  enum span : std::size_t { oms_tx, oms_rx, ots_tx, ots_rx, count };
  static constexpr std::array<operation, count> read_by{
      operation::get_oms_spanloss_tx, operation::get_oms_spanloss_rx,
      operation::get_ots_spanloss_tx, operation::get_ots_spanloss_rx};
  static constexpr unsigned wanted_samples = 5;

  /// A span as a setting sees it: its loss, how steady that is, and whether it has left the value
  /// last acted on.
  struct view {
    float loss;
    float deviation;
    float change;
    bool is_first;

    bool calls_for_setting() const;
  };

  measured_spans();

  /// A sample of each, in the order of `span`; the section for which the peer measures makes it
  /// whole.
  void take(const std::array<float, count>& losses);
  void take_section(const std::string& section);
  /// Of samples since the last reset, at most those that are wanted.
  unsigned samples() const { return samples_; }

  view outgoing() const;
  view incoming() const;

  /// Another connection: no sample of before counts.
  void forget_samples();
  /// Another fibre: nothing of before counts.
  void reset();

  // What was last acted on; empty: a setting is due.
  std::optional<float> used_outgoing;
  std::optional<float> used_incoming;

 private:
  friend struct line_values;  // creates the published values

  view view_of(span which, const std::optional<float>& used) const;

  std::array<std::shared_ptr<nx::api::pushed_value<float>>, count> values_;
  std::shared_ptr<nx::api::status_value<std::string>> section_value_;
  std::array<boost::circular_buffer<float>, count> history_;
  unsigned samples_ = 0;
  bool section_is_oms_ = false;
};

}  // namespace manager::loops
