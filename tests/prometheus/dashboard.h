// The queries of the shipped dashboard, each for all nodes. Throws std::runtime_error without it.
#pragma once

#include <string>
#include <vector>

namespace test {

/// Those that each node answers.
std::vector<std::string> dashboard_queries();
/// Those about a certificate, which only a gateway with TLS has.
std::vector<std::string> certificate_queries();

}  // namespace test
