// One node of the lab: the daemon under its own root folder, and links to its tree, to the panel
// and to the plant's truth.
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
  std::vector<std::string> enter_with;  ///< command prefix that runs the daemon elsewhere
};

class node {
 public:
  /// Starts the daemon and waits until it serves its tree. Throws lab_failure, `interrupted`.
  node(supervisor& programs, const lab_folder& folder, const store& keys, plant_service& plant,
       node_options what);

  /// Plays the part of the management software: waits for the daemon's request, adds the channels
  /// if the model has no fixed ones, and says that the configuration has been written.
  void configure(supervisor& programs);

  /// Switches on the lasers that the topology lights.
  void light_up() { plant_.light_up(what_.number); }
  unsigned lasers() const { return static_cast<unsigned>(plant_.lasers(what_.number).size()); }

  /// Everything the view is made of, as of now; `answers` is false if the daemon did not answer.
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
  std::string newest_event_;  // the value of `insight/log`; its history is fetched when it changes
  std::vector<insight::event> events_;
};

}  // namespace tools::lab
