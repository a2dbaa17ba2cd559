#include "platform/value_tree/server/unix_socket.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "platform/wire/socket_path.h"

namespace nx {
namespace {

constexpr int backlog = 128;

[[noreturn]] void fail(const std::string& what) {
  throw std::runtime_error(what);
}

[[noreturn]] void fail_with_errno(const std::string& what) {
  fail(fmt::format("{}: {}", what, std::generic_category().message(errno)));
}

sockaddr_un address_of(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) {
    fail(fmt::format("Socket path longer than {} bytes: {}", sizeof(address.sun_path) - 1, path));
  }
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return address;
}

owned_fd new_socket() {
  owned_fd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!fd) fail_with_errno("Cannot create a unix socket");
  return fd;
}

int on_address(int (*call)(int, const sockaddr*, socklen_t), int fd, const sockaddr_un& address) {
  return call(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
}

void make_folder(const std::string& path) {
  // The missing levels are open to the same users, whoever starts the process.
  constexpr mode_t mode = 0755;
  std::filesystem::path level;
  for (const auto& name : std::filesystem::path(path).parent_path()) {
    level /= name;
    if (::mkdir(level.c_str(), mode) == 0) {
      ::chmod(level.c_str(), mode);
    } else if (errno != EEXIST && errno != EISDIR && !std::filesystem::is_directory(level)) {
      fail_with_errno("Cannot make the folder of " + path);
    }
  }
}

// Only a socket that nobody listens on is removed; any other kind of file is somebody's data.
void remove_stale(const std::string& path, const sockaddr_un& address) {
  struct stat found {};
  if (::lstat(path.c_str(), &found) != 0) return;
  if (!S_ISSOCK(found.st_mode)) fail("Not a socket: " + path);
  const auto probe = new_socket();
  if (on_address(::connect, probe.get(), address) == 0 || errno == EAGAIN) {
    fail("Another server is alive on " + path);
  }
  if (errno != ECONNREFUSED) fail_with_errno("Cannot tell whether a server is alive on " + path);
  ::unlink(path.c_str());
}

}  // namespace

unix_socket::unix_socket(const std::string& path) : path_(rooted_path(path)) {
  const auto address = address_of(path_);
  make_folder(path_);
  remove_stale(path_, address);
  fd_ = new_socket();
  if (on_address(::bind, fd_.get(), address) != 0) fail_with_errno("Cannot bind " + path_);
  struct stat made {};
  // Nobody can connect before `listen`, so the mode is in place for the first client.
  const bool ready = ::chmod(path_.c_str(), 0660) == 0 && ::stat(path_.c_str(), &made) == 0 &&
                     ::listen(fd_.get(), backlog) == 0;
  if (!ready) {
    const int failure = errno;
    ::unlink(path_.c_str());
    errno = failure;
    fail_with_errno("Cannot listen on " + path_);
  }
  inode_ = made.st_ino;
}

unix_socket::~unix_socket() {
  struct stat present {};
  if (::lstat(path_.c_str(), &present) == 0 && present.st_ino == inode_) ::unlink(path_.c_str());
}

}  // namespace nx
