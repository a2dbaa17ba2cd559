// Why the lab cannot continue.
#pragma once

#include <stdexcept>
#include <string>

namespace tools::lab {

class lab_failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The user has ended the lab: not a failure, only a way out of a wait.
struct interrupted {};

/// The system does not allow the lab network namespaces.
class link_refused : public lab_failure {
 public:
  using lab_failure::lab_failure;
};

}  // namespace tools::lab
