// Who may do what. Reading on loopback is free to this host's users, under a name of this host; all
// else needs the token, and writing a request that no page of another origin can make. Pure.
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
  bool lab = false;                ///< the plant's tree is written by whoever may look
  std::vector<std::string> hosts;  ///< further names of this gateway
  std::optional<access_token> token;
};

class trust {
 public:
  /// A page has to send it with a write: no form and no image of another origin can.
  static constexpr const char* write_header = "x-lumora-request";

  explicit trust(trust_rules rules);

  /// The answer that stops the request, or empty.
  std::optional<answer> check(const request& asked) const;

 private:
  bool names_this_gateway(std::string_view host) const;
  std::optional<answer> check_write(const request& asked) const;

  const trust_rules rules_;
};

}  // namespace gateway
