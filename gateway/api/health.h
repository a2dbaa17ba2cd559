// Endpoints for supervisors: whether the process is serving, and whether it is connected to a
// daemon that regulates. On the gateway's thread.
#pragma once

#include <memory>

#include "gateway/http/exchange.h"
#include "gateway/tree/tree_link.h"

namespace gateway {

class health {
 public:
  explicit health(std::shared_ptr<tree_link> link) : link_(std::move(link)) {}

  answer alive() const { return refusal(200, "alive"); }
  /// 200 "regulates", or 503 with what is missing.
  void ready(const respond& done) const;

 private:
  const std::shared_ptr<tree_link> link_;
};

}  // namespace gateway
