// The addresses of /api/v1/lab: the controls of the simulated plant behind a lab's node, for the
// page's bench of faults. A gateway of a real node has none of them. On the gateway's thread.
#pragma once

#include <memory>

#include "gateway/api/write_api.h"
#include "gateway/http/router.h"
#include "gateway/tree/tree_link.h"

namespace gateway {

class lab_api {
 public:
  /// `node` is the number of the node in the plant.
  lab_api(std::shared_ptr<tree_link> plant, unsigned node)
      : plant_(std::move(plant)), node_(node), write_(plant_) {}

  void route(router& into);
  void start() { plant_->start({}); }
  void stop() { plant_->stop(); }

 private:
  const std::shared_ptr<tree_link> plant_;
  const unsigned node_;
  write_api write_;
};

}  // namespace gateway
