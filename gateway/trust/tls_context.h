// The gateway's TLS, from a certificate and its key.
#pragma once

#include <boost/asio/ssl/context.hpp>
#include <chrono>
#include <memory>
#include <string>

namespace gateway {

/// TLS 1.2 and later. Throws std::runtime_error with a text for a person, which names the file,
/// what is wrong with it and what helps, for an unusable file, a key that does not match, and a
/// certificate that has expired at `now` or is not valid yet.
std::shared_ptr<boost::asio::ssl::context> make_tls_context(
    const std::string& certificate, const std::string& key,
    std::chrono::system_clock::time_point now);

/// Of a certificate.
struct validity {
  std::chrono::system_clock::time_point begins, ends;
};
validity validity_of(boost::asio::ssl::context& context);

}  // namespace gateway
