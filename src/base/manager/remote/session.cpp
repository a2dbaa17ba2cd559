#include "base/manager/remote/session.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "device/subscriber.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"
#include "platform/nexel_client/nexel_client.h"

namespace manager::remote {

namespace {

/// The client library gives up a request after 2 s. Later reports of a peer still arrive.
constexpr std::chrono::seconds first_value_limit{3};
constexpr std::array identity_paths{"data/product", "data/swVersion", "data/hwRevision"};

}  // namespace

api::session::session(std::uint64_t number, std::shared_ptr<nexel_client_api> peer)
    : connection(number),
      values(std::make_shared<::device::subscriber>("peer")),
      peer_(std::move(peer)) {
  const auto request = std::make_shared<nexel_read_request>();
  for (std::size_t i = 0; i < identity_.size(); ++i) {
    auto object = std::make_shared<nexel_read_object<std::string>>(identity_paths[i]);
    identity_[i] = object->get_future();
    request->add_object(std::move(object));
  }
  peer_->server_call(request);
}

bool api::session::has_identity() const {
  for (const auto& part : identity_) {
    if (part.wait_for(std::chrono::seconds(0)) != std::future_status::ready) return false;
  }
  return true;
}

void api::session::read_identity() {
  product = identity_[0].get();
  sw_version = identity_[1].get();
  hw_revision = identity_[2].get();
}

void api::session::subscribe(device::path_group group) {
  if (*group.starting) LUMORA_LOG(2, fmt::runtime(group.starting));
  values->request_all(peer_, group.paths);
  paths.insert(paths.end(), std::make_move_iterator(group.paths.begin()),
               std::make_move_iterator(group.paths.end()));
  if (*group.complete) complete_.push_back(group.complete);
  limit_ = helpers::steady_now() + first_value_limit;
}

bool api::session::is_answered() const {
  while (answered_ < paths.size() && values->is_answered(paths[answered_]))
    ++answered_;
  return answered_ == paths.size() || helpers::steady_now() >= limit_;
}

void api::session::log_outcome() const {
  log_missing();
  for (const char* text : complete_)
    LUMORA_LOG(2, fmt::runtime(text));
}

void api::session::log_missing() const {
  constexpr std::size_t most_named = 3;
  std::size_t missing = 0;
  std::vector<std::string> named;
  for (const auto& wanted : paths) {
    if (values->has_value(wanted)) continue;
    if (++missing <= most_named) named.push_back(wanted.path);
  }
  if (missing == 0) return;
  LUMORA_LOG(2, "Remote peer has no value for {} of {} paths yet, among them: {}", missing,
             paths.size(), fmt::join(named, ", "));
}

}  // namespace manager::remote
