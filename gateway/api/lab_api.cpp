#include "gateway/api/lab_api.h"

#include <fmt/format.h>

#include "gateway/api/tree_api.h"

namespace gateway {

void lab_api::route(router& into) {
  into.add(method::get, "/api/v1/lab", [this](const auto&, const auto& done) {
    done(json_answer(fmt::format("{{\"node\":{}}}\n", node_)));
  });
  into.add(method::get, "/api/v1/lab/values",
           [this](const auto& asked, const auto& done) { answer_values(*plant_, asked, done); });
  into.add(method::put, "/api/v1/lab/values",
           [this](const auto& asked, const auto& done) { write_.set(asked, done); });
  into.add(method::post, "/api/v1/lab/run",
           [this](const auto& asked, const auto& done) { write_.run(asked, done); });
}

}  // namespace gateway
