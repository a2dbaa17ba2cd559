// A LED panel without a nexel: remembers colours and the order of the writes, and fails when told
// to.
#pragma once

#include <fmt/format.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "device/interfaces/led.h"
#include "platform/nexel_client/nx_client_exception.h"
#include "platform/wire/nx_error.h"

namespace test {

class fake_panel : public device::interfaces::led {
 public:
  unsigned client_count = 40;
  bool ready = true;
  /// Called before each access with its name ("client 3 rx", "ready"); may throw.
  std::function<void(const std::string&)> before_access = [](const std::string&) {};

  std::map<std::string, std::string> colours;  ///< by name
  std::vector<std::string> writes;             ///< "client 3 rx green"

  /// The names that are green, in the map's order, joined by commas.
  std::string green() const {
    std::string all;
    for (const auto& [name, colour] : colours) {
      if (colour == "green") all += (all.empty() ? "" : ", ") + name;
    }
    return all;
  }

  bool is_operational() override {
    before_access("ready");
    return ready;
  }
  std::string get_xc_rx_led(unsigned n) override { return read(fmt::format("xc {} rx", n)); }
  std::string get_xc_tx_led(unsigned n) override { return read(fmt::format("xc {} tx", n)); }
  void set_xc_rx_led(unsigned n, const std::string& colour) override {
    write(fmt::format("xc {} rx", n), colour);
  }
  void set_xc_tx_led(unsigned n, const std::string& colour) override {
    write(fmt::format("xc {} tx", n), colour);
  }
  std::string get_line_rx_led() override { return read("line rx"); }
  std::string get_line_tx_led() override { return read("line tx"); }
  void set_line_tx_led(const std::string& colour) override { write("line tx", colour); }
  void set_line_rx_led(const std::string& colour) override { write("line rx", colour); }
  std::string get_client_rx_led(unsigned n) override {
    return read(fmt::format("client {} rx", n));
  }
  std::string get_client_rx_led_or_end(unsigned n) override {
    if (n == 0 || n > client_count) return "end";
    return read(fmt::format("client {} rx", n));
  }
  std::string get_client_tx_led(unsigned n) override {
    return read(fmt::format("client {} tx", n));
  }
  void set_client_rx_led(unsigned n, const std::string& colour) override {
    write(fmt::format("client {} rx", n), colour);
  }
  void set_client_tx_led(unsigned n, const std::string& colour) override {
    write(fmt::format("client {} tx", n), colour);
  }

  bool has_subscriber() override { return false; }
  std::optional<std::shared_ptr<device::subscriber>> get_subscriber() override { return {}; }
  void subscribe_channel(unsigned) override {}
  void unsubscribe_channel(unsigned) override {}
  void subscribe() override {}
  void unsubscribe() override {}
  unsigned get_channel_subscribe_count() override { return 0; }
  bool has_channel(unsigned) override { return false; }

 private:
  std::string read(const std::string& name) {
    before_access(name);
    const auto found = colours.find(name);
    return found == colours.end() ? "off" : found->second;
  }
  void write(const std::string& name, const std::string& colour) {
    before_access(name);
    colours[name] = colour;
    writes.push_back(name + " " + colour);
  }
};

/// The LEDs of a model with a fake panel. Its thread ends at once, so that the test drives the
/// passes.
template <class Model>
class driven_leds : public Model {
 public:
  void led_poll() override {}
  bool needs_update() const { return this->needs_update_; }
};

template <class Model>
struct led_bench {
  led_bench() {
    leds->set_led(panel);
    leds->start(false);
  }
  ~led_bench() { leds->stop(); }

  std::shared_ptr<fake_panel> panel = std::make_shared<fake_panel>();
  std::shared_ptr<driven_leds<Model>> leds = std::make_shared<driven_leds<Model>>();
};

}  // namespace test
