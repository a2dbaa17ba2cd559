// The threads of server_runtime as used by servers and sessions. Exactly one thread runs each
// io_context, so the sockets of sessions need no strands.
#pragma once

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "platform/value_tree/delivery_batch.h"
#include "platform/value_tree/nx_server.h"
#include "platform/value_tree/server/thread_poller.h"
#include "platform/value_tree/server/worker_pool.h"

namespace nx {

struct server_runtime::impl : public session_waker {
  impl();
  ~impl() override;

  bool on_io_thread() const { return std::this_thread::get_id() == io_thread.get_id(); }
  /// Runs a function on the I/O thread of the sessions and returns when it is done. Must not be
  /// used by anything that thread may wait for.
  void run_on_io(const std::function<void()>& job);
  /// Makes the sessions send their pending output, together with all others of the same wake-up.
  void wake(std::vector<std::shared_ptr<nx_session>> sessions) override;
  /// Runs a part of a session's requests, on the I/O thread. Sessions that it wakes send at its
  /// end: events published by a request are sent without another turn of the thread.
  template <class Part>
  void in_one_turn(const Part& part);

  // That of the sessions, and that of the device clients: requests of clients do not delay devices.
  std::shared_ptr<boost::asio::io_context> io;
  std::shared_ptr<boost::asio::io_context> device_io;
  std::shared_ptr<thread_poller> poller;
  std::unique_ptr<worker_pool> workers;        // for requests that may block
  std::unique_ptr<worker_pool> heavy_workers;  // for requests that take long

 private:
  using work_guard = boost::asio::executor_work_guard<boost::asio::io_context::executor_type>;

  void flush_woken();

  work_guard work;
  work_guard device_work;
  std::mutex woken_mutex;  // a leaf in the lock order
  std::vector<std::shared_ptr<nx_session>> woken;
  bool in_turn = false;        // used only by the I/O thread, as is the next
  bool woken_in_turn = false;  // flush_woken is due
  std::thread io_thread;
  std::thread device_thread;
};

template <class Part>
void server_runtime::impl::in_one_turn(const Part& part) {
  struct mark {
    explicit mark(bool& of) : is_set(of) { is_set = true; }
    ~mark() { is_set = false; }
    bool& is_set;
  };
  {
    const mark turn(in_turn);
    part();
  }
  if (std::exchange(woken_in_turn, false)) flush_woken();
}

}  // namespace nx
