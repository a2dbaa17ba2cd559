// The gateway's certificate over its life: refused, served, expired, renewed.
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <atomic>
#include <boost/asio/read.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/write.hpp>
#include <future>

#include "tests/support/log_capture.h"
#include "tests/unit/gateway/gateway_fixture.h"

namespace {

using namespace std::chrono_literals;
using std::chrono::system_clock;
using testing::HasSubstr;
namespace ssl = boost::asio::ssl;

using key_pointer = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

key_pointer key_of(const std::string& kind) {
  return {kind == "EC" ? EVP_EC_gen("P-256") : EVP_RSA_gen(std::stoul(kind)), &EVP_PKEY_free};
}

class certificates : public gateway_test {
 protected:
  /// NAME.pem and NAME.key; the certificate holds from so many seconds from now to so many.
  void write(const std::string& name, std::chrono::seconds from, std::chrono::seconds to,
             const std::string& kind = "EC", const char* password = nullptr) const {
    const auto pair = key_of(kind);
    const std::unique_ptr<X509, decltype(&X509_free)> made(X509_new(), &X509_free);
    ASN1_INTEGER_set(X509_get_serialNumber(made.get()), to.count());
    X509_gmtime_adj(X509_getm_notBefore(made.get()), from.count());
    X509_gmtime_adj(X509_getm_notAfter(made.get()), to.count());
    X509_set_pubkey(made.get(), pair.get());
    X509_sign(made.get(), pair.get(), EVP_sha256());
    std::unique_ptr<FILE, decltype(&fclose)> out(fopen(folder.file(name + ".pem").c_str(), "w"),
                                                 &fclose);
    PEM_write_X509(out.get(), made.get());
    out.reset(fopen(folder.file(name + ".key").c_str(), "w"));
    PEM_write_PKCS8PrivateKey(out.get(), pair.get(), password ? EVP_aes_128_cbc() : nullptr,
                              password, password ? static_cast<int>(strlen(password)) : 0, nullptr,
                              nullptr);
  }

  void take(const std::string& certificate, const std::string& key) {
    given.certificate = folder.file(certificate);
    given.key = folder.file(key);
  }
  void renew() {
    std::promise<void> done;
    boost::asio::post(*io, [&] {
      service->renew();
      done.set_value();
    });
    done.get_future().get();
  }

  struct seen {
    long serial;
    boost::system::error_code end;  ///< eof if it was announced
    std::string text;
  };
  seen look() const {
    boost::asio::io_context own;
    ssl::context trusting(ssl::context::tls_client);
    ssl::stream<boost::asio::ip::tcp::socket> stream(own, trusting);
    stream.next_layer().connect(
        {boost::asio::ip::address_v4::loopback(), static_cast<std::uint16_t>(service->port())});
    stream.handshake(ssl::stream_base::client);
    const std::unique_ptr<X509, decltype(&X509_free)> shown(
        SSL_get1_peer_certificate(stream.native_handle()), &X509_free);
    boost::asio::write(stream, boost::asio::buffer(get("/metrics", "Connection: close\r\n")));
    seen found{ASN1_INTEGER_get(X509_get0_serialNumber(shown.get())), {}, {}};
    boost::asio::read(stream, boost::asio::dynamic_buffer(found.text), found.end);
    return found;
  }
};

TEST_F(certificates, an_unusable_one_is_refused_with_its_fault_and_what_helps) {
  write("good", -1h, 1h);
  write("other", -1h, 1h);
  write("rsa", -1h, 1h, "2048");
  write("short", -1h, 1h, "1024");
  write("locked", -1h, 1h, "EC", "password");
  write("old", -2h, -1h);
  write("early", 1h, 2h);
  folder.write("junk", "junk");
  folder.write("damaged", "-----BEGIN CERTIFICATE-----\nMIIB\n-----END CERTIFICATE-----\n");
  struct row {
    const char* certificate;
    const char* key;
    const char* text;
  };
  for (const auto& [certificate, key, text] : std::vector<row>{
           {"none", "good.key", "none: No such file"},
           {"", "good.key", "it is not a file"},
           {"junk", "good.key", "takes PEM"},
           {"good.key", "good.key", "this is a key"},
           {"damaged", "good.key", "it is damaged"},
           {"short.pem", "short.key", "RSA needs 2048 bits"},
           {"old.pem", "old.key", "has expired, at 20"},
           {"early.pem", "early.key", "not valid before 20"},
           {"good.pem", "none", "none: No such file"},
           {"good.pem", "good.pem", "No private key in"},
           {"good.pem", "other.key", "is not that of the certificate"},
           {"good.pem", "rsa.key", "is not that of the certificate"},
           {"locked.pem", "locked.key", "openssl pkey -in"},
       }) {
    SCOPED_TRACE(text);
    take(certificate, key);
    EXPECT_THAT(test::failure_of([this] { start(); }), HasSubstr(text));
    stop();
  }
}

TEST_F(certificates, one_that_expires_is_told_once_and_renewed_while_it_serves) {
  const auto begin = system_clock::now();
  std::atomic<std::chrono::hours> ahead{0h};
  bounds.now = [&] { return begin + ahead.load(); };
  bounds.certificate_check = 5ms;
  write("live", -1h, 400h);
  take("live.pem", "live.key");
  const test::log_capture log;
  start();
  const auto first = look();
  EXPECT_EQ(first.serial, 400 * 3600);
  EXPECT_EQ(first.end, boost::asio::error::eof) << "an answer that is whole, and known to be";
  EXPECT_THAT(first.text, HasSubstr("lumora_certificate_expiry_timestamp_seconds{"));
  EXPECT_EQ(log.count("The certificate"), 0);
  ahead = 350h;
  EXPECT_TRUE(log.comes("live.pem expires at"));
  ahead = 401h;
  EXPECT_TRUE(log.comes("live.pem expired at"));
  EXPECT_EQ(look().serial, 400 * 3600) << "clients judge for themselves";
  renew();
  EXPECT_TRUE(log.comes("has expired, at")) << "no better than what it has";

  write("live", -1h, 2000h);
  renew();
  EXPECT_EQ(look().serial, 2000 * 3600);
  EXPECT_EQ(log.count("The certificate " + given.certificate), 2) << "each is told once";
}

TEST_F(certificates, who_speaks_clear_text_to_its_port_is_told_to_use_https) {
  write("live", -1h, 1h);
  take("live.pem", "live.key");
  start();
  const std::string request = " / HTTP/1.1\r\nHost: localhost\r\nAuthorization: Bearer x\r\n\r\n";
  for (const char* asked : {"GET", "HEAD", "PUT", "POST", "DELETE", "OPTIONS", "PATCH", "CONNECT",
                            "TRACE", "PROPFIND", "get"}) {
    const auto told = ask(asked + request);
    EXPECT_THAT(told, HasSubstr("HTTP/1.1 400 ")) << asked;
    EXPECT_THAT(told, HasSubstr("This port speaks TLS: ask for https://"));
  }
  EXPECT_THAT(ask(get("/", "X: " + std::string(10'000'000, 'x') + "\r\n")), HasSubstr("https://"))
      << "sent while it is told so";
  EXPECT_EQ(ask(std::string(1000, '\x16')).find("HTTP"), std::string::npos) << "bad TLS";
  const std::string no_hello("\x16\x03\x01\x00\x05hello", 10);
  constexpr char alert = 21;
  EXPECT_EQ(ask(no_hello + std::string(10'000'000, 'x')).substr(0, 1), std::string(1, alert))
      << "a broken handshake is told as TLS tells it";
  EXPECT_THAT(look().text, HasSubstr("200 OK"));
}

}  // namespace
