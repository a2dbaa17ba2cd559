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
#include "helpers/waiting.h"
#include "tests/support/fake_device.h"
#include "tests/support/hand_clock.h"

namespace test {

using texts = std::vector<std::string>;
using device::interfaces::led_address;
using device::interfaces::led_write;
using led_answers = std::vector<device::interfaces::led_answer>;

class fake_panel : public fake_device<device::interfaces::led> {
 public:
  using text = const std::string&;
  unsigned client_count = 40;
  /// Called before each access with its name ("client 3 rx", "ready"); may throw.
  std::function<void(text)> before_access = [](text) {};

  std::map<std::string, std::string> colours;  ///< by name
  texts writes;                                ///< "client 3 rx green"
  unsigned exchanges = 0;                      ///< messages of many LEDs

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
    return operational;
  }
  std::string get_xc_rx_led(unsigned n) override { return colour_of(named("xc", n, "rx")); }
  std::string get_xc_tx_led(unsigned n) override { return colour_of(named("xc", n, "tx")); }
  std::string get_line_rx_led() override { return colour_of("line rx"); }
  std::string get_line_tx_led() override { return colour_of("line tx"); }
  std::string get_client_rx_led(unsigned n) override { return colour_of(named("client", n, "rx")); }
  std::string get_client_tx_led(unsigned n) override { return colour_of(named("client", n, "tx")); }
  std::string get_client_rx_led_or_end(unsigned n) override {
    return n == 0 || n > client_count ? "end" : get_client_rx_led(n);
  }
  void set_xc_rx_led(unsigned n, text colour) override { paint(named("xc", n, "rx"), colour); }
  void set_xc_tx_led(unsigned n, text colour) override { paint(named("xc", n, "tx"), colour); }
  void set_line_tx_led(text colour) override { paint("line tx", colour); }
  void set_line_rx_led(text colour) override { paint("line rx", colour); }
  void set_client_rx_led(unsigned n, text colour) override {
    paint(named("client", n, "rx"), colour);
  }
  void set_client_tx_led(unsigned n, text colour) override {
    paint(named("client", n, "tx"), colour);
  }
  led_answers read_together(const std::vector<led_address>& leds) override {
    ++exchanges;
    return each(leds, [this](const led_address& at) { return colour_of(named(at)); });
  }
  led_answers write_together(const std::vector<led_write>& all) override {
    ++exchanges;
    return each(all, [this](const led_write& one) {
      paint(named(one.at), one.colour);
      return one.colour;
    });
  }

 private:
  template <class Items, class Access>
  led_answers each(const Items& items, const Access& access) {
    led_answers answers(items.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
      try {
        answers[i].colour = access(items[i]);
      } catch (...) {
        answers[i].failure = std::current_exception();
      }
    }
    return answers;
  }
  static std::string named(const led_address& at) {
    const char* side = at.rx ? "rx" : "tx";
    if (at.row == led_address::panel_row::line) return std::string("line ") + side;
    return named(at.row == led_address::panel_row::xc ? "xc" : "client", at.number, side);
  }
  static std::string named(const char* row, unsigned number, const char* side) {
    return fmt::format("{} {} {}", row, number, side);
  }
  std::string colour_of(text name) {
    before_access(name);
    const auto found = colours.find(name);
    return found == colours.end() ? "off" : found->second;
  }
  void paint(text name, text colour) {
    before_access(name);
    colours[name] = colour;
    writes.push_back(name + " " + colour);
  }
};

/// The LEDs of a model with a fake panel. Their own thread ends at once: the test drives the
/// passes, or lends a thread to `poll`.
template <class Model>
class driven_leds : public Model {
 public:
  void led_poll() override {}
  void poll() { Model::led_poll(); }
};

template <class Model>
struct led_bench {
  explicit led_bench(bool coldstart = false) {
    leds->set_led(panel);
    leds->start(coldstart);
  }
  ~led_bench() { leds->stop(); }

  void add_rx(unsigned key, unsigned port) {
    leds->add_rx_channel(key);
    leds->update_rx_port(key, port);
    leds->update_rx_loss_of_signal(key, false);
  }
  void set_line(bool rx_lit, bool tx_enabled) {
    leds->set_line_rx_los(!rx_lit);
    leds->set_line_tx_enabled(tx_enabled);
  }
  texts take_writes() { return std::exchange(panel->writes, {}); }
  /// Runs the LEDs' own thread for so long.
  void run(hand_clock& clock, std::chrono::nanoseconds duration) {
    const auto thread = clock.start_turn_taker([this] { leds->poll(); });
    clock.sleep(duration);
    helpers::waiting::instance().stop();
  }

  std::shared_ptr<fake_panel> panel = std::make_shared<fake_panel>();
  std::shared_ptr<driven_leds<Model>> leds = std::make_shared<driven_leds<Model>>();
};

}  // namespace test
