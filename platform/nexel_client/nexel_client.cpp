#include "platform/nexel_client/nexel_client.h"

#include <atomic>
#include <cassert>
#include <chrono>

#include "platform/threads/io_thread.h"

namespace {

std::atomic<void (*)()> call_observer{nullptr};

struct end_of_call {
  ~end_of_call() {
    if (const auto observer = call_observer.load()) observer();
  }
};

}  // namespace

void nexel_client_api::after_each_call(void (*observer)()) {
  call_observer = observer;
}

void nexel_client_api::send(const std::shared_ptr<nexel_request>& request) {
  assert(!on_io_thread() && "a blocking call on the thread that resolves it");
  assert(!nx::io_thread::is_current && "a blocking call on a thread that runs sockets");
  server_call(request);
}

template <class T>
T nexel_client_api::wait_for(std::future<T>& answer, const std::string& path, bool (*gives_up)()) {
  const end_of_call told;
  const auto is_there = [&] {
    return answer.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
  };
  while (!is_there() && pass_time()) {
  }
  // During shutdown the I/O thread may end before a thread that still talks to a device.
  constexpr std::chrono::milliseconds look{100};
  while (answer.wait_for(look) != std::future_status::ready) {
    if (is_abandoned() || (gives_up && gives_up()))
      throw nx_client_exception{nx_error::not_connected, "Not connected: shutting down", path};
  }
  return answer.get();
}

template <class T>
T nexel_client_api::get(const std::string& path) {
  auto request = std::make_shared<nexel_read_request>();
  auto object = std::make_shared<nexel_read_object<T>>(path);
  auto answer = object->get_future();
  request->add_object(std::move(object));
  send(request);
  return wait_for(answer, path);
}

namespace {

template <class R, class T>
std::pair<std::shared_ptr<nexel_request>, std::future<R>> write_request(const std::string& path,
                                                                        const T& value) {
  auto request = std::make_shared<nexel_write_request>();
  auto response = std::make_shared<nexel_write_response<R>>();
  request->add_object(std::make_shared<nexel_write_object<T, R>>(path, value, response));
  return {std::move(request), response->get_future()};
}

}  // namespace

template <class R>
R nexel_client_api::set(const std::string& path, bool value) {
  auto [request, answer] = write_request<R, bool>(path, value);
  send(request);
  return wait_for(answer, path);
}

template <class R>
R nexel_client_api::set(const std::string& path, float value) {
  auto [request, answer] = write_request<R, float>(path, value);
  send(request);
  return wait_for(answer, path);
}

template <class R>
R nexel_client_api::set(const std::string& path, int value) {
  auto [request, answer] = write_request<R, int>(path, value);
  send(request);
  return wait_for(answer, path);
}

template <class R>
R nexel_client_api::set(const std::string& path, const std::string& value) {
  auto [request, answer] = write_request<R, std::string>(path, value);
  send(request);
  return wait_for(answer, path);
}

template <class R>
R nexel_client_api::set(const std::string& path, const char* value) {
  auto [request, answer] = write_request<R, const char>(path, *value);
  send(request);
  return wait_for(answer, path);
}

template <class R, class Value>
std::future<R> nexel_client_api::send_set(const std::string& path, const Value& value) {
  auto [request, answer] = [&] {
    if constexpr (std::is_pointer_v<Value>) {
      return write_request<R, const char>(path, *value);
    } else {
      return write_request<R, Value>(path, value);
    }
  }();
  send(request);
  return std::move(answer);
}

template std::future<void> nexel_client_api::send_set(const std::string&, const float&);
template std::future<void> nexel_client_api::send_set(const std::string&, const char* const&);
template std::future<bool> nexel_client_api::send_set(const std::string&, const std::string&);

template bool nexel_client_api::get(const std::string&);
template float nexel_client_api::get(const std::string&);
template int nexel_client_api::get(const std::string&);
template unsigned int nexel_client_api::get(const std::string&);
template std::string nexel_client_api::get(const std::string&);

#define INSTANTIATE_WAIT_FOR(T) \
  template T nexel_client_api::wait_for(std::future<T>&, const std::string&, bool (*)());
INSTANTIATE_WAIT_FOR(void)
INSTANTIATE_WAIT_FOR(bool)
INSTANTIATE_WAIT_FOR(float)
INSTANTIATE_WAIT_FOR(unsigned int)
INSTANTIATE_WAIT_FOR(std::string)
#undef INSTANTIATE_WAIT_FOR

#define INSTANTIATE_SETS_ANSWERING(R)                                       \
  template R nexel_client_api::set(const std::string&, bool);               \
  template R nexel_client_api::set(const std::string&, float);              \
  template R nexel_client_api::set(const std::string&, int);                \
  template R nexel_client_api::set(const std::string&, const std::string&); \
  template R nexel_client_api::set(const std::string&, const char*);
INSTANTIATE_SETS_ANSWERING(void)
INSTANTIATE_SETS_ANSWERING(bool)
INSTANTIATE_SETS_ANSWERING(int)
#undef INSTANTIATE_SETS_ANSWERING
