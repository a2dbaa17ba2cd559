// The node's two ladders, "insight/ladder/rx" and "/tx": collects what this node's devices and the
// peer report at one moment, and passes it to the books, which calculate and remember.
//
// look on the manager thread, every two seconds; the getters on any thread, without blocking.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "api/lazy_value.h"
#include "base/insight/device_board.h"
#include "base/insight/ladder_book.h"
#include "platform/wire/json.h"

class nx_db;

namespace manager::remote {
class api;
}

namespace manager {

class ladders : public std::enable_shared_from_this<ladders> {
 public:
  using channels = std::vector<::insight::lit_channel>;

  void setup_api(nx_db& db, const std::string& product);
  bool is_look_due() const;
  /// `out` and `in`: the lit channels as seen by this node's monitors.
  void look(const ::insight::device_board& devices, const std::shared_ptr<remote::api>& peer,
            channels out, channels in);
  /// Nothing is read, so nothing is known.
  void note_idle();

  nx::json_document get_rx();
  nx::json_document get_tx();

 private:
  void refresh();

  ::insight::ladder_book out_{::insight::light_way::rx};
  ::insight::ladder_book in_{::insight::light_way::tx};
  std::vector<std::shared_ptr<nx::api::lazy_node>> nodes_;
  bool switch_inside_ = false;
  bool has_voa_ = true;
  std::chrono::steady_clock::time_point last_look_{};
};

}  // namespace manager
