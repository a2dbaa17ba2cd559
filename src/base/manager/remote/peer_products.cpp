#include "base/manager/remote/peer_products.h"

#include <algorithm>
#include <array>

#include "base/manager/remote/device/orva/orva_common.h"
#include "base/manager/remote/device/selka/selka_common.h"
#include "base/manager/remote/device/tarn/tarn_common.h"
#include "base/manager/remote/device/unknown.h"

namespace manager::remote {

namespace {

using adapter_ptr = std::shared_ptr<device::interface>;

struct peer_product {
  const char* text;
  adapter_ptr (*create)();
};

template <class Adapter>
adapter_ptr make() {
  return std::make_shared<Adapter>();
}

constexpr std::array products{
    peer_product{"ORVA-LITE", make<device::orva::orvabase>},
    peer_product{"TARN-ONE", make<device::tarn::tarnone>},
    peer_product{"TARN-TWO", make<device::tarn::tarntwo>},
    peer_product{"SELKA-MIN", make<device::selka::selkamin>},
    peer_product{"SELKA-PLUS", make<device::selka::selkaplus>},
    peer_product{"ORVA-PRO", make<device::orva::orvapro>},
};

const peer_product* find(const std::string& product) {
  const auto found = std::find_if(products.begin(), products.end(),
                                  [&](const peer_product& entry) { return entry.text == product; });
  return found == products.end() ? nullptr : &*found;
}

}  // namespace

bool is_listed(const std::string& product) {
  return find(product) != nullptr;
}

adapter_ptr create_adapter(const std::string& product) {
  const auto* listed = find(product);
  return listed ? listed->create() : make<device::unknown>();
}

}  // namespace manager::remote
