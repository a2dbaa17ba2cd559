// Preloaded into a program: its wall clock, and no other clock, is off by the number of seconds in
// the file named by TEST_WALL_CLOCK at that moment. If a program waits by the wall clock, its
// deadlines then mean nothing to the kernel.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>

namespace {

const volatile std::int64_t* mapped_shift() {
  const char* file = std::getenv("TEST_WALL_CLOCK");
  const int descriptor = file != nullptr ? ::open(file, O_RDONLY | O_CLOEXEC) : -1;
  if (descriptor < 0) std::abort();
  const auto* shift = ::mmap(nullptr, sizeof(std::int64_t), PROT_READ, MAP_SHARED, descriptor, 0);
  ::close(descriptor);
  if (shift == MAP_FAILED) std::abort();
  return static_cast<const volatile std::int64_t*>(shift);
}

}  // namespace

extern "C" {

int clock_gettime(clockid_t clock, timespec* time) noexcept {
  static const volatile std::int64_t* const shift = mapped_shift();
  const auto failed = static_cast<int>(::syscall(SYS_clock_gettime, clock, time));
  const bool wall = clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE;
  if (failed == 0 && wall) time->tv_sec += *shift;
  return failed;
}

int gettimeofday(timeval* time, void*) noexcept {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  *time = {now.tv_sec, now.tv_nsec / 1000};
  return 0;
}

time_t time(time_t* to) noexcept {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  if (to != nullptr) *to = now.tv_sec;
  return now.tv_sec;
}
}
