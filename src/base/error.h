#pragma once

#include <stdexcept>

namespace mirel {

/// A failure that the user can do something about: one sentence that names the file and the
/// fault, without an "Error: " in front (whoever shows it adds that).
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace mirel
