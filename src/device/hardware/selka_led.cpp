#include "device/hardware/selka_led.h"

#include <fmt/format.h>

#include <future>
#include <utility>

#include "helpers/waiting.h"
#include "platform/nexel_client/nexel_client.h"
#include "platform/wire/nx_error.h"

namespace device::hardware {

namespace {

using device::interfaces::led_address;
using device::interfaces::led_answer;
using device::interfaces::led_write;
using row = led_address::panel_row;
using read_object = nexel_read_object<std::string>;
using write_object = nexel_write_object<std::string, bool>;
using write_response = nexel_write_response<bool>;

constexpr bool rx = true;
constexpr bool tx = false;

const char* side_of(const led_address& at) {
  return at.rx ? "rx" : "tx";
}

std::string path_of(const char* branch, const led_address& at) {
  const char* rows[] = {"line", "xc", "client"};
  return fmt::format("{}/{}/{}/{}Led/status", branch, rows[static_cast<int>(at.row)], at.number,
                     side_of(at));
}

std::string refusal_of(const led_address& at) {
  if (at.row == row::line) return fmt::format("Failed to set line {} led", side_of(at));
  const char* name = at.row == row::xc ? "xc" : "awg";
  return fmt::format("Failed to set {0} {1} led for {0} number {2}", name, side_of(at), at.number);
}

bool is_stopping() {
  return helpers::waiting::instance().stopping();
}

/// Sends one object per item in one request, then collects the answers.
template <class Request, class Items, class MakeObject, class Collect>
std::vector<led_answer> exchange(nexel_client_api& client, const Items& items, MakeObject make,
                                 Collect collect) {
  auto request = std::make_shared<Request>();
  using future = decltype(make(*request, items.front()));
  std::vector<future> futures;
  futures.reserve(items.size());
  for (const auto& item : items)
    futures.push_back(make(*request, item));
  client.server_call(request);
  std::vector<led_answer> answers(items.size());
  for (std::size_t i = 0; i < items.size(); ++i) {
    try {
      answers[i].colour = collect(futures[i], items[i]);
    } catch (...) {
      answers[i].failure = std::current_exception();
    }
  }
  return answers;
}

}  // namespace

selka_led::selka_led(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path)
    : without_subscriptions("selka_led"), client_(make_client(std::move(io), socket_path)) {}

template <class Object>
auto selka_led::ask(std::shared_ptr<Object> object) {
  auto answer = object->get_future();
  const std::string path = object->get_path();
  auto request = std::make_shared<nexel_read_request>();
  request->add_object(std::move(object));
  client_->server_call(std::move(request));
  return client_->wait_for(answer, path, is_stopping);
}

bool selka_led::is_operational() {
  return ask(std::make_shared<nexel_read_object<bool>>("data/configStatus"));
}

std::string selka_led::read(const led_address& at) {
  return ask(std::make_shared<read_object>(path_of("data", at)));
}

void selka_led::write(const led_address& at, const std::string& colour) {
  const auto answers = write_together({{at, colour}});
  if (answers.front().failure) std::rethrow_exception(answers.front().failure);
}

std::vector<led_answer> selka_led::read_together(const std::vector<led_address>& leds) {
  return exchange<nexel_read_request>(
      *client_, leds,
      [](nexel_request& request, const led_address& at) {
        auto object = std::make_shared<read_object>(path_of("data", at));
        auto answer = object->get_future();
        request.add_object(std::move(object));
        return answer;
      },
      [this](auto& answer, const led_address& at) {
        return client_->wait_for(answer, path_of("data", at), is_stopping);
      });
}

std::vector<led_answer> selka_led::write_together(const std::vector<led_write>& writes) {
  return exchange<nexel_write_request>(
      *client_, writes,
      [](nexel_request& request, const led_write& write) {
        auto response = std::make_shared<write_response>();
        auto answer = response->get_future();
        request.add_object(
            std::make_shared<write_object>(path_of("command", write.at), write.colour, response));
        return answer;
      },
      [this](auto& answer, const led_write& write) {
        const bool done = client_->wait_for(answer, path_of("command", write.at), is_stopping);
        if (!done) throw nx_error(nx_error::invalid, refusal_of(write.at));
        return write.colour;
      });
}

std::string selka_led::get_xc_rx_led(unsigned n) {
  return read({row::xc, n, rx});
}

std::string selka_led::get_xc_tx_led(unsigned n) {
  return read({row::xc, n, tx});
}

void selka_led::set_xc_rx_led(unsigned n, const std::string& colour) {
  write({row::xc, n, rx}, colour);
}

void selka_led::set_xc_tx_led(unsigned n, const std::string& colour) {
  write({row::xc, n, tx}, colour);
}

std::string selka_led::get_line_rx_led() {
  return read({row::line, 1, rx});
}

std::string selka_led::get_line_tx_led() {
  return read({row::line, 1, tx});
}

void selka_led::set_line_tx_led(const std::string& colour) {
  write({row::line, 1, tx}, colour);
}

void selka_led::set_line_rx_led(const std::string& colour) {
  write({row::line, 1, rx}, colour);
}

std::string selka_led::get_client_rx_led(unsigned n) {
  return read({row::client, n, rx});
}

std::string selka_led::get_client_rx_led_or_end(unsigned n) {
  return ask(std::make_shared<nexel_read_default_object<std::string>>(
      path_of("data", {row::client, n, rx}), "end"));
}

std::string selka_led::get_client_tx_led(unsigned n) {
  return read({row::client, n, tx});
}

void selka_led::set_client_rx_led(unsigned n, const std::string& colour) {
  write({row::client, n, rx}, colour);
}

void selka_led::set_client_tx_led(unsigned n, const std::string& colour) {
  write({row::client, n, tx}, colour);
}

}  // namespace device::hardware
