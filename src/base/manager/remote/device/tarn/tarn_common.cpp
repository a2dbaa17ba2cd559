#include "base/manager/remote/device/tarn/tarn_common.h"

#include "base/manager/remote/device/subscription.h"
#include "helpers/logger.h"

namespace manager::remote::device::tarn {

namespace {

constexpr subscription line_paths[] = {
    {value_kind::number, "data/neighbour/edfa/rx/power"},
    {value_kind::number, "data/line/1/rx/osc/power"},
    {value_kind::number, "data/line/1/tx/power"},
    {value_kind::number, "data/line/1/tx/totalPower"},
    {value_kind::number, "data/line/1/rx/totalPower"},
    {value_kind::number, "data/line/1/tx/osc/power"},
    {value_kind::number, "osc/2/data/fiberDispersion"},
    {value_kind::number, "interface/line/1/data/osc/loss"},
    {value_kind::number, "interface/line/1/data/osc/attenuation"},
    {value_kind::number, "osc/2/data/fiberLength"},
    {value_kind::text, "interface/line/1/data/osc/rx/interfaceName"},
    {value_kind::text, "interface/line/1/data/osc/tx/interfaceName"},
    {value_kind::number, "data/spanloss/ots/tx"},
    {value_kind::number, "data/spanloss/ots/rx"},
    {value_kind::number, "data/spanloss/oms/tx"},
    {value_kind::number, "data/spanloss/oms/rx"},
    {value_kind::text, "data/spanloss/section"},
    {value_kind::number, "data/neighbour/edfa/minGain"},
    {value_kind::text, "interface/line/1/data/hostname"},
};

}  // namespace

void tarn_common::subscribe(const client_ptr& client, const subscriber_ptr& values) {
  LUMORA_LOG(2, "Starting remote subscription against TARN products.");
  subscribe_all(*client, *values, line_paths, family::tarn);
  LUMORA_LOG(2, "Remote subscription complete.");
}

void tarn_common::subscribe_channel(const client_ptr&, const subscriber_ptr&, unsigned) {}

}  // namespace manager::remote::device::tarn
