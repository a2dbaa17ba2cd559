#include "gateway/trust/tls_context.h"

#include <fmt/format.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "platform/value_tree/event_frame.h"

namespace gateway {

namespace {

namespace ssl = boost::asio::ssl;
using error_code = boost::system::error_code;
using std::chrono::system_clock;

template <class... Args>
[[noreturn]] void refuse(fmt::format_string<Args...> form, Args&&... args) {
  throw std::runtime_error(fmt::format(form, std::forward<Args>(args)...));
}

/// `what` is what the file is for.
std::string contents_of(const std::string& file, const char* what) {
  std::error_code none;
  if (std::filesystem::exists(file, none) && !std::filesystem::is_regular_file(file, none)) {
    refuse("Cannot read the {} {}: it is not a file", what, file);
  }
  errno = 0;
  std::ifstream in(file, std::ios::binary);
  if (!in) refuse("Cannot read the {} {}: {}", what, file, std::strerror(errno));
  return {std::istreambuf_iterator<char>(in), {}};
}

/// What the TLS library says, and what helps.
std::string reason_of(const error_code& error) {
  static constexpr auto known = std::to_array<std::pair<int, const char*>>({
      {SSL_R_EE_KEY_TOO_SMALL, "its key is too short; RSA needs 2048 bits, or take a curve, P-256"},
      {SSL_R_CA_KEY_TOO_SMALL, "the key of its issuer is too short"},
      {SSL_R_CA_MD_TOO_WEAK, "it is signed with a digest that is too weak; take SHA-256"},
  });
  const int reason = ERR_GET_REASON(static_cast<unsigned long>(error.value()));
  for (const auto& [code, text] : known) {
    if (code == reason) return text;
  }
  return "it is damaged (" + error.message() + ")";
}

void use_certificate(ssl::context& context, const std::string& file) {
  const auto text = contents_of(file, "certificate");
  if (text.find("-----BEGIN CERTIFICATE-----") == text.npos) {
    refuse("No certificate in {}: --certificate takes PEM, the gateway's own certificate first{}",
           file, text.find("PRIVATE KEY-----") == text.npos ? "" : "; this is a key");
  }
  error_code error;
  context.use_certificate_chain(boost::asio::buffer(text), error);
  if (error) refuse("Cannot use the certificate {}: {}", file, reason_of(error));
}

void use_key(ssl::context& context, const std::string& file, const std::string& certificate) {
  const auto text = contents_of(file, "key");
  if (text.find("PRIVATE KEY-----") == text.npos) {
    refuse("No private key in {}: --key takes PEM, the key of the certificate", file);
  }
  if (text.find("ENCRYPTED") != text.npos) {
    refuse(
        "The key {} is encrypted, and nobody is here to enter its password; openssl pkey -in {} "
        "writes it without",
        file, file);
  }
  error_code error;
  context.use_private_key(boost::asio::buffer(text), ssl::context::pem, error);
  const int reason = ERR_GET_REASON(static_cast<unsigned long>(error.value()));
  if (error && reason != X509_R_KEY_VALUES_MISMATCH) {
    refuse("Cannot use the key {}: {}", file, reason_of(error));
  }
  // A key of another kind is no error until it is compared.
  if (error || SSL_CTX_check_private_key(context.native_handle()) != 1) {
    ERR_clear_error();
    refuse("The key {} is not that of the certificate {}", file, certificate);
  }
}

system_clock::time_point time_of(const ASN1_TIME* time) {
  std::tm parts{};
  if (!time || ASN1_TIME_to_tm(time, &parts) != 1) refuse("The certificate has no dates");
  return system_clock::from_time_t(::timegm(&parts));
}

void check_dates(ssl::context& context, const std::string& file, system_clock::time_point now) {
  const auto [begins, ends] = validity_of(context);
  if (ends < now) {
    refuse("The certificate in {} has expired, at {}; renew it", file, nx::event_time(ends));
  }
  if (begins > now) {
    refuse("The certificate in {} is not valid before {}; is the node's clock right?", file,
           nx::event_time(begins));
  }
}

}  // namespace

validity validity_of(ssl::context& context) {
  const X509* certificate = SSL_CTX_get0_certificate(context.native_handle());
  return {time_of(X509_get0_notBefore(certificate)), time_of(X509_get0_notAfter(certificate))};
}

std::shared_ptr<ssl::context> make_tls_context(const std::string& certificate,
                                               const std::string& key,
                                               system_clock::time_point now) {
  auto made = std::make_shared<ssl::context>(ssl::context::tls_server);
  made->set_options(ssl::context::default_workarounds | ssl::context::no_tlsv1 |
                    ssl::context::no_tlsv1_1 | SSL_OP_NO_RENEGOTIATION);
  use_certificate(*made, certificate);
  use_key(*made, key, certificate);
  check_dates(*made, certificate, now);
  return made;
}

}  // namespace gateway
