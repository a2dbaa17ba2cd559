// /metrics: asks the tree for what a scrape tells, and answers everybody who asked meanwhile with
// the same text. It keeps no count of its own, so that a restart of the gateway is none to a
// collector. A daemon that is lost leaves lumora_up 0 and nothing else. On the gateway's thread.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "gateway/http/exchange.h"
#include "gateway/tree/tree_link.h"
#include "platform/wire/json.h"

namespace gateway {

class scrape : public std::enable_shared_from_this<scrape> {
 public:
  explicit scrape(std::shared_ptr<tree_link> link);

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
  std::string node_;  ///< as the daemon told it last
  std::vector<scraper> waiting_;
};

}  // namespace gateway
