#include "helpers/small_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/wire/nx_error.h"

namespace helpers {
namespace {

struct descriptor {
  explicit descriptor(int opened) : number(opened) {}
  ~descriptor() {
    if (number >= 0) ::close(number);
  }
  descriptor(const descriptor&) = delete;
  descriptor& operator=(const descriptor&) = delete;
  const int number;
};

}  // namespace

std::string read_small_file(const std::string& path, std::size_t most_bytes) {
  // Without O_NONBLOCK opening a pipe would wait for a writer.
  const descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat found {};
  if (file.number < 0 || ::fstat(file.number, &found) != 0) return {};
  if (!S_ISREG(found.st_mode)) throw nx_error(nx_error::invalid, path + " is not a regular file");
  std::string text(most_bytes + 1, '\0');
  std::size_t size = 0;
  for (ssize_t more = 1; more > 0 && size < text.size(); size += static_cast<std::size_t>(more)) {
    more = ::read(file.number, text.data() + size, text.size() - size);
    if (more <= 0) break;
  }
  if (size > most_bytes) {
    throw nx_error(nx_error::invalid, fmt::format("{} is longer than {} bytes", path, most_bytes));
  }
  text.resize(size);
  return text;
}

}  // namespace helpers
