// The threads of server_runtime as servers and sessions use them. Exactly one thread runs each
// io_context, so the sockets of sessions need no strands.
#pragma once

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
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
  /// Executes on the I/O thread of the sessions and returns when it is done. Not for use by what
  /// that thread may wait for.
  void run_on_io(const std::function<void()>& job);
  /// Has the sessions send what waits, together with all others of the same wake-up.
  void wake(std::vector<std::shared_ptr<nx_session>> sessions) override;

  // The sessions', and that of the devices' clients: what a client asks holds up no device.
  std::shared_ptr<boost::asio::io_context> io;
  std::shared_ptr<boost::asio::io_context> device_io;
  std::shared_ptr<thread_poller> poller;
  std::unique_ptr<worker_pool> workers;        // for requests that may wait
  std::unique_ptr<worker_pool> heavy_workers;  // for those that take long to work out

 private:
  using work_guard = boost::asio::executor_work_guard<boost::asio::io_context::executor_type>;

  void flush_woken();

  work_guard work;
  work_guard device_work;
  std::mutex woken_mutex;  // a leaf in the lock order
  std::vector<std::shared_ptr<nx_session>> woken;
  std::thread io_thread;
  std::thread device_thread;
};

}  // namespace nx
