#include "base/manager/remote/api.h"

#include <utility>

#include "base/insight/event_log.h"
#include "base/manager/remote/client.h"
#include "base/manager/remote/peer_products.h"
#include "base/manager/remote/session.h"
#include "device/interfaces/osc.h"
#include "device/subscriber.h"
#include "helpers/guard.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"
#include "platform/nexel_client/nexel_client.h"
#include "platform/wire/nx_error.h"

namespace manager::remote {

namespace {

using namespace std::chrono_literals;

constexpr const char* not_identified = "n/a";
/// A peer that has just started has no product on its tree yet.
constexpr unsigned quick_retries = 5;
constexpr std::chrono::nanoseconds quick_retry = 1s;
constexpr std::chrono::nanoseconds unidentified_retry = 30s;
constexpr std::chrono::nanoseconds tending_interval = 1s;

}  // namespace

api::api()
    : client_(std::make_shared<manager::remote::client>()),
      view_{create_adapter(not_identified), std::make_shared<::device::subscriber>("peer"), 0},
      last_subscription_(helpers::system_now()) {}

api::~api() = default;

bool api::is_known() const {
  return known_;
}

bool api::is_up() const {
  const auto connection = identified_on_.load();
  return connection != client::no_connection && connection == client_->up();
}

bool api::is_embedded_ila() const {
  return embedded_ila_;
}

bool api::has_osnr() const {
  return osnr_;
}

api::view api::present_view() const {
  const std::lock_guard lock(mutex_);
  return view_;
}

device::known_number api::known(device::operation what, const std::string& part) const {
  const auto from = present_view();
  if (from.connection == client::no_connection || from.connection != client_->up()) {
    return std::nullopt;
  }
  return from.adapter->find_known(from.values, what, part);
}

bool api::reports(device::operation what) const {
  return present_view().adapter->reports(what);
}

std::optional<device::failing_value> api::failing(device::operation what) const {
  const auto from = present_view();
  if (from.connection == client::no_connection || from.connection != client_->up()) {
    return std::nullopt;
  }
  return from.adapter->find_failing(from.values, what);
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
  tell_lost();
}

void api::keep_connection(nx_db& db, const std::shared_ptr<::device::interfaces::osc>& osc,
                          const channel_source& channels) {
  if (!osc->is_operational()) return;
  const auto connection = client_->up();
  if (session_ && session_->connection != connection) session_.reset();
  if (connection == client::no_connection) {
    LUMORA_LOG(2, "Connecting to remote nexel.");
    client_->connect(db, osc);
    subscribed_on_ = client::no_connection;
    return;
  }
  if (!session_ && is_setup_due(connection)) begin_setup(connection);
  if (session_) return advance_setup(channels);
  tend_subscriptions();
}

bool api::is_setup_due(std::uint64_t connection) const {
  if (subscribed_on_ != connection) return true;
  if (product_ != not_identified) return false;
  const auto waited = helpers::system_now() - last_subscription_;
  return vain_identifications_ <= quick_retries ? waited >= quick_retry
                                                : waited > unidentified_retry;
}

void api::begin_setup(std::uint64_t connection) {
  const auto peer = client_->open_client(connection);
  if (!peer) return;  // lost at this moment
  if (subscribed_on_ != connection) vain_identifications_ = 0;
  last_subscription_ = helpers::system_now();
  present_view().values->reset();  // its values stay until the new ones are taken over
  session_ = std::make_unique<session>(connection, peer);
}

void api::advance_setup(const channel_source& channels) {
  if (session_->is_identifying()) {
    if (!session_->has_identity()) return;
    identify_remote();
    if (session_->is_lost) return session_.reset();  // the last values stay
    setup_remote_subscriptions(channels);
  }
  if (session_->is_answered()) take_over();
}

void api::identify_remote() {
  helpers::guarded([this] {
    try {
      session_->read_identity();
    } catch (const nx_client_exception& error) {
      session_->is_lost = error.code == nx_error::not_connected;
      throw;
    }
  });
  session_->adapter = create_adapter(session_->product);
}

void api::setup_remote_subscriptions(const channel_source& channels) {
  LUMORA_LOG(2, "Starting remote subscription.");
  session_->subscribe(session_->adapter->line_paths());
  // Now, so that a channel added while the peer was being asked is included.
  for (const unsigned id : channels())
    session_->subscribe(session_->adapter->channel_paths(id));
}

void api::take_over() {
  const auto done = std::exchange(session_, nullptr);
  subscribed_on_ = done->connection;
  product_ = done->product;
  sw_version_ = done->sw_version;
  hw_revision_ = done->hw_revision;
  const bool identified = product_ != not_identified;
  vain_identifications_ = identified ? 0 : vain_identifications_ + 1;
  {
    const std::lock_guard lock(mutex_);
    view_ = {done->adapter, done->values, identified ? done->connection : client::no_connection};
  }
  identified_on_ = identified ? done->connection : client::no_connection;
  update_flags();
  publish_identity();
  if (identified) tell_identified();
  done->log_outcome();
  paths_ = std::move(done->paths);
  probe_.begin(helpers::steady_now());
  last_tending_ = helpers::system_now();
}

void api::update_flags() {
  const auto adapter = present_view().adapter;
  known_ = is_listed(product_);
  embedded_ila_ = adapter->is_embedded_ila();
  osnr_ = adapter->has_osnr();
}

void api::tell_identified() {
  is_told_lost_ = false;
  last_identified_ = product_;
  ::insight::event_log::instance().tell(
      ::insight::event_kind::peer_identified, "peer",
      {{"product", product_}, {"version", sw_version_}, {"known", known_ ? "yes" : "no"}});
}

// Once for each peer that had been identified, whatever the reason for losing it.
void api::tell_lost() {
  if (is_up() || is_told_lost_) return;
  is_told_lost_ = true;
  ::insight::event_log::instance().tell(::insight::event_kind::peer_lost, "peer",
                                        {{"product", last_identified_}});
}

// The client library retries what the peer refuses; what the peer has removed from its tree and may
// bring back is retried only here.
void api::tend_subscriptions() {
  if (helpers::system_now() - last_tending_ < tending_interval) return;
  last_tending_ = helpers::system_now();
  if (const auto peer = client_->open_client(subscribed_on_)) {
    probe_.tend(*peer, helpers::steady_now());
    present_view().values->resubscribe_ended(peer, paths_);
  }
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
  session_.reset();
  probe_.end();
  present_view().values->reset();
  subscribed_on_ = client::no_connection;
  identified_on_ = client::no_connection;
  product_ = sw_version_ = hw_revision_ = not_identified;
  known_ = false;
}

}  // namespace manager::remote
