#include "tests/system/crowd.h"

#include <rapidjson/document.h>

#include <chrono>
#include <utility>

#include "platform/nexel_client/line_client.h"
#include "platform/wire/nx_client_exception.h"

namespace test {

crowd::crowd(std::string socket, unsigned clients) : socket_(std::move(socket)) {
  constexpr unsigned threads = 2;
  for (unsigned i = 0; i < threads; ++i)
    threads_.emplace_back([this, i, clients] { mingle(i, clients / threads); });
}

crowd::~crowd() {
  stop_ = true;
}

void crowd::mingle(unsigned seed, unsigned clients) {
  std::mt19937 random(seed);
  std::vector<std::unique_ptr<nx::line_client>> sessions(clients);
  while (!stop_) {
    auto& session = sessions[random() % clients];
    try {
      act(session, static_cast<unsigned>(random() % 8));
    } catch (const nx_client_exception&) {
      session.reset();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

void crowd::act(std::unique_ptr<nx::line_client>& session, unsigned choice) {
  if (!session) {
    session = nx::line_client::connect_unix(socket_);
    ++connections_;
  } else if (choice == 0) {
    session.reset();
  } else if (choice == 1) {
    session->send_raw(R"({"jsonrpc":"2.0","id":1,"method":"get",)");
    session.reset();
  } else {
    session->call(choice == 2 ? "subscribe" : "get", R"({"path":"data/client/*/rx/power"})");
    ++answers_;
  }
}

}  // namespace test
