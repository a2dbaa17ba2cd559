// The queries of the shipped dashboard, each for all nodes. Throws std::runtime_error without it.
#pragma once

#include <string>
#include <vector>

namespace test {

std::vector<std::string> dashboard_queries();

}  // namespace test
