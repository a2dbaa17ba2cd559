// What every command of lumoractl needs: the connected tree, how to print, and the common options.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "platform/wire/json.h"

namespace CLI {
class App;
}
namespace nx {
class line_client;
}

namespace tools::ctl {

struct context {
  nx::line_client& tree;
  bool json = false;  ///< the tree's own JSON instead of text for people
  bool bare = false;  ///< only values, without paths and units
  std::chrono::milliseconds timeout{5000};

  /// One request for one path; `more` is added to its params (",\"value\":1"). Throws
  /// nx_client_exception, and usage_error for a pattern that the tree does not support.
  nx::json_document ask(const std::string& method, const std::string& path,
                        const std::string& more = "") const;
};

/// The command chosen on the command line; returns the exit code.
using action = std::function<int(context&)>;

// Each declares its commands with their options and examples, and sets `chosen` if one is given.
void declare_read_commands(CLI::App& app, action& chosen);
void declare_list_commands(CLI::App& app, action& chosen);
void declare_write_commands(CLI::App& app, action& chosen);
void declare_watch_command(CLI::App& app, action& chosen);
void declare_explain_commands(CLI::App& app, action& chosen);
void declare_file_commands(CLI::App& app, action& chosen);

}  // namespace tools::ctl
