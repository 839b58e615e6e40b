#pragma once

#include <stdexcept>

/// A failure that the user can do something about: one sentence that names the file and the
/// fault, without an "Error: " in front (whoever shows it adds that).
class HostError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};
