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

}  // namespace tools::lab
