#include "sim/delay_proxy.h"

#include <sys/socket.h>

#include <array>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <deque>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/value_tree/server/interface_listener.h"
#include "platform/value_tree/server/listener.h"
#include "platform/value_tree/server/unix_socket.h"
#include "platform/wire/socket_path.h"

namespace sim {

namespace {

namespace asio = boost::asio;
using asio::generic::stream_protocol;
using boost::system::error_code;
using clock = std::chrono::steady_clock;

/// One client and its connection to the server. On the proxy's thread; lives until both ends are
/// closed and nothing is in flight.
class link : public std::enable_shared_from_this<link> {
 public:
  using latency_source = std::function<std::chrono::milliseconds()>;

  link(asio::io_context& io, stream_protocol::socket client, latency_source latency)
      : client_(std::move(client)), server_(io), timer_(io), latency_(std::move(latency)) {}

  void start(const std::string& target) {
    server_.async_connect(asio::local::stream_protocol::endpoint(target),
                          [self = shared_from_this()](const error_code& failed) {
                            if (failed) return self->close();
                            self->read_client();
                            self->read_server();
                          });
  }

  void close() {
    error_code ignored;
    client_.close(ignored);
    server_.close(ignored);
    timer_.cancel();
  }

  bool is_closed() const { return !client_.is_open(); }

 private:
  // A client that does not read is the server's problem: the server must notice the jam.
  static constexpr std::size_t most_waiting = 8UL * 1024 * 1024;

  struct piece {
    clock::time_point due;
    std::string bytes;
  };

  void read_client() {
    client_.async_read_some(
        asio::buffer(from_client_),
        [self = shared_from_this()](const error_code& failed, std::size_t size) {
          if (failed) return self->end_client(failed);
          asio::async_write(self->server_, asio::buffer(self->from_client_.data(), size),
                            [self](const error_code& not_sent, std::size_t) {
                              if (not_sent) return self->close();
                              self->read_client();
                            });
        });
  }

  /// A client that has only stopped sending still gets its answers; the server closes after them.
  void end_client(const error_code& failed) {
    if (failed != asio::error::eof) return close();
    error_code ignored;
    server_.shutdown(stream_protocol::socket::shutdown_send, ignored);
  }

  void read_server() {
    reading_ = true;
    server_.async_read_some(
        asio::buffer(from_server_),
        [self = shared_from_this()](const error_code& failed, std::size_t size) {
          self->reading_ = false;
          if (failed) {
            self->ended_ = true;
            return self->send_due();
          }
          self->keep(std::string(self->from_server_.data(), size));
          self->send_due();
          if (self->waiting_ < most_waiting) self->read_server();
        });
  }

  void keep(std::string bytes) {
    auto due = clock::now() + latency_();
    if (!pieces_.empty()) due = std::max(due, pieces_.back().due);
    waiting_ += bytes.size();
    pieces_.push_back({due, std::move(bytes)});
  }

  void send_due() {
    if (sending_ || is_closed()) return;
    if (pieces_.empty()) {
      if (ended_) close();
      return;
    }
    if (pieces_.front().due > clock::now()) return wait();
    sending_ = true;
    asio::async_write(client_, asio::buffer(pieces_.front().bytes),
                      [self = shared_from_this()](const error_code& failed, std::size_t) {
                        if (failed) return self->close();
                        self->sent();
                      });
  }

  void sent() {
    sending_ = false;
    waiting_ -= pieces_.front().bytes.size();
    pieces_.pop_front();
    if (!reading_ && !ended_ && waiting_ < most_waiting) read_server();
    send_due();
  }

  void wait() {
    timer_.expires_at(pieces_.front().due);
    timer_.async_wait([self = shared_from_this()](const error_code& cancelled) {
      if (!cancelled) self->send_due();
    });
  }

  stream_protocol::socket client_;
  stream_protocol::socket server_;
  asio::steady_timer timer_;
  latency_source latency_;
  std::array<char, 16 * 1024> from_client_;
  std::array<char, 16 * 1024> from_server_;
  std::deque<piece> pieces_;
  std::size_t waiting_ = 0;
  bool reading_ = false;
  bool sending_ = false;
  bool ended_ = false;  // the server has closed; pending output is still sent
};

}  // namespace

struct delay_proxy::impl {
  impl(const std::string& path, std::string at, std::chrono::milliseconds wanted)
      : target(std::move(at)), latency(wanted), work(io.get_executor()), socket(path) {
    own = std::make_shared<nx::listener>(
        io, socket.take(), [this](nx::owned_fd connection) { accept(std::move(connection), {}); });
    own->start();
    thread = std::thread([this] { io.run(); });
  }

  ~impl() {
    asio::post(io, [this] {
      own->stop();
      if (interface) interface->stop();
      close_all();
      work.reset();
    });
    thread.join();
  }

  void accept(nx::owned_fd connection, const std::string& endpoint) {
    std::erase_if(links, [](const auto& each) { return each.link->is_closed(); });
    const stream_protocol protocol(endpoint.empty() ? AF_UNIX : AF_INET6, 0);
    const auto added =
        std::make_shared<link>(io, stream_protocol::socket(io, protocol, connection.release()),
                               [this] { return latency; });
    links.push_back({added, endpoint});
    added->start(target);
  }

  void close_all() {
    for (const auto& each : links)
      each.link->close();
  }

  void close_those_of(const std::string& endpoint) {
    for (const auto& each : links) {
      if (each.endpoint == endpoint) each.link->close();
    }
  }

  void listen_on(const std::string& name, unsigned port) {
    interface = std::make_shared<nx::interface_listener>(
        io, name, port,
        [this](nx::owned_fd connection, const std::string& endpoint) {
          nx::tune_connection(connection.get());
          accept(std::move(connection), endpoint);
        },
        [this](const std::string& endpoint) { close_those_of(endpoint); });
    interface->start();
  }

  struct open_link {
    std::shared_ptr<class link> link;
    std::string endpoint;  // of an interface
  };

  asio::io_context io;
  const std::string target;
  std::chrono::milliseconds latency;  // used only by the thread, like everything below
  asio::executor_work_guard<asio::io_context::executor_type> work;
  nx::unix_socket socket;
  std::shared_ptr<nx::listener> own;
  std::shared_ptr<nx::interface_listener> interface;
  std::vector<open_link> links;
  std::thread thread;
};

delay_proxy::delay_proxy(const std::string& path, const std::string& target,
                         std::chrono::milliseconds latency)
    : impl_(std::make_unique<impl>(path, nx::rooted_path(target), latency)) {}

delay_proxy::~delay_proxy() = default;

void delay_proxy::listen_on_interface(const std::string& interface_name, unsigned port) {
  asio::post(impl_->io, [this, interface_name, port] { impl_->listen_on(interface_name, port); });
}

void delay_proxy::set_latency(std::chrono::milliseconds latency) {
  asio::post(impl_->io, [this, latency] { impl_->latency = latency; });
}

}  // namespace sim
