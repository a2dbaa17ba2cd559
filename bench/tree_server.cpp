#include "bench/tree_server.h"

#include <fmt/format.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "api/config_param.h"
#include "api/status_value.h"
#include "bench/contestant.h"
#include "platform/nexel_client/nexel_client.h"
#include "platform/value_tree/nexel_api.h"
#include "platform/value_tree/nx_db.h"
#include "platform/value_tree/thread_rank.h"

namespace bench {
namespace {

using value = nx::api::status_value<float>;

constexpr std::array kinds{"attenuation", "power",  "peak",   "target", "error",
                           "offset",      "center", "margin", "loss",   "osnr"};
constexpr unsigned first_center = 19140000;
constexpr unsigned spacing = 1250;

std::vector<std::shared_ptr<value>> build(nx_db& db) {
  std::vector<std::shared_ptr<value>> values;
  for (unsigned kind = 0; kind < kinds.size(); ++kind) {
    for (unsigned channel = 0; channel < together; ++channel) {
      const float initial = -12.5F + 0.01F * static_cast<float>(channel);
      values.push_back(value::create(db, value_path(channel, kind), initial, 0));
    }
  }
  return values;
}

void publish(const std::vector<std::shared_ptr<value>>& values, const socket& triggers) {
  float reading = 0;
  trigger wanted;
  while (await(triggers, wanted)) {
    reading = reading > 20 ? 0.01F : reading + 0.01F;
    for (unsigned i = 0; i < wanted.events; ++i)
      values[i]->update(reading);
  }
}

struct settings {
  void set_attenuation(float) {}
};

void read_in_vain(nexel_client_api& device) {
  for (;;) {
    try {
      device.get<float>("data/power");
    } catch (const nx_client_exception&) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }
}

}  // namespace

std::string value_path(unsigned channel, unsigned kind) {
  return fmt::format("data/client/{}/rx/{}", first_center + channel * spacing, kinds.at(kind));
}

void serve_tree(const std::string& path, const socket& triggers, const std::string& hung_device) {
  nexel_api server(path, 0, false);
  const auto values = build(server.get_db());
  const auto owner = std::make_shared<settings>();
  nx::api::prompt_param<&settings::set_attenuation>::create(server.get_db(), parameter_path, 0.25F,
                                                            owner);
  std::thread loop([&] {
    nx::take_rank("manager", nx::thread_rank::loops);
    publish(values, triggers);
  });
  std::shared_ptr<nexel_client_api> device;
  std::thread other_loop;
  if (!hung_device.empty()) {
    device = nexel_client::create(server.get_db().get_io_context(), hung_device, "device", {});
    other_loop = std::thread([&] { read_in_vain(*device); });
  }
  server.start();
  ::_exit(0);
}

}  // namespace bench
