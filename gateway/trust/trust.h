// Who may do what. On loopback, all users of this host may read, under a name of this host;
// everything else needs the token, and writing also a request that no page from another origin can
// make. Pure.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "gateway/http/exchange.h"
#include "gateway/trust/access_token.h"

namespace gateway {

struct trust_rules {
  bool loopback = true;
  bool tls = false;
  bool allow_writes = false;
  bool lab = false;                ///< anybody who may look may also write to the plant's tree
  std::vector<std::string> hosts;  ///< further host names of this gateway
  std::optional<access_token> token;
};

class trust {
 public:
  /// A header that a page must send with a write: no form and no image from another origin can.
  static constexpr const char* write_header = "x-lumora-request";

  explicit trust(trust_rules rules);

  /// Counts from the next request on, in place of the former one.
  void take(const access_token& token) { rules_.token = token; }

  /// The answer that stops the request, or empty.
  std::optional<answer> check(const request& asked) const;

 private:
  bool names_this_gateway(std::string_view host) const;
  std::optional<answer> check_write(const request& asked) const;

  trust_rules rules_;
};

}  // namespace gateway
