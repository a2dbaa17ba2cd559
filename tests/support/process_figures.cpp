#include "tests/support/process_figures.h"

#include <malloc.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace test {

process_figures figures_of(pid_t process) {
  const auto folder = "/proc/" + std::to_string(process);
  process_figures found;
  std::ifstream status(folder + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmRSS:")) found.resident_mib = std::stod(line.substr(6)) / 1024.0;
    if (line.starts_with("Threads:"))
      found.threads = static_cast<unsigned>(std::stoul(line.substr(8)));
  }
  if (found.threads == 0) throw std::runtime_error("no process " + std::to_string(process));
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder + "/fd"))
    ++found.descriptors;
  return found;
}

double heap_in_use_mib() {
  return static_cast<double>(::mallinfo2().uordblks) / 1024.0 / 1024.0;
}

}  // namespace test
