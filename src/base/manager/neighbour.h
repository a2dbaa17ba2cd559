// The node's view of its neighbour for people: "insight/peer", which says what of the peer cannot
// be read, since when, and what that means here; its begin and end are events. A peer that is away,
// unknown or silent is the line's to tell.
//
// look on the manager thread; the getter on any thread, without blocking.
#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "api/lazy_value.h"
#include "base/insight/peer_gaps.h"
#include "platform/wire/json.h"

class nx_db;

namespace manager::remote {
class api;
}

namespace manager {

class neighbour : public std::enable_shared_from_this<neighbour> {
 public:
  /// A peer that starts, or that sets up one of its devices again, reports errors for a moment.
  static constexpr std::chrono::seconds patience{10};

  void setup_api(nx_db& db);
  /// Once a cycle.
  void look(const std::shared_ptr<remote::api>& peer);
  /// The node does not regulate, and reads nobody.
  void note_idle();

  /// "ORVA-LITE", "ORVA-LITE (its preamp cannot be read)"; empty without a peer.
  std::string brief() const;

  /// Error -61 without a peer.
  nx::json_document get_peer();

 private:
  void show(::insight::peer_view view);
  void tell_changes(const std::vector<::insight::peer_gap>& gaps);

  std::vector<::insight::peer_gap> told_;  ///< in the events; used only by the manager thread
  std::shared_ptr<nx::api::lazy_node> node_;
  mutable std::mutex mutex_;  // guards the view; a leaf
  ::insight::peer_view view_;
};

}  // namespace manager
