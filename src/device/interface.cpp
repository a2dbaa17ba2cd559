#include "device/interface.h"

#include <exception>

namespace device {

std::set<unsigned> interface::subscribe_channels(const std::vector<unsigned>& channels) {
  std::set<unsigned> failed;
  std::exception_ptr first;
  for (const unsigned channel : channels) {
    try {
      subscribe_channel(channel);
    } catch (...) {
      failed.insert(channel);
      if (!first) first = std::current_exception();
    }
  }
  if (first && failed.size() == channels.size()) std::rethrow_exception(first);
  return failed;
}

}  // namespace device
