// A temporary folder, removed with the object. Its path is short: unix sockets in it must fit into
// 108 bytes.
#pragma once

#include <string>

namespace test {

class temp_folder {
 public:
  temp_folder();
  ~temp_folder();
  temp_folder(const temp_folder&) = delete;
  temp_folder& operator=(const temp_folder&) = delete;

  const std::string& path() const { return path_; }
  /// The path of a file below it.
  std::string file(const std::string& name) const { return path_ + "/" + name; }
  /// Writes a file below it, with the folders on the way.
  std::string write(const std::string& name, const std::string& text) const;

 private:
  std::string path_;
};

}  // namespace test
