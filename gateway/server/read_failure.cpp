#include "gateway/server/read_failure.h"

#include <openssl/err.h>
#include <openssl/ssl.h>

#include <boost/asio/ssl/error.hpp>
#include <boost/beast/http/error.hpp>
#include <chrono>
#include <sstream>
#include <string>

namespace gateway {

namespace {

namespace http = boost::beast::http;

bool is_fault_of_request(const boost::system::error_code& error) {
  return error.category() == make_error_code(http::error::bad_version).category() &&
         error != http::error::end_of_stream && error != http::error::partial_message;
}

}  // namespace

answer too_late(const settings& bounds) {
  const auto seconds = std::chrono::duration<double>(bounds.header_time).count();
  std::ostringstream text;
  text << "The request took longer than " << seconds << " s";
  return refusal(408, text.str());
}

std::optional<answer> answer_to_unreadable(const boost::system::error_code& error,
                                           const settings& bounds) {
  if (!is_fault_of_request(error)) return std::nullopt;
  if (error == http::error::header_limit || error == http::error::buffer_overflow) {
    return refusal(431,
                   "The header is longer than " + std::to_string(bounds.header_bytes) + " bytes");
  }
  if (error == http::error::body_limit) {
    return refusal(413, "The body is longer than " + std::to_string(bounds.body_bytes) + " bytes");
  }
  return refusal(400, "This is not an HTTP request: " + error.message());
}

bool was_clear_text(const boost::system::error_code& error) {
  return error.category() == boost::asio::error::get_ssl_category() &&
         ERR_GET_REASON(static_cast<unsigned>(error.value())) == SSL_R_HTTP_REQUEST;
}

}  // namespace gateway
