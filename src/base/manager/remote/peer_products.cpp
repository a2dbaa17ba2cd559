#include "base/manager/remote/peer_products.h"

#include <array>

#include "base/manager/remote/device/orva/orva_common.h"
#include "base/manager/remote/device/selka/selka_common.h"
#include "base/manager/remote/device/tarn/tarn_common.h"
#include "base/manager/remote/device/unknown.h"
#include "models/model.h"

namespace manager::remote {

namespace {

using adapter_ptr = std::shared_ptr<device::interface>;

using maker = adapter_ptr (*)();

struct peer_product {
  const char* text;
  maker create;
};

template <class Adapter>
adapter_ptr make() {
  return std::make_shared<Adapter>();
}

/// Products that are not among our models, and models whose values differ from their family's.
constexpr std::array own_adapters{
    peer_product{"TARN-ONE", make<device::tarn::tarnone>},
    peer_product{"TARN-TWO", make<device::tarn::tarntwo>},
    peer_product{"SELKA-PLUS", make<device::selka::selkaplus>},
};

maker adapter_of(const models::model& peer) {
  if (peer.kin == models::family::selka) return make<device::selka::selkamin>;
  return peer.has_compensator ? make<device::orva::orvapro> : make<device::orva::orvabase>;
}

/// Null for a product with which no line is regulated.
maker find(const std::string& product) {
  for (const auto& own : own_adapters) {
    if (own.text == product) return own.create;
  }
  const auto* model = models::find_told(product);
  return model && model->known_to_peers ? adapter_of(*model) : nullptr;
}

}  // namespace

bool is_listed(const std::string& product) {
  return find(product) != nullptr;
}

adapter_ptr create_adapter(const std::string& product) {
  const auto create = find(product);
  return create ? create() : make<device::unknown>();
}

}  // namespace manager::remote
