// The addresses of /api/v1 that read the tree: values, history and events. A refusal by the tree is
// answered with its code and text as JSON, {"error":{"code":..,"message":..}}, and a matching HTTP
// status. On the gateway's thread.
#pragma once

#include <boost/asio/io_context.hpp>
#include <memory>

#include "gateway/http/exchange.h"
#include "gateway/tree/recorder.h"
#include "gateway/tree/tree_mirror.h"

namespace gateway {

/// 404, 403, 400, 504 and the like.
unsigned status_of(const nx_error& error);
answer error_answer(const nx_error& error);

/// Present values of the paths and patterns that the request names.
void answer_values(tree_link& link, const request& asked, const respond& done);

class tree_api {
 public:
  static constexpr std::size_t most_patterns = 16;
  /// Number of patterns that may wait for the daemon before further reads are refused.
  static constexpr std::size_t most_questions = 512;

  tree_api(boost::asio::io_context& io, std::shared_ptr<tree_mirror> mirror, const recorder& past,
           const settings& bounds)
      : io_(io), mirror_(std::move(mirror)), past_(past), settings_(bounds) {}

  void values(const request& asked, const respond& done) {
    answer_values(mirror_->link(), asked, done);
  }
  /// The daemon's history, followed by the gateway's own record if the path is recorded.
  void history(const request& asked, const respond& done);
  void events(const request& asked, const respond& done);

 private:
  boost::asio::io_context& io_;
  const std::shared_ptr<tree_mirror> mirror_;
  const recorder& past_;
  const settings& settings_;
};

}  // namespace gateway
