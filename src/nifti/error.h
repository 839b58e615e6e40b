#pragma once

#include <stdexcept>

namespace nifti {

/// Every fault of this folder: one sentence that names the file and what is wrong with it.
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace nifti
