// The certificate with which the gateway serves, for as long as it runs: taken anew on request, and
// watched, since one that expires locks out everybody who checks it. The gateway goes on serving
// with it: whoever checks it refuses it anyway, and the log says why. On the gateway's thread.
#pragma once

#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <memory>
#include <string>

#include "gateway/settings.h"
#include "gateway/trust/tls_context.h"

namespace gateway {

class tls_identity {
 public:
  /// Throws as make_tls_context does.
  tls_identity(boost::asio::io_context& io, std::string certificate, std::string key,
               const settings& bounds);

  void start() { watch(); }
  void stop();

  /// Reads both files again. Throws as make_tls_context does, and then keeps what it has. Present
  /// connections keep the former certificate.
  void renew();

  /// For the next connection.
  boost::asio::ssl::context& context() const { return *context_; }
  std::chrono::system_clock::time_point expires() const { return valid_.ends; }

 private:
  enum class stage { valid, ends_soon, expired };

  void watch();
  void tell();

  const std::string certificate_;
  const std::string key_;
  const settings& settings_;
  std::shared_ptr<boost::asio::ssl::context> context_;
  validity valid_;
  stage told_ = stage::valid;
  bool stopped_ = false;
  boost::asio::steady_timer timer_;
};

}  // namespace gateway
