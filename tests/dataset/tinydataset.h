#pragma once

#include <filesystem>
#include <string>

#include "dataset/facts.h"
#include "dataset/index.h"
#include "support/niftifiles.h"

namespace mirel::dataset {

/// A dataset in a folder of its own, with images of a few voxels.
struct TinyDataset {
  TemporaryFolder folder;

  TinyDataset() { text("dataset_description.json", R"({"Name": "tiny", "BIDSVersion": "1.8.0"})"); }

  std::string root() const { return folder.file("ds"); }
  std::string file(const std::string& path) const { return root() + "/" + path; }

  void text(const std::string& path, const std::string& content) const {
    std::filesystem::create_directories(std::filesystem::path(file(path)).parent_path());
    niftifiles::writeText(file(path), content);
  }

  /// An image of 4 x 5 x 6 voxels, whose first lies at x = `place` mm.
  void image(const std::string& path, int volumes = 1, double place = 0) const {
    niftifiles::Raw raw;
    raw.dim = {volumes > 1 ? 4 : 3, 4, 5, 6};
    if (volumes > 1) raw.dim.push_back(volumes);
    raw.sform[0][3] = place;
    raw.data.resize(static_cast<std::size_t>(240 * volumes), 7);
    std::filesystem::create_directories(std::filesystem::path(file(path)).parent_path());
    const auto bytes = niftifiles::bytesOf(raw);
    niftifiles::writeBytes(file(path), path.ends_with(".gz") ? niftifiles::gzipped(bytes) : bytes);
  }

  /// The image STEM.nii.gz with the sidecar STEM.json.
  void image(const std::string& stem, const std::string& sidecar, int volumes = 1,
             double place = 0) const {
    image(stem + ".nii.gz", volumes, place);
    text(stem + ".json", sidecar);
  }

  Index index() const { return indexDataset(root()); }

  ImageFacts facts(const std::string& path) const {
    const Index all = index();
    for (const IndexedImage& one : all.images)
      if (one.path == path) return factsOf(all, one);
    throw std::runtime_error("there is no image " + path);
  }
};

}  // namespace mirel::dataset
