// /metrics: asks the tree for the values of a scrape, and answers everybody who asked meanwhile
// with the same text. It keeps no counts of its own, so restarting the gateway does not look like a
// reset to a collector. If the daemon is lost, only lumora_up 0 remains. On the gateway's thread.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "gateway/http/exchange.h"
#include "gateway/tree/tree_link.h"
#include "gateway/trust/tls_identity.h"
#include "platform/wire/json.h"

namespace gateway {

class scrape : public std::enable_shared_from_this<scrape> {
 public:
  /// `tls` is null for clear text, and otherwise outlives this.
  scrape(std::shared_ptr<tree_link> link, const tls_identity* tls);

  void metrics(const request& asked, const respond& done);

 private:
  struct gathering;
  struct scraper {
    bool open;  ///< in the form of OpenMetrics
    bool packed;
    respond done;
  };

  void ask();
  void answered(gathering& all, const nx::json_value* result, const nx_error* error);
  void finish(const gathering* all);

  const std::shared_ptr<tree_link> link_;
  const tls_identity* const tls_;
  std::string node_;  ///< as last reported by the daemon
  std::vector<scraper> waiting_;
};

}  // namespace gateway
