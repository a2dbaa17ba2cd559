// The folder that contains everything of one lab: sockets, logs, the board's file, the store.
// Removed when the lab ends, unless it is to be kept.
#pragma once

#include <filesystem>
#include <string>

namespace tools::lab {

class lab_folder {
 public:
  /// Created under TMPDIR or /tmp. Throws lab_failure.
  explicit lab_folder(bool keep);
  ~lab_folder();
  lab_folder(const lab_folder&) = delete;
  lab_folder& operator=(const lab_folder&) = delete;

  /// From now on it is kept: somebody will want to read the logs.
  void keep() { keep_ = true; }
  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path logs() const { return path_ / "logs"; }
  /// The near node's "/", the value of its NX_ROOT; the far node's is the folder "far" in it.
  std::filesystem::path root(unsigned node) const;

 private:
  std::filesystem::path path_;
  bool keep_;
};

}  // namespace tools::lab
