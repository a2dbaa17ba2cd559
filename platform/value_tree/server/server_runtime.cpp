#include <malloc.h>

#include <algorithm>
#include <boost/asio/post.hpp>
#include <future>

#include "platform/note_log/note_log.h"
#include "platform/threads/io_thread.h"
#include "platform/value_tree/server/runtime_impl.h"
#include "platform/value_tree/server/session.h"
#include "platform/wire/failure.h"

namespace nx {
namespace {

// A handler that throws affects only its own work; the thread continues with the next.
void run_io(boost::asio::io_context& io, const char* name, thread_rank rank) {
  take_rank(name, rank);
  io_thread::is_current = true;
  while (!io.stopped()) {
    try {
      io.run();
    } catch (...) {
      note_log::write(note_log::error, "nexel_api",
                      "Failure on the I/O thread: " + current_node_error().message);
    }
  }
}

std::size_t cores() {
  return std::max(1U, std::thread::hardware_concurrency());
}

// Requests that may block are short apart from the blocking.
worker_pool::settings for_waiting() {
  worker_pool::settings how;
  how.usual_threads = cores() + 1;
  return how;
}

// One core is left for the loops and for everybody else's small requests. Memory of large answers
// is returned to the system afterwards.
worker_pool::settings for_heavy_work() {
  worker_pool::settings how;
  how.thread_name = "nx_heavy";
  how.rank = thread_rank::background;
  how.usual_threads = std::max<std::size_t>(1, cores() - 1);
  how.max_threads = how.usual_threads + 3;
  how.standstill = std::chrono::milliseconds(500);
  how.rest = std::chrono::milliseconds(2000);
  how.at_rest = [] { ::malloc_trim(0); };
  return how;
}

}  // namespace

server_runtime::impl::impl()
    : io(std::make_shared<boost::asio::io_context>(1)),
      device_io(std::make_shared<boost::asio::io_context>(1)),
      poller(std::make_shared<thread_poller>()),
      workers(std::make_unique<worker_pool>(for_waiting())),
      heavy_workers(std::make_unique<worker_pool>(for_heavy_work())),
      work(io->get_executor()),
      device_work(device_io->get_executor()),
      io_thread([context = io] { run_io(*context, "nx_io", thread_rank::serving); }),
      device_thread(
          [context = device_io] { run_io(*context, "nx_device_io", thread_rank::loops); }) {}

server_runtime::impl::~impl() {
  // Polls and requests may still need the I/O threads, also for device calls.
  poller->stop();
  workers.reset();
  heavy_workers.reset();
  io->stop();
  io_thread.join();
  device_io->stop();
  device_thread.join();
}

void server_runtime::impl::run_on_io(const std::function<void()>& job) {
  if (on_io_thread()) return job();
  std::promise<void> done;
  boost::asio::post(*io, [&] {
    try {
      job();
      done.set_value();
    } catch (...) {
      done.set_exception(std::current_exception());
    }
  });
  done.get_future().get();
}

void server_runtime::impl::wake(std::vector<std::shared_ptr<nx_session>> sessions) {
  const bool alone = sessions.size() == 1 && !on_io_thread() && !in_background();
  if (alone && static_cast<session&>(*sessions.front()).send_at_once()) return;
  bool first = false;
  {
    const std::lock_guard lock(woken_mutex);
    first = woken.empty();
    if (first) {
      woken = std::move(sessions);
    } else {
      woken.insert(woken.end(), std::make_move_iterator(sessions.begin()),
                   std::make_move_iterator(sessions.end()));
    }
  }
  if (on_io_thread() && in_turn) {
    woken_in_turn = true;
  } else if (first) {
    boost::asio::post(*io, [this] { flush_woken(); });
  }
}

void server_runtime::impl::flush_woken() {
  std::vector<std::shared_ptr<nx_session>> senders;
  {
    const std::lock_guard lock(woken_mutex);
    senders.swap(woken);
  }
  session::flush(senders);
}

server_runtime::server_runtime() : impl_(std::make_unique<impl>()) {}

server_runtime::~server_runtime() = default;

std::shared_ptr<boost::asio::io_context> server_runtime::io_context() {
  return impl_->device_io;
}

std::shared_ptr<poll_scheduler> server_runtime::poller() {
  return impl_->poller;
}

}  // namespace nx
