#include "average/volumechoice.h"

#include <algorithm>
#include <charconv>
#include <numeric>
#include <set>
#include <string_view>

#include "base/error.h"
#include "base/numbertext.h"
#include "nifti/gradients.h"

namespace mirel {

namespace {

constexpr int mostListed = 100000;  // a range of more is a slip of the pen

std::optional<int> indexOf(std::string_view word) {
  int index = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), index);
  if (error != std::errc() || end != word.data() + word.size() || index < 0) return std::nullopt;
  return index;
}

// "7" or "7-9"; false where it is neither.
bool addRange(std::string_view word, std::set<int>& volumes) {
  const std::size_t dash = word.find('-');
  const std::optional<int> first = indexOf(word.substr(0, dash));
  const std::optional<int> last =
      dash == std::string_view::npos ? first : indexOf(word.substr(dash + 1));
  if (!first || !last || *last < *first || *last - *first > mostListed) return false;
  for (int n = 0; n <= *last - *first; ++n)
    volumes.insert(*first + n);  // *last may be the greatest
  return true;
}

std::vector<int> unweightedOf(const std::string& file, int volumes) {
  const std::string bvalFile = nifti::gradientFileOf(file, ".bval");
  if (bvalFile.empty())
    throw Error(file, "has no .bval file beside it, which would tell its b = 0 volumes");
  std::vector<int> found = nifti::unweightedVolumes(nifti::readBValues(bvalFile, volumes));
  if (found.empty())
    throw Error(bvalFile, "tells of no volume of " + file + " with a b-value of at most " +
                              text(static_cast<double>(nifti::greatestUnweighted)) + " s/mm2");
  return found;
}

void refuseMixed(const std::vector<int>& chosen, const std::string& file, int volumes) {
  const std::string bvalFile = nifti::gradientFileOf(file, ".bval");
  if (bvalFile.empty()) return;
  const std::vector<int> all = nifti::unweightedVolumes(nifti::readBValues(bvalFile, volumes));
  const auto unweighted = std::count_if(chosen.begin(), chosen.end(), [&](int n) {
    return std::binary_search(all.begin(), all.end(), n);
  });
  if (unweighted == 0 || unweighted == static_cast<std::ptrdiff_t>(chosen.size())) return;
  throw Error(file, "has diffusion weighting in " +
                        std::to_string(static_cast<std::ptrdiff_t>(chosen.size()) - unweighted) +
                        " of the " + std::to_string(chosen.size()) +
                        " volumes chosen and none in the others (" + bvalFile +
                        "): they cannot be joined to one image");
}

}  // namespace

std::optional<VolumeChoice> volumeChoiceOf(const std::string& text) {
  if (text == "b0") return VolumeChoice{VolumeChoice::Kind::unweighted, {}};
  if (text == "all") return VolumeChoice{VolumeChoice::Kind::all, {}};
  std::set<int> volumes;
  for (std::string_view rest = text;;) {
    const std::size_t comma = rest.find(',');
    if (!addRange(rest.substr(0, comma), volumes)) return std::nullopt;
    if (comma == std::string_view::npos) break;
    rest.remove_prefix(comma + 1);
  }
  return VolumeChoice{VolumeChoice::Kind::listed, {volumes.begin(), volumes.end()}};
}

std::vector<int> chosenVolumes(const VolumeChoice& choice, const std::string& file,
                               const nifti::Header& header) {
  if (choice.kind == VolumeChoice::Kind::unweighted) return unweightedOf(file, header.volumes);
  std::vector<int> chosen = choice.listed;
  if (choice.kind == VolumeChoice::Kind::all) {
    chosen.resize(static_cast<std::size_t>(header.volumes));
    std::iota(chosen.begin(), chosen.end(), 0);
  }
  if (!chosen.empty() && chosen.back() >= header.volumes)
    throw Error(file, "has " + counted(header.volumes, "volume") +
                          ", counted from 0: there is no volume " + std::to_string(chosen.back()));
  refuseMixed(chosen, file, header.volumes);
  return chosen;
}

}  // namespace mirel
