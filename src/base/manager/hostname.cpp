#include "base/manager/hostname.h"

#include <unistd.h>

#include <array>
#include <boost/system/system_error.hpp>
#include <cerrno>

namespace manager {

std::string read_hostname() {
  std::array<char, 1024> buffer{};
  if (gethostname(buffer.data(), buffer.size() - 1) != 0) {
    throw boost::system::system_error(errno, boost::system::system_category());
  }
  return buffer.data();
}

}  // namespace manager
