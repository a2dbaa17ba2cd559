// Any file in place of the board's calibration: each line is read or reported, and nothing crashes.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>

#include "fuzz/check.h"
#include "helpers/calibration.h"
#include "helpers/logger.h"

namespace {

constexpr int silent = 3;

/// A file in memory, so that a run costs no disk.
const std::string& path_of_file(int& file) {
  static const int handle = ::memfd_create("calibration", MFD_CLOEXEC);
  static const std::string path = "/proc/self/fd/" + std::to_string(handle);
  file = handle;
  return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  int file = -1;
  const auto& path = path_of_file(file);
  if (::ftruncate(file, 0) != 0 || ::pwrite(file, data, size, 0) != static_cast<ssize_t>(size)) {
    std::abort();
  }
  logger::instance().level = silent;
  auto& board = calibration::instance();
  board.reset();
  board.read_calibration_values(path);
  const std::string good = "\nprobe 1.5\n";
  if (::pwrite(file, good.data(), good.size(), static_cast<off_t>(size)) < 0) std::abort();
  board.read_calibration_values(path);
  fuzz::check(board.get_value("probe") == 1.5f, "a bad line does not hide the next one");
  return 0;
}
