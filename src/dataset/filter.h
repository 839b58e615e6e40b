#pragma once

#include <string>
#include <vector>

#include "base/error.h"
#include "base/json.h"
#include "dataset/filterkeys.h"
#include "dataset/index.h"

namespace mirel::dataset {

/// What was asked for is not in the dataset, or cannot be understood: a mistake of who asked.
class WrongSelection : public Error {
 public:
  using Error::Error;
};

/// Which images a user wants, by a JSON file as the programs for datasets have it in common:
///
///   {"bold": {"task": ["rest", "nback"], "run": 1}, "fmap": {"acquisition": null}}
///
/// Filters   bold, sbref, dwi, asl, m0scan: images of that suffix that are not in fmap; perf: all
///           in perf; fmap: all in fmap. Those of images that are never corrected (t1w, t2w, flair,
///           pet, roi) are taken and hold for nothing.
/// Keys      entities by their long names or by those in file names (acquisition, acq), datatype,
///           suffix, extension.
/// Values    a text or a number; a list of them, of which one has to hold; null: it must not be
///           there; "*": it must be there. Of run, echo, flip, inversion and chunk leading zeros do
///           not count.
///
/// An image is wanted when every key of every filter for its kind holds.
class ImageFilter {
 public:
  /// Wants all.
  ImageFilter() = default;
  /// Errors  WrongSelection, naming file, filter and key: it cannot be read, is not JSON of this
  ///         form, has a filter or a key of another name.
  explicit ImageFilter(const std::string& fileName);

  /// Why an image is not wanted, in words that go on after "it is "; empty where it is.
  std::string whyNot(const IndexedImage& image) const;
  /// A warning for every filter that is for some of the images, but wants none of them.
  std::vector<Remark> warnings(const std::vector<IndexedImage>& images) const;

 private:
  struct Condition {
    std::string key;  ///< as it was written
    const FilterKey* what;
    std::vector<std::string> values;
    bool allowsNone = false, allowsAny = false;

    bool holds(const IndexedImage& image) const;
    std::string text() const;
  };
  struct Filter {
    std::string name;
    std::vector<Condition> conditions;

    bool isFor(const IndexedImage& image) const;
    const Condition* broken(const IndexedImage& image) const;
  };

  void addFilter(const std::string& name, const Json& conditions);
  Condition conditionOf(const std::string& filter, const std::string& key, const Json& value) const;
  [[noreturn]] void fail(const std::string& fault) const;

  std::string file;
  std::vector<Filter> filters;
};

}  // namespace mirel::dataset
