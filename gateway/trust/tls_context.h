// The gateway's TLS, from a certificate and its key.
#pragma once

#include <boost/asio/ssl/context.hpp>
#include <memory>
#include <string>

namespace gateway {

/// TLS 1.2 and later. Throws std::runtime_error with a text for a person for an unusable file, a
/// key that does not match, and a certificate that has expired or is not valid yet.
std::shared_ptr<boost::asio::ssl::context> make_tls_context(const std::string& certificate,
                                                            const std::string& key);

}  // namespace gateway
