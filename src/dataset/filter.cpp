#include "dataset/filter.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "base/inputfile.h"
#include "base/isoneof.h"
#include "base/joined.h"
#include "base/json.h"
#include "base/numbertext.h"

namespace mirel::dataset {

namespace {

constexpr std::uintmax_t largestFile = 1U << 20U;

constexpr std::array<std::string_view, 7> ownFilters = {"bold", "sbref",  "dwi", "asl",
                                                        "perf", "m0scan", "fmap"};
constexpr std::array<std::string_view, 5> otherFilters = {"t1w", "t2w", "flair", "pet", "roi"};

}  // namespace

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

void ImageFilter::fail(const std::string& fault) const { throw WrongSelection(file, fault); }

ImageFilter::ImageFilter(const std::string& fileName) : file(fileName) {
  std::string text;
  try {
    text = readWholeFile(file, largestFile);
  } catch (const Error& error) {
    throw WrongSelection(error.what());
  }
  const std::optional<Json> json = Json::parse(text);
  if (!json) fail("is not valid JSON");
  if (!json->is_object()) fail("is JSON, but not an object with named filters");
  for (const auto& [name, conditions] : json->items()) addFilter(name, conditions);
}

void ImageFilter::addFilter(const std::string& name, const Json& conditions) {
  if (!isOneOf(name, ownFilters) && !isOneOf(name, otherFilters)) {
    const std::vector<std::string> known(ownFilters.begin(), ownFilters.end());
    fail("has a filter " + name + ": there are " + joined(known));
  }
  if (!conditions.is_object()) fail("has a filter " + name + " that is no object of keys");
  Filter filter{name, {}};
  for (const auto& [key, value] : conditions.items())
    filter.conditions.push_back(conditionOf(name, key, value));
  if (isOneOf(name, ownFilters)) filters.push_back(std::move(filter));
}

ImageFilter::Condition ImageFilter::conditionOf(const std::string& filter, const std::string& key,
                                                const Json& value) const {
  const FilterKey* known = filterKey(key);
  if (known == nullptr)
    fail("has a key " + key + " in its filter " + filter + ": there are " + filterKeyNames());
  if (value.is_array() && value.list().empty())
    fail("has an empty list of " + key + " in its filter " + filter);
  Condition condition{key, known, {}};
  for (const Json& one : value.is_array() ? value.list() : Json::List{value}) {
    if (one.is_null())
      condition.allowsNone = true;
    else if (one.is_number())
      condition.values.push_back(text(one.number()));
    else if (!one.is_string() || one.string().empty())
      fail("has a value of " + key + " in its filter " + filter +
           " that is neither a text, a number nor null");
    else if (one.string() == "*")
      condition.allowsAny = true;
    else
      condition.values.push_back(known->plain(one.string()));
  }
  return condition;
}

}  // namespace mirel::dataset
