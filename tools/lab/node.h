// One node of the lab: the daemon below the node's own root folder, and links to its tree, to the
// panel and to the plant's truth.
#pragma once

#include <string>
#include <vector>

#include "tools/lab/lab_folder.h"
#include "tools/lab/plant_service.h"
#include "tools/lab/store.h"
#include "tools/lab/supervisor.h"
#include "tools/lab/tree_link.h"
#include "tools/lab/view_model.h"

namespace tools::lab {

struct node_options {
  unsigned number = 0;  ///< 0 is the near node, 1 the far one
  std::string name;     ///< of its log
  std::string root;     ///< its NX_ROOT
  std::string product;
  std::string interface;                ///< of the supervisory link
  std::vector<std::string> enter_with;  ///< command in front of the daemon's, to run it elsewhere
};

class node {
 public:
  /// Starts the daemon and waits until it serves its tree. Throws lab_failure, `interrupted`.
  node(supervisor& programs, const lab_folder& folder, const store& keys, plant_service& plant,
       node_options what);

  /// Plays the management software's part: waits for the daemon's request, adds the channels where
  /// the model has no fixed ones, and says that the configuration has been written.
  void configure(supervisor& programs);

  /// Switches the lasers on that the topology lights.
  void light_up() { plant_.light_up(what_.number); }
  unsigned lasers() const { return static_cast<unsigned>(plant_.lasers(what_.number).size()); }

  /// Everything that the view is made of, as it is now; `answers` is false when the daemon did not.
  view look();

  const std::string& product() const { return what_.product; }
  unsigned number() const { return what_.number; }
  const std::string& name() const { return what_.name; }
  const std::string& daemon_log() const { return daemon_log_; }

 private:
  void start_daemon(supervisor& programs, const store& keys);
  void add_channels();
  void write_daemon(const std::string& path, const std::string& value);
  void read_events(const readings& read);

  node_options what_;
  plant_service& plant_;
  std::string daemon_log_;
  tree_link daemon_;
  tree_link panel_;
  std::string newest_event_;  // as `insight/log` reads; its history is fetched when it changes
  std::vector<insight::event> events_;
};

}  // namespace tools::lab
