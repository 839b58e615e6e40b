#include "dataset/filter.h"

#include <algorithm>

#include "base/joined.h"

namespace mirel::dataset {

bool ImageFilter::Condition::holds(const IndexedImage& image) const {
  const std::string value = what->plain(what->valueOf(image));
  if (value.empty()) return allowsNone;
  return allowsAny || std::find(values.begin(), values.end(), value) != values.end();
}

std::string ImageFilter::Condition::text() const {
  if (allowsAny) return allowsNone ? "any " + key : "some " + key;
  if (values.empty()) return "no " + key;
  return key + " " + joined(values) + (allowsNone ? " or none" : "");
}

bool ImageFilter::Filter::isFor(const IndexedImage& image) const {
  if (image.datatype == "fmap") return name == "fmap";
  return name == image.suffix() || (name == "perf" && image.datatype == "perf");
}

const ImageFilter::Condition* ImageFilter::Filter::broken(const IndexedImage& image) const {
  const auto found = std::find_if(conditions.begin(), conditions.end(),
                                  [&](const Condition& one) { return !one.holds(image); });
  return found == conditions.end() ? nullptr : &*found;
}

std::string ImageFilter::whyNot(const IndexedImage& image) const {
  for (const Filter& filter : filters) {
    if (!filter.isFor(image)) continue;
    if (const Condition* broken = filter.broken(image))
      return "left out by " + file + ", whose filter " + filter.name + " asks for " +
             broken->text();
  }
  return "";
}

std::vector<Remark> ImageFilter::warnings(const std::vector<IndexedImage>& images) const {
  std::vector<Remark> remarks;
  for (const Filter& filter : filters) {
    const auto concerns = [&](const IndexedImage& image) { return filter.isFor(image); };
    const auto wants = [&](const IndexedImage& image) {
      return filter.isFor(image) && filter.broken(image) == nullptr;
    };
    if (std::any_of(images.begin(), images.end(), concerns) &&
        std::none_of(images.begin(), images.end(), wants))
      remarks.emplace_back("the filter " + filter.name + " in " + file +
                           " leaves none of the images that it is for");
  }
  return remarks;
}

}  // namespace mirel::dataset
