#include "base/manager/remote/probe.h"

#include <memory>
#include <utility>

#include "platform/nexel_client/nexel_client.h"
#include "platform/wire/nx_client_exception.h"
#include "platform/wire/nx_error.h"

namespace manager::remote {

namespace {

constexpr std::chrono::seconds interval{3};
constexpr const char* asked_path = "data/product";

}  // namespace

void probe::begin(time_point now) {
  last_answer_ = last_question_ = now;
  answer_ = {};
}

void probe::end() {
  last_answer_.reset();
  answer_ = {};
}

void probe::take_answer(time_point now) {
  if (!answer_.valid() || answer_.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
    return;
  }
  try {
    std::exchange(answer_, {}).get();
    last_answer_ = now;
  } catch (const nx_client_exception& error) {
    // A refusal is an answer, too.
    if (error.code != nx_error::no_answer && error.code != nx_error::not_connected)
      last_answer_ = now;
  } catch (...) {
    last_answer_ = now;
  }
}

void probe::tend(nexel_client_api& peer, time_point now) {
  take_answer(now);
  if (answer_.valid() || now - last_question_ < interval) return;
  last_question_ = now;
  auto object = std::make_shared<nexel_read_object<std::string>>(asked_path);
  answer_ = object->get_future();
  const auto request = std::make_shared<nexel_read_request>();
  request->add_object(std::move(object));
  peer.server_call(request);
}

}  // namespace manager::remote
