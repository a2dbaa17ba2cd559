// Why the lab cannot go on.
#pragma once

#include <stdexcept>
#include <string>

namespace tools::lab {

class lab_failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The user has ended the lab: no failure, only a way out of a wait.
struct interrupted {};

/// The system does not let the lab have network namespaces.
class link_refused : public lab_failure {
 public:
  using lab_failure::lab_failure;
};

}  // namespace tools::lab
