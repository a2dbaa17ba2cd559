// The loops' view of the peer: keeps the connection alive, finds out which product is at the far
// end, and offers the peer's values. Read-only; nothing at the peer is ever written from here.
//
// A connection is set up alongside the loops: identification and subscriptions are each sent as a
// whole, `run` collects the answers and takes the new peer over between two cycles. Until then the
// last peer's values stay visible, but no write may be based on them: `known` tells.
//
// Threads: `run` on the manager thread only, everything else from the loops and from polled values;
// none of it waits for the network. That matters when two nodes meet: each subscribes to values
// that the other calculates from its peer's, and would wait for the other's subscription to give
// up. Lock order: channel plan, this lock, that of remote::client. Failures of getters: nx_error
// -22 if the peer's product does not have the value or has not delivered it. Powers in dBm, losses
// in dB, lengths in km, dispersion in ps/nm.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "api/status_value.h"
#include "base/channel/plan.h"
#include "base/manager/remote/device/interface.h"
#include "base/manager/remote/probe.h"
#include "device/subscriber.h"
#include "platform/threads/ranked_mutex.h"

class nx_db;

namespace device::interfaces {
class osc;
}

namespace manager::remote {

class client;

class api {
 public:
  api();
  ~api();
  api(const api&) = delete;
  api& operator=(const api&) = delete;

  /// One cycle of connection handling. The channels of `plan`, which is the tx plan, are subscribed
  /// to once the peer has been identified. Failures are logged, and the next call starts over.
  template <class T>
  void run(nx_db& db, std::shared_ptr<::device::interfaces::osc> osc,
           std::shared_ptr<::channel::plan<T>> plan) {
    run_cycle(db, osc, [&plan] { return identifiers(*plan); });
  }

  // These read flags without the lock.
  bool is_known() const;  ///< the last identified peer is a listed product
  /// The connection is up now and its peer has been identified, whatever its product.
  bool is_up() const;
  bool is_embedded_ila() const;
  bool has_osnr() const;

  /// The number behind the getter of that name, for decisions about writes. Empty unless it arrived
  /// over the connection that is up now, and the newest report was a measurement: not a constant,
  /// an error, or a value outside its kind's range. Its counts restart with each connection.
  device::known_number known(device::operation what, const std::string& part = "") const;
  device::known_number known(device::operation what, unsigned channel) const {
    return known(what, std::to_string(channel));
  }

  /// The family of the last identified peer reports the value behind the getter of that name.
  bool reports(device::operation what) const;

  /// A value of the line that the peer reports as an error over the connection that is up now.
  std::optional<device::failing_value> failing(device::operation what) const;

  /// When the peer on the present connection was last seen to answer; empty without one. On the
  /// manager thread.
  std::optional<std::chrono::steady_clock::time_point> last_answer() const {
    return is_up() ? probe_.last_answer() : std::nullopt;
  }

  /// The product of the peer identified last; empty before the first. On the manager thread.
  const std::string& last_product() const { return last_identified_; }

  /// The value behind the getter of that name, or why there is none.
  template <class Result>
  Result get(device::operation what, const std::string& part = "") const {
    const auto from = present_view();
    return from.adapter->get<Result>(from.values, what, part);
  }

  // The getters: `get_fiber_length()`, `get_channel_osnr(id)` and so on, one for each row.
#define PEER_GETTER_line(result, getter)           \
  result getter() const {                          \
    return get<result>(device::operation::getter); \
  }
#define PEER_GETTER_compensator(result, getter) PEER_GETTER_line(result, getter)
#define PEER_GETTER_direction(result, getter)                 \
  result getter(const std::string& direction) const {         \
    return get<result>(device::operation::getter, direction); \
  }
#define PEER_GETTER_channel(result, getter)                            \
  result getter(unsigned id) const {                                   \
    return get<result>(device::operation::getter, std::to_string(id)); \
  }
#define PEER_VALUE(result, getter, scope, ...) PEER_GETTER_##scope(result, getter)
#include "base/manager/remote/device/peer_values.def"
#undef PEER_VALUE
#undef PEER_GETTER_line
#undef PEER_GETTER_compensator
#undef PEER_GETTER_direction
#undef PEER_GETTER_channel

 private:
  using channel_ids = std::vector<unsigned>;
  using channel_source = std::function<channel_ids()>;
  using text_value = std::shared_ptr<nx::api::status_value<std::string>>;

  // Called without this object's own lock, since the plan comes first in the order, and only when
  // they are needed: the loops before client tx need not wait for a command that holds its plan.
  template <class T>
  static channel_ids identifiers(::channel::plan<T>& plan) {
    const std::lock_guard lock(plan.get_mutex());
    channel_ids ids;
    for (const auto& [frequency, control] : *plan.get_channels()) {
      ids.push_back(control->get_channel()->get_id());
    }
    return ids;
  }

  /// What the getters read: the peer identified last.
  struct view {
    std::shared_ptr<device::interface> adapter;
    device::subscriber_ptr values;
    std::uint64_t connection = 0;  ///< on which it was identified; 0 if it was not
  };
  struct session;

  void run_cycle(nx_db& db, const std::shared_ptr<::device::interfaces::osc>& osc,
                 const channel_source& channels);
  void keep_connection(nx_db& db, const std::shared_ptr<::device::interfaces::osc>& osc,
                       const channel_source& channels);
  void create_values(nx_db& db);
  bool is_setup_due(std::uint64_t connection) const;
  void begin_setup(std::uint64_t connection);
  void advance_setup(const channel_source& channels);
  void identify_remote();
  void setup_remote_subscriptions(const channel_source& channels);
  void take_over();
  void tend_subscriptions();
  void publish_identity();
  void tell_identified();
  void tell_lost();
  void reset();
  void update_flags();

  view present_view() const;

  std::shared_ptr<manager::remote::client> client_;
  mutable nx::ranked_mutex mutex_{nx::lock_rank::peer};  // guards only the view
  view view_;
  std::atomic<std::uint64_t> identified_on_{0};
  std::atomic<bool> known_{false};
  std::atomic<bool> embedded_ila_{false};
  std::atomic<bool> osnr_{false};

  // Used only by the manager thread.
  text_value remote_product_value_;
  text_value remote_sw_version_value_;
  text_value remote_hw_revision_value_;
  std::unique_ptr<session> session_;  // the set-up in progress
  std::uint64_t subscribed_on_ = 0;   // the connection that is set up; 0 if there is none
  std::vector<::device::wanted_path> paths_;
  probe probe_;
  unsigned vain_identifications_ = 0;  // consecutive, on the present connection
  bool is_told_lost_ = true;           // no peer has been identified since the last one was lost
  std::string last_identified_;
  std::string product_ = "n/a";
  std::string sw_version_ = "n/a";
  std::string hw_revision_ = "n/a";
  std::chrono::system_clock::time_point last_subscription_;
  std::chrono::system_clock::time_point last_tending_;
};

}  // namespace manager::remote
