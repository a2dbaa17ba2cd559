#include "bench/value_tree.h"

#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstring>

#include "bench/tree_server.h"
#include "platform/nexel_client/request_text.h"
#include "platform/wire/json_rpc.h"

namespace bench {
namespace {

void append_request(std::string& out, unsigned id, const char* method, const std::string& path) {
  nx::json_rpc::append_request(out, id, method, nx::params_text(path));
}

std::string request(unsigned id, const char* method, const std::string& path) {
  std::string line;
  append_request(line, id, method, path);
  return line + '\n';
}

std::string batch_of_gets() {
  std::string text = "[";
  for (unsigned i = 0; i < together; ++i)
    append_request(text += i == 0 ? "" : ",", i, "get", value_path(i, 0));
  return text + "]\n";
}

// Takes connections, and never looks at them.
std::unique_ptr<socket> listen_and_hang(const std::string& path) {
  auto made = std::make_unique<socket>(::socket(AF_UNIX, SOCK_STREAM, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
  const auto* generic = reinterpret_cast<const sockaddr*>(&address);
  if (::bind(made->number(), generic, sizeof(address)) != 0 || ::listen(made->number(), 8) != 0) {
    throw std::runtime_error("cannot listen on " + path);
  }
  return made;
}

}  // namespace

value_tree::value_tree(const std::string& folder, bool disturbed)
    : path_(folder + (disturbed ? "/disturbed" : "/tree")),
      hung_device_(disturbed ? listen_and_hang(folder + "/hung") : nullptr),
      child_([this, device = disturbed ? folder + "/hung" : std::string()] {
        serve_tree(path_, triggers_.far, device);
      }),
      connection_(path_),
      batch_(batch_of_gets()) {}

void value_tree::append_get(std::string& out) {
  ++next_;
  append_request(out, next_, "get", value_path(next_ % together, 1));
  out += '\n';
}

std::string value_tree::next_set() {
  ++next_;
  const auto params = fmt::format(R"({{"path":"{}","value":{}}})", parameter_path,
                                  0.5 * static_cast<double>(next_ % 40));
  return nx::json_rpc::request(next_, "set", params) + '\n';
}

void value_tree::set_and_hear() {
  connection_.send(next_set());
  listeners_.front()->read(1, "method");
  connection_.read(1, "result");
}

void value_tree::set_and_hear_oneself() {
  auto& client = *listeners_.front();
  client.send(next_set());
  client.read(1, "result");
  client.read(1, "method");
}

void value_tree::get() {
  std::string asked;
  append_get(asked);
  connection_.send(asked);
  connection_.read(1, "result");
}

void value_tree::get_in_flight() {
  std::string requests;
  for (unsigned i = 0; i < in_flight; ++i)
    append_get(requests);
  connection_.send(requests);
  connection_.read(in_flight, "result");
}

void value_tree::get_batch() {
  connection_.send(batch_);
  connection_.read(1, "result");
}

void value_tree::get_by_pattern() {
  connection_.send(request(++next_, "get", value_pattern));
  connection_.read(1, "result");
}

void value_tree::listen(unsigned listeners) {
  listeners_.clear();
  while (listeners_.size() < listeners) {
    auto& added = *listeners_.emplace_back(std::make_unique<tree_connection>(path_));
    for (unsigned i = 0; i < burst; ++i) {
      added.send(request(i, "subscribe", value_path(i, 0)));
      added.read(1, "result");
      added.read(1, "method");
    }
    added.send(request(burst, "subscribe", parameter_path));
    added.read(1, "result");
    added.read(1, "method");
  }
  if (hung_device_) add_stuck_subscriber();
}

void value_tree::add_stuck_subscriber() {
  stuck_ = std::make_unique<tree_connection>(path_);
  stuck_->send(request(1, "subscribe", "**"));
  stuck_->read(1, "result");
}

void value_tree::publish(unsigned events) {
  pull(triggers_.near, {static_cast<unsigned>(listeners_.size()), events});
  for (const auto& listener : listeners_)
    listener->read(events, "method");
}

}  // namespace bench
