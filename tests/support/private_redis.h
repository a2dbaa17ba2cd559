// A Redis server started by a test, on a unix socket under a folder, without files.
#pragma once

#include <memory>
#include <string>

#include "tests/support/process.h"

namespace test {

class private_redis {
 public:
  /// Does not start it. The socket is `folder`/kvs.sock.
  explicit private_redis(const std::string& folder);

  void start();  ///< returns when it accepts connections
  void stop();   ///< its values are lost
  void hang();   ///< it accepts, and answers nothing until `go_on`
  void go_on();

  /// The value for KVS_URL.
  std::string url() const;

  void set(const std::string& key, const std::string& value) const;
  std::string get(const std::string& key) const;
  /// Any command; the text of its answer.
  std::string command(const std::vector<std::string>& words) const;

 private:
  std::string folder_;
  std::unique_ptr<process> server;
};

}  // namespace test
