#include "tools/lab/lab_folder.h"

#include <fmt/format.h>
#include <sys/un.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include "tools/lab/lab_failure.h"

namespace tools::lab {

namespace {

// The longest socket path under a node's root, with some room for longer names.
constexpr std::size_t longest_inside = 64;

}  // namespace

lab_folder::lab_folder(bool keep) : keep_(keep) {
  const char* where = std::getenv("TMPDIR");
  auto base = std::string(where != nullptr && *where != '\0' ? where : "/tmp");
  if (base.size() + longest_inside > sizeof(sockaddr_un::sun_path)) base = "/tmp";
  auto name = base + "/lumora-lab-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) {
    throw lab_failure(fmt::format("cannot make a folder in {}: {}", base,
                                  std::generic_category().message(errno)));
  }
  path_ = name;
  std::filesystem::create_directory(logs());
}

lab_folder::~lab_folder() {
  if (keep_) return;
  std::error_code ignored;  // nothing can be done about it at this point
  std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path lab_folder::root(unsigned node) const {
  return node == 0 ? path_ / "node" : path_ / "node" / "far";
}

}  // namespace tools::lab
