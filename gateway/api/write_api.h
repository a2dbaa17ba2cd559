// The addresses of /api/v1 that write to the tree: values and run. Requests that get here have been
// authorised. On the gateway's thread.
#pragma once

#include <memory>

#include "gateway/http/exchange.h"
#include "gateway/tree/tree_link.h"

namespace gateway {

class write_api {
 public:
  explicit write_api(std::shared_ptr<tree_link> link) : link_(std::move(link)) {}

  /// {PATH:VALUE}
  void set(const request& asked, const respond& done);
  /// {"path":PATH,"args":VALUE}
  void run(const request& asked, const respond& done);

 private:
  void send(const char* method, const std::string& path, const char* member,
            const nx::json_value& value, const respond& done);

  const std::shared_ptr<tree_link> link_;
};

}  // namespace gateway
