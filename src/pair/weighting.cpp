#include "pair/weighting.h"

#include <algorithm>

#include "base/error.h"
#include "base/numbertext.h"
#include "nifti/gradients.h"

namespace mirel {

namespace {

constexpr std::size_t namedAtMost = 5;

std::string unweightedOf(const std::vector<float>& bValues) {
  const std::vector<int> found = nifti::unweightedVolumes(bValues);
  if (found.empty()) return "none of its volumes has";
  std::string list = found.size() == 1 ? "its volume " : "its volumes ";
  for (std::size_t n = 0; n < std::min(found.size(), namedAtMost); ++n)
    list += (n == 0 ? "" : ", ") + std::to_string(found[n]);
  if (found.size() > namedAtMost) list += ", ...";
  return list + (found.size() == 1 ? " has" : " have");
}

}  // namespace

void checkWeighting(const ImageDescription& image, PairInput& pair) {
  const std::string& file = image.options.file;
  const std::string bvalFile = nifti::gradientFileOf(file, ".bval");
  if (bvalFile.empty()) return;
  std::vector<float> bValues;
  try {
    bValues = nifti::readBValues(bvalFile, image.header.volumes);
  } catch (const Error& error) {
    pair.warnings.push_back(error.what() + (": whether " + image.title()) +
                            " is diffusion-weighted is not known");
    return;
  }
  float greatest = 0;
  for (const int n : image.volumesTaken())
    greatest = std::max(greatest, bValues[static_cast<std::size_t>(n)]);
  if (greatest <= nifti::greatestUnweighted) return;
  pair.notes.emplace_back(image.title() + " is diffusion-weighted: it has a b-value of " +
                              text(static_cast<double>(greatest)) + " s/mm2 (" + bvalFile +
                              "), while " + unweightedOf(bValues) + " at most " +
                              text(static_cast<double>(nifti::greatestUnweighted)),
                          Advice{Advice::Kind::seeVolumes});
}

}  // namespace mirel
