// Maps addresses to handlers, after the guards have let a request through. A handler's exceptions
// become answers. On the gateway's thread.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "gateway/http/exchange.h"

namespace gateway {

class router {
 public:
  using handler = std::function<void(const request&, const respond&)>;
  /// The answer that stops a request, or empty.
  using gate = std::function<std::optional<answer>(const request&)>;

  void add_gate(gate asked_first) { gates_.push_back(std::move(asked_first)); }
  /// GET covers HEAD.
  void add(method how, std::string path, handler does);
  /// For a GET of any other path.
  void set_fallback(handler does) { fallback_ = std::move(does); }

  void route(const request& asked, const respond& done) const;

 private:
  struct entry {
    method how;
    std::string path;
    handler does;
  };

  void dispatch(const request& asked, const respond& done) const;

  std::vector<gate> gates_;
  std::vector<entry> entries_;
  handler fallback_;
};

}  // namespace gateway
