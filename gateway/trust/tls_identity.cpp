#include "gateway/trust/tls_identity.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "platform/note_log/note_log.h"
#include "platform/value_tree/event_frame.h"

namespace gateway {

namespace {

/// Time for a person to renew it before anybody is locked out. A certificate that does not hold for
/// long is renewed by a program, and only one that is overdue needs words.
std::chrono::system_clock::duration early(const validity& valid) {
  constexpr std::chrono::days at_most{14};
  return std::min<std::chrono::system_clock::duration>(at_most, (valid.ends - valid.begins) / 4);
}

}  // namespace

tls_identity::tls_identity(boost::asio::io_context& io, std::string certificate, std::string key,
                           const settings& bounds)
    : certificate_(std::move(certificate)),
      key_(std::move(key)),
      settings_(bounds),
      context_(make_tls_context(certificate_, key_, settings_.now())),
      valid_(validity_of(*context_)),
      timer_(io) {}

void tls_identity::renew() {
  context_ = make_tls_context(certificate_, key_, settings_.now());
  valid_ = validity_of(*context_);
  told_ = stage::valid;
  note_log::write(
      note_log::info, "gateway",
      fmt::format("Took {} anew, valid until {}", certificate_, nx::event_time(valid_.ends)));
  tell();
}

void tls_identity::stop() {
  stopped_ = true;
  timer_.cancel();
}

// The timer may have been on its way when it was stopped.
void tls_identity::watch() {
  if (stopped_) return;
  tell();
  timer_.expires_after(settings_.certificate_check);
  timer_.async_wait([this](const boost::system::error_code& error) {
    if (!error) watch();
  });
}

void tls_identity::tell() {
  const auto now = settings_.now();
  auto present = stage::valid;
  if (now > valid_.ends - early(valid_)) present = stage::ends_soon;
  if (now > valid_.ends) present = stage::expired;
  if (present <= told_) return;
  told_ = present;
  const auto text =
      fmt::format("The certificate {} {} at {}: renew it, then reload the service", certificate_,
                  present == stage::expired ? "expired" : "expires", nx::event_time(valid_.ends));
  note_log::write(present == stage::expired ? note_log::error : note_log::warning, "gateway", text);
}

}  // namespace gateway
