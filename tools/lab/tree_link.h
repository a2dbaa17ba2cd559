// One tree that the lab reads and writes: the daemon's, a device's, the plant's controls. Connects
// when first used and again after a loss; an absent tree is not a failure of the lab.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/wire/json.h"
#include "tools/common/readings.h"

namespace nx {
class line_client;
}

namespace tools::lab {

class tree_link {
 public:
  explicit tree_link(std::string socket_path);
  ~tree_link();

  bool reachable();
  /// True if the tree has the path, whether or not it has a value yet.
  bool knows(const std::string& path);
  /// Adds the values matching the pattern to `into`, with `prefix` before each path. False if the
  /// tree is absent or refuses.
  bool read(const std::string& pattern, readings& into, const std::string& prefix = "");
  /// The former texts of a path, oldest first; empty if the tree is absent or keeps no history.
  std::vector<std::string> history(const std::string& path);
  /// `value` is JSON text. False if the tree is absent or refuses, with the reason in `refusal`.
  bool write(const std::string& path, const std::string& value);
  const std::string& refusal() const { return refusal_; }

 private:
  bool call(const std::string& method, const std::string& params, nx::json_document& result);

  std::string socket_path_;
  std::unique_ptr<nx::line_client> client_;
  std::string refusal_;
};

}  // namespace tools::lab
