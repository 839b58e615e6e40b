#include "nifti/filename.h"

#include <cstring>

namespace mirel::nifti {

namespace {

/// And is longer than the ending.
bool endsWith(const std::string& text, const std::string& end) {
  return text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

}  // namespace

bool hasNiftiName(const std::string& fileName) {
  return endsWith(fileName, ".nii") || endsWith(fileName, ".nii.gz");
}

std::string niftiStem(const std::string& fileName) {
  for (const char* end : {".nii.gz", ".nii"})
    if (endsWith(fileName, end)) return fileName.substr(0, fileName.size() - std::strlen(end));
  return fileName;
}

}  // namespace mirel::nifti
