#include "gateway/gateway.h"

#include <fmt/format.h>

#include <stdexcept>

#include "gateway/api/state_module.h"
#include "platform/note_log/note_log.h"

namespace gateway {

namespace {

constexpr unsigned ok = 200;

std::string socket_of(const std::string& option, const std::string& tree) {
  constexpr std::string_view scheme = "unix:";
  if (!tree.starts_with(scheme) || tree.size() == scheme.size()) {
    throw std::runtime_error(option + " needs unix:PATH, not " + tree);
  }
  return tree.substr(scheme.size());
}

listen_address listen_at(const std::string& text) {
  const auto parsed = parse_listen_address(text);
  if (!parsed) throw std::runtime_error("--listen takes ADDRESS:PORT, not " + text);
  return *parsed;
}

boost::asio::ip::address address_of(const listen_address& at) {
  boost::system::error_code error;
  auto address = boost::asio::ip::make_address(at.host, error);
  if (error) throw std::runtime_error("--listen takes an IP address, not " + at.host);
  return address;
}

std::unique_ptr<tls_identity> tls_of(boost::asio::io_context& io, const options& given,
                                     const settings& bounds) {
  if (given.certificate.empty() != given.key.empty()) {
    throw std::runtime_error("--certificate and --key come together");
  }
  if (given.certificate.empty()) return nullptr;
  return std::make_unique<tls_identity>(io, given.certificate, given.key, bounds);
}

/// A configuration that would open the node to the network without protection is refused.
trust_rules rules_of(const options& given, const listen_address& at) {
  trust_rules rules{.loopback = address_of(at).is_loopback(),
                    .tls = !given.certificate.empty(),
                    .allow_writes = given.allow_writes,
                    .lab = !given.lab.empty(),
                    .hosts = given.hosts,
                    .token = {}};
  if (!given.token_file.empty()) rules.token = access_token::from_file(given.token_file);
  if (rules.allow_writes && !rules.token) {
    throw std::runtime_error("--allow-writes needs --token-file");
  }
  if (rules.loopback) return rules;
  if (rules.lab) throw std::runtime_error("--lab serves on loopback only");
  if (!rules.token) {
    throw std::runtime_error(
        "Beyond loopback the gateway serves with a token only; see --token-file");
  }
  if (!rules.tls) {
    throw std::runtime_error(
        "Beyond loopback the gateway serves over TLS only, since a token in clear text protects "
        "nothing; see --certificate");
  }
  return rules;
}

}  // namespace

gateway_service::gateway_service(boost::asio::io_context& io, const options& given, settings bounds)
    : bounds_(std::move(bounds)),
      at_(listen_at(given.listen)),
      token_file_(given.token_file),
      tls_(tls_of(io, given, bounds_)),
      trust_(rules_of(given, at_)),
      link_(tree_link::create(io, socket_of("--tree", given.tree), bounds_)),
      mirror_(std::make_shared<tree_mirror>(io, link_, bounds_)),
      recorder_(mirror_, bounds_),
      tree_api_(io, mirror_, recorder_, bounds_),
      write_api_(link_),
      lab_(given.lab.empty() ? nullptr
                             : std::make_unique<lab_api>(
                                   tree_link::create(io, socket_of("--lab", given.lab), bounds_),
                                   given.lab_node)),
      health_(link_),
      scrape_(std::make_shared<scrape>(link_, tls_.get())),
      files_(given.page),
      service_{bounds_, router_, {}, 0, 0, 0} {
  route();
  if (files_.get("/").status != ok) {
    note_log::write(note_log::warning, "gateway", "No page in " + given.page + "; see --page");
  }
  try {
    listener_ = std::make_shared<listener>(io, listener::endpoint(address_of(at_), at_.port),
                                           tls_.get(), service_);
  } catch (const boost::system::system_error& error) {
    throw std::runtime_error(
        fmt::format("Cannot listen at {}: {}", given.listen, error.code().message()));
  }
}

gateway_service::~gateway_service() {
  stop();
}

void gateway_service::route() {
  router_.add_gate([this](const auto& asked) { return trust_.check(asked); });
  router_.add(method::get, "/api/v1/values",
              [this](const auto& asked, const auto& done) { tree_api_.values(asked, done); });
  router_.add(method::get, "/api/v1/history",
              [this](const auto& asked, const auto& done) { tree_api_.history(asked, done); });
  router_.add(method::get, "/api/v1/events",
              [this](const auto& asked, const auto& done) { tree_api_.events(asked, done); });
  router_.add(method::put, "/api/v1/values",
              [this](const auto& asked, const auto& done) { write_api_.set(asked, done); });
  router_.add(method::post, "/api/v1/run",
              [this](const auto& asked, const auto& done) { write_api_.run(asked, done); });
  if (lab_) lab_->route(router_);
  router_.add(method::get, "/healthz",
              [this](const auto&, const auto& done) { done(health_.alive()); });
  router_.add(method::get, "/readyz",
              [this](const auto&, const auto& done) { health_.ready(done); });
  router_.add(method::get, "/metrics",
              [this](const auto& asked, const auto& done) { scrape_->metrics(asked, done); });
  router_.add(method::get, state_module_path, [](const auto&, const auto& done) {
    answer made;
    made.type = "text/javascript; charset=utf-8";
    made.body = state_module();
    made.headers.emplace_back("Cache-Control", "no-cache");
    done(std::move(made));
  });
  router_.set_fallback(
      [this](const auto& asked, const auto& done) { done(files_.get(asked.path)); });
}

void gateway_service::start() {
  if (tls_) tls_->start();
  recorder_.start();
  link_->start(mirror_);
  if (lab_) lab_->start();
  listener_->start();
}

void gateway_service::renew() try {
  std::optional<access_token> token;
  if (!token_file_.empty()) token = access_token::from_file(token_file_);
  if (tls_) tls_->renew();
  if (token) trust_.take(*token);
} catch (const std::runtime_error& failure) {
  note_log::write(note_log::error, "gateway",
                  std::string(failure.what()) + ". Goes on with what it has");
}

void gateway_service::stop() {
  listener_->stop();
  if (tls_) tls_->stop();
  const auto open = service_.connections;
  for (auto* each : open)
    each->close();
  recorder_.stop();
  mirror_->stop();
  link_->stop();
  if (lab_) lab_->stop();
}

std::string gateway_service::address() const {
  const auto host = at_.host.find(':') == std::string::npos ? at_.host : '[' + at_.host + ']';
  return fmt::format("{}://{}:{}/", tls_ ? "https" : "http", host, port());
}

}  // namespace gateway
