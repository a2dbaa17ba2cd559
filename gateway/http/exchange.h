// A request and its answer, independent of sockets and of the HTTP library: the types for the
// router and everything behind it. Plain values.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "gateway/http/byte_sink.h"

namespace gateway {

enum class method { get, head, put, post, other };

struct request {
  method asked = method::get;
  std::string target;                             ///< as received
  std::string path;                               ///< decoded, without the query
  std::multimap<std::string, std::string> query;  ///< decoded
  std::map<std::string, std::string> headers;     ///< names in lower case
  std::string body;

  /// Empty if the request does not have it.
  std::string_view header(const std::string& name) const {
    const auto found = headers.find(name);
    return found == headers.end() ? std::string_view() : found->second;
  }
  bool reads() const { return asked == method::get || asked == method::head; }
};

struct answer {
  unsigned status = 200;
  std::string type = "text/plain; charset=utf-8";
  std::string body;
  std::vector<std::pair<std::string, std::string>> headers;
  /// From now on the connection is an event stream: called once the header has been sent.
  std::function<void(std::shared_ptr<byte_sink>)> stream;
};

/// One line of text for a person.
answer refusal(unsigned status, std::string text);
answer json_answer(std::string body);

/// Called once for each request, at once or later, on the gateway's thread.
using respond = std::function<void(answer)>;

}  // namespace gateway
