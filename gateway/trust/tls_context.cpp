#include "gateway/trust/tls_context.h"

#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <stdexcept>

namespace gateway {

namespace {

namespace ssl = boost::asio::ssl;

void check_dates(SSL_CTX* context, const std::string& file) {
  const X509* certificate = SSL_CTX_get0_certificate(context);
  if (!certificate) throw std::runtime_error("No certificate in " + file);
  if (X509_cmp_current_time(X509_get0_notAfter(certificate)) < 0) {
    throw std::runtime_error("The certificate in " + file + " has expired");
  }
  if (X509_cmp_current_time(X509_get0_notBefore(certificate)) > 0) {
    throw std::runtime_error("The certificate in " + file + " is not valid yet");
  }
}

}  // namespace

std::shared_ptr<ssl::context> make_tls_context(const std::string& certificate,
                                               const std::string& key) {
  auto made = std::make_shared<ssl::context>(ssl::context::tls_server);
  made->set_options(ssl::context::default_workarounds | ssl::context::no_tlsv1 |
                    ssl::context::no_tlsv1_1 | SSL_OP_NO_RENEGOTIATION);
  boost::system::error_code error;
  made->use_certificate_chain_file(certificate, error);
  if (error) {
    throw std::runtime_error("Cannot use the certificate " + certificate + ": " + error.message());
  }
  made->use_private_key_file(key, ssl::context::pem, error);
  if (error) throw std::runtime_error("Cannot use the key " + key + ": " + error.message());
  if (SSL_CTX_check_private_key(made->native_handle()) != 1) {
    throw std::runtime_error("The key " + key + " is not that of " + certificate);
  }
  check_dates(made->native_handle(), certificate);
  return made;
}

}  // namespace gateway
