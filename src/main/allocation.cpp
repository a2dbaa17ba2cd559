#include "main/allocation.h"

#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <new>
#include <string_view>

namespace {

std::atomic<int> end_status{1};

// Nothing here may allocate.
[[noreturn]] void tell_and_end() {
  constexpr std::string_view text = "lumora_manager: out of memory, ending\n";
  [[maybe_unused]] const auto written = ::write(STDERR_FILENO, text.data(), text.size());
  ::_exit(end_status);
}

void* told_if_null(void* memory, std::size_t size) {
  if (memory == nullptr && size > 0) tell_and_end();
  return memory;
}

}  // namespace

void end_without_memory(int status) {
  end_status = status;
  std::set_new_handler(tell_and_end);
}

extern "C" {

void* __real_malloc(std::size_t size);  // the linker's names
void* __real_realloc(void* memory, std::size_t size);

void* __wrap_malloc(std::size_t size) {
  return told_if_null(__real_malloc(size), size);
}

void* __wrap_realloc(void* memory, std::size_t size) {
  return told_if_null(__real_realloc(memory, size), size);
}
}
