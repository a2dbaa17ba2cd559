#include "tests/support/daemon_node.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <csignal>
#include <stdexcept>

#include "platform/nexel_client/line_client.h"
#include "platform/wire/nx_client_exception.h"

namespace test {

namespace {

std::string program(const std::string& name) {
  return std::string(LUMORA_BIN_DIR) + "/" + name;
}

std::string error_text(const nx_client_exception& error) {
  return fmt::format("error {} {}", error.code, error.message);
}

}  // namespace

bool eventually(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + patience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

std::string fault_of_end(process& daemon, std::chrono::milliseconds limit) {
  daemon.signal(SIGTERM);
  const auto status = daemon.wait_for_exit(limit);
  if (status == 0) return {};
  return (status ? fmt::format("status {}:\n", *status) : "still running:\n") + daemon.last_lines();
}

daemon_node::daemon_node() = default;

void daemon_node::seed_store() {
  store_.set(fmt::format("{}:qz:status", data_tag), "ok");
  store_.set(fmt::format("{}:qz:mounts", conf_tag), "/mnt/qz");
  store_.set(fmt::format("{}:nx/system/info:data/swVersion", data_tag), "R1.0");
}

void daemon_node::start_store() {
  store_.start();
  seed_store();
}

void daemon_node::start_devices(const std::string& topology,
                                const std::vector<std::string>& arguments) {
  const auto path = std::string(LUMORA_TOPOLOGY_DIR) + "/" + topology + ".json";
  process::settings what{{program("lumora_sim"), path, "--board"}, {{"NX_ROOT", root_.path()}}, {}};
  what.command.insert(what.command.end(), arguments.begin(), arguments.end());
  devices_ = std::make_unique<process>(what);
  if (!devices_->wait_for("ready: ")) {
    throw std::runtime_error("lumora_sim does not start: " + devices_->output());
  }
}

process& daemon_node::start_daemon(const std::vector<std::string>& arguments) {
  daemon_ = std::make_unique<process>(daemon_settings(arguments));
  return *daemon_;
}

process::settings daemon_node::daemon_settings(const std::vector<std::string>& arguments) const {
  process::settings what{
      {program("lumora_manager"), "--interface_name", interface_, "--port", std::to_string(port_)},
      {{"NX_ROOT", root_.path()},
       {"KVS_URL", store_.url()},
       {"REDIS_CONF_HASH_TAG", conf_tag},
       {"REDIS_DATA_HASH_TAG", data_tag}},
      {"JOURNAL_STREAM", "NOTE_LOG_SEVERITY", "NOTE_LOG_TRACE", "NOTIFY_SOCKET", "WATCHDOG_PID",
       "WATCHDOG_USEC"}};
  what.environment.insert(daemon_environment_.begin(), daemon_environment_.end());
  what.command.insert(what.command.end(), arguments.begin(), arguments.end());
  return what;
}

std::string daemon_node::daemon_socket() const {
  return root_.file("tmp/device_managers/lumora");
}

std::string daemon_node::read(const std::string& path) const {
  try {
    const auto client = nx::line_client::connect_unix(daemon_socket());
    const auto answer = client->call("get", fmt::format(R"({{"path":"{}"}})", path));
    const auto value = answer.FindMember(path.c_str());
    return value == answer.MemberEnd() ? "nothing" : nx::json_text(value->value);
  } catch (const nx_client_exception& error) {
    return error_text(error);
  }
}

std::string daemon_node::write(const std::string& path, const std::string& value) const {
  try {
    const auto client = nx::line_client::connect_unix(daemon_socket());
    const auto params = fmt::format(R"({{"path":"{}","value":{}}})", path, value);
    return nx::json_text(client->call("set", params));
  } catch (const nx_client_exception& error) {
    return error_text(error);
  }
}

bool daemon_node::await_configuration() const {
  return eventually([this] { return read("config/redisConfigStatus") == "null"; });
}

bool daemon_node::serves() const {
  return read("data/configStatus") == "true";
}

}  // namespace test
