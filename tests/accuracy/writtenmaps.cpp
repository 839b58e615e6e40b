#include "accuracy/writtenmaps.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <glm/ext/matrix_transform.hpp>
#include <utility>

#include "field/corrector.h"
#include "nifti/image.h"

namespace mirel {

namespace {

constexpr int alongY = 1;

// Through the region that loses its signal.
int sliceOf(int nx) { return 37 * nx / 64; }

Volume<float> sliceAt(const Volume<float>& image, int x) {
  Volume<float> slice(1, image.ny(), image.nz());
  for (int z = 0; z < image.nz(); ++z)
    for (int y = 0; y < image.ny(); ++y) slice.at(0, y, z) = image.at(x, y, z);
  return slice;
}

Volume<float> correctedMean(const SpoiledPair& pair, const glm::dvec3& voxelMm,
                            const MassPreservingResult& found) {
  const Volume<float>& b = found.shiftVoxels;
  Volume<float> mean = correctVolume(pair.first, b, alongY, Modulation::on);
  mean += correctVolume(secondUnmoved(pair.second, voxelMm, found.motion, b), -b, alongY,
                        Modulation::on);
  return mean *= 0.5F;
}

Volume<float> scoredWhere(const SpoiledPair& pair) {
  Volume<float> image(pair.scored.dimensions());
  for (int i = 0; i < image.size(); ++i) {
    const bool spoiled = pair.spoiled.size() > 0 && pair.spoiled.data()[i] != 0;
    image.data()[i] = spoiled ? 2.0F : static_cast<float>(pair.scored.data()[i]);
  }
  return image;
}

std::string fileWord(const std::string& name) {
  std::string word;
  for (const char c : name)
    if (std::isalnum(static_cast<unsigned char>(c)) != 0) word += c;
  return word;
}

}  // namespace

WrittenMaps::WrittenMaps(std::string into, const MassPreservingOptions& wanted)
    : folder(std::move(into)), options(wanted) {}

std::vector<WrittenMaps::Image> WrittenMaps::imagesOf(const SpoiledPair& pair,
                                                      const glm::dvec3& voxelMm) const {
  MassPreservingOptions one = options;
  one.localRatio = false;
  const MassPreservingResult found =
      estimateMassPreserving(pair.first, pair.second, voxelMm, options);
  const Volume<float> before =
      estimateMassPreserving(pair.first, pair.second, voxelMm, one).shiftVoxels;
  const float mm = static_cast<float>(voxelMm.y);
  return {{"mean", "", correctedMean(pair, voxelMm, found)},
          {"truth_vdm", "voxels", pair.shiftVoxels},
          {"vdm", "voxels", found.shiftVoxels},
          {"oneratio_vdm", "voxels", before},
          {"error", "mm", (found.shiftVoxels - pair.shiftVoxels) * mm},
          {"oneratio_error", "mm", (before - pair.shiftVoxels) * mm},
          {"scored_mask", "", scoredWhere(pair)}};
}

void WrittenMaps::write(const std::string& start, const Image& image,
                        const glm::dvec3& voxelMm) const {
  nifti::Header header;
  header.dims = image.values.dimensions();
  header.setAffine(glm::scale(glm::dmat4(1.0), voxelMm), 1);
  const std::string stem = folder + "/" + start + "_" + image.suffix;
  nifti::Writer writer(stem + ".nii.gz", header);
  writer.write(image.values);
  writer.finish();
  if (!image.unit.empty())
    std::ofstream(stem + ".json") << "{\"Units\": \"" << image.unit << "\"}\n";
}

void WrittenMaps::add(const std::string& name, const SpoiledPair& pair, const glm::dvec3& voxelMm) {
  std::vector<Image> images = imagesOf(pair, voxelMm);
  const std::string number = std::to_string(slices.size() + 1);
  for (Image& image : images) {
    write((number.size() < 2 ? "0" : "") + number + fileWord(name), image, voxelMm);
    image.values = sliceAt(image.values, sliceOf(image.values.nx()));
  }
  slices.push_back(std::move(images));
  const glm::ivec3 one = slices.front().front().values.dimensions();
  for (std::size_t k = 0; k < slices.front().size(); ++k) {
    Image all = slices.front()[k];
    all.values = Volume<float>(static_cast<int>(slices.size()), one.y, one.z, 0.0F);
    for (std::size_t row = 0; row < slices.size(); ++row) {
      const Volume<float>& from = slices[row][k].values;
      for (int z = 0; z < std::min(one.z, from.nz()); ++z)
        for (int y = 0; y < one.y; ++y)
          all.values.at(static_cast<int>(row), y, z) = from.at(0, y, z);
    }
    write("all", all, voxelMm);
  }
}

}  // namespace mirel
