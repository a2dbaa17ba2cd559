#include "tests/system/plant_controls.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "platform/nexel_client/line_client.h"
#include "platform/wire/nx_client_exception.h"
#include "tests/support/daemon_node.h"

namespace test {

plant_controls::plant_controls(const std::string& root, unsigned node)
    : node_(node),
      controls_(root + "/tmp/nexels/sim"),
      folder_(root + (node == 0 ? "" : "/far") + "/tmp/nexels/") {}

std::string plant_controls::own(const std::string& top, const std::string& path) const {
  return fmt::format("{}/node/{}/{}", top, node_, path);
}

std::map<std::string, double> plant_controls::numbers(const std::string& pattern) const {
  const auto client = nx::line_client::connect_unix(controls_);
  const auto answer = client->call("get", fmt::format(R"({{"path":"{}"}})", pattern));
  std::map<std::string, double> found;
  for (const auto& member : answer.GetObject()) {
    if (member.value.IsNumber()) found[member.name.GetString()] = member.value.GetDouble();
  }
  return found;
}

void plant_controls::set(const std::string& path, const std::string& value) const {
  const auto client = nx::line_client::connect_unix(controls_);
  client->call("set", fmt::format(R"({{"path":"{}","value":{}}})", path, value));
}

void plant_controls::set_device(const std::string& name, const std::string& state) const {
  auto segment = name;
  std::replace(segment.begin(), segment.end(), '/', '_');
  set(own("config", "nexel/" + segment + "/state"), '"' + state + '"');
  if (!eventually([&] { return behaves(name, state); })) {
    throw std::runtime_error(name + " does not become " + state);
  }
}

bool plant_controls::behaves(const std::string& device, const std::string& state) const {
  constexpr std::chrono::milliseconds answer_limit{200};
  try {
    const auto client = nx::line_client::connect_unix(folder_ + device);
    client->call("list", R"({"path":""})", answer_limit);
    return state == "ok";
  } catch (const nx_client_exception& error) {
    constexpr std::int32_t no_answer = -110;
    return state == (error.code == no_answer ? "hung" : "killed");
  }
}

void plant_controls::disturb(const std::string& channel, double db) const {
  const auto path = own("config", "laser/" + channel + "/power");
  set(path, fmt::format("{}", number(path) + db));
}

std::vector<std::string> plant_controls::channels() const {
  std::vector<std::string> found;
  const std::string prefix = own("truth", "rx/channel/");
  const std::string suffix = "/boosterTarget";
  for (const auto& [path, value] : numbers(prefix + "*" + suffix)) {
    found.push_back(path.substr(prefix.size(), path.size() - prefix.size() - suffix.size()));
  }
  return found;
}

std::map<std::string, double> plant_controls::attenuations() const {
  return numbers(own("truth", "*/channel/*/attenuation"));
}

double plant_controls::switch_writes() const {
  double sum = 0.0;
  for (const auto& [path, value] : numbers(own("counters", "*/switchWrites")))
    sum += value;
  return sum;
}

double plant_controls::error(const std::string& channel) const {
  const auto folder = own("truth", "rx/channel/" + channel + "/");
  const auto of_channel = numbers(folder + "*");
  const auto value = [&](const std::string& name) { return of_channel.at(folder + name); };
  return value("boosterPower") - value("boosterTarget");
}

std::string plant_controls::off_target(double within_db) const {
  std::string found;
  for (const auto& channel : channels()) {
    const double off_db = error(channel);
    if (std::fabs(off_db) > within_db) found += fmt::format("{} by {:.2f} dB, ", channel, off_db);
  }
  return found;
}

double largest_change(const std::map<std::string, double>& before,
                      const std::map<std::string, double>& after) {
  double largest = 0.0;
  for (const auto& [path, attenuation] : before)
    largest = std::max(largest, std::fabs(after.at(path) - attenuation));
  return largest;
}

}  // namespace test
