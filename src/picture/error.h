#pragma once

#include <stdexcept>

namespace mirel::picture {

/// A picture that cannot be drawn: one sentence that names the file and what is wrong with it.
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace mirel::picture
