// The whole gateway: tree on one side, HTTP on the other, on one io_context run by one thread.
// Tests create one on a port of the loopback. Its constructor throws std::runtime_error with a text
// for a person if it cannot serve with these options, or refuses to.
#pragma once

#include <boost/asio/io_context.hpp>
#include <memory>

#include "gateway/api/health.h"
#include "gateway/api/lab_api.h"
#include "gateway/api/tree_api.h"
#include "gateway/api/write_api.h"
#include "gateway/http/static_files.h"
#include "gateway/metrics/scrape.h"
#include "gateway/options.h"
#include "gateway/server/listener.h"
#include "gateway/settings.h"
#include "gateway/tree/tree_mirror.h"
#include "gateway/trust/tls_identity.h"
#include "gateway/trust/trust.h"

namespace gateway {

class gateway_service {
 public:
  gateway_service(boost::asio::io_context& io, const options& given, settings bounds = {});
  ~gateway_service();

  void start();
  /// Takes certificate, key and token anew from their files. If one of them cannot be used, it
  /// keeps what it has, and the log says why.
  void renew();
  /// Closes everything; the io_context then runs out of work.
  void stop();

  /// "http://127.0.0.1:9720/"
  std::string address() const;
  unsigned port() const { return listener_->port(); }

 private:
  void route();

  const settings bounds_;
  const listen_address at_;
  const std::string token_file_;
  const std::unique_ptr<tls_identity> tls_;  ///< null for clear text
  trust trust_;
  const std::shared_ptr<tree_link> link_;
  const std::shared_ptr<tree_mirror> mirror_;
  recorder recorder_;
  tree_api tree_api_;
  write_api write_api_;
  const std::unique_ptr<lab_api> lab_;  ///< null on a real node
  health health_;
  const std::shared_ptr<scrape> scrape_;
  static_files files_;
  router router_;
  service service_;
  std::shared_ptr<listener> listener_;
};

}  // namespace gateway
