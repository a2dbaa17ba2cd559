// How much greedy clients delay a device's answers, within one process as in the daemon: a thread
// that calls the device as the loops do, and a tree that clients read meanwhile.
#pragma once

#include <string>

namespace bench {

/// The p99 of a device call while eight clients pipeline `info **`, relative to that without them
/// just before: the median of seven rounds.
/// `device` is a socket with "data/txPower"; `folder` is for a socket of the tree.
double disturbed_device_calls(const std::string& device, const std::string& folder);

}  // namespace bench
