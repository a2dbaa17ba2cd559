// What every command of lumoractl works with: the connected tree, how to print, and the options
// that all commands share.
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
  bool bare = false;  ///< values alone, without paths and units
  std::chrono::milliseconds timeout{5000};

  /// One request on one path, with `more` behind the path in its params (",\"value\":1").
  /// Throws nx_client_exception, and usage_error on a pattern that the tree does not know.
  nx::json_document ask(const std::string& method, const std::string& path,
                        const std::string& more = "") const;
};

/// The command that the command line asks for; gives the exit code.
using action = std::function<int(context&)>;

// Each declares its commands with their options and examples, and sets `chosen` when one is given.
void declare_read_commands(CLI::App& app, action& chosen);
void declare_list_commands(CLI::App& app, action& chosen);
void declare_write_commands(CLI::App& app, action& chosen);
void declare_watch_command(CLI::App& app, action& chosen);
void declare_explain_commands(CLI::App& app, action& chosen);
void declare_file_commands(CLI::App& app, action& chosen);

}  // namespace tools::ctl
