#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "dataset/index.h"

/// The words of filter files for what names tell of an image.
namespace mirel::dataset {

struct FilterKey {
  std::string_view name;    ///< "acquisition"
  std::string_view entity;  ///< "acq", as in file names; or datatype, suffix, extension
  bool isNumber = false;    ///< leading zeros do not count

  /// Of an image; empty where there is none.
  std::string valueOf(const IndexedImage& image) const;
  /// A value in one spelling: numbers without leading zeros, an extension with its dot.
  std::string plain(const std::string& value) const;
};

/// By either name; null where there is none.
const FilterKey* filterKey(std::string_view name);

/// The long names of all, parted by commas.
std::string filterKeyNames();

}  // namespace mirel::dataset
