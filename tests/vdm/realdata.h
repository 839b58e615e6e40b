#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "containers/volume.h"
#include "nifti/image.h"
#include "support/niftifiles.h"

namespace mirel {

/// Pairs of real b=0 images with opposite phase encoding along y. They are not part of the
/// repository: niftifiles::dataFolder() tells where they are looked for.
struct RealPair {
  Volume<float> ap, pa;
};

inline const char* const realPairs[] = {"uih_umr770_dwi", "siemens_prisma_dwi_bold_fmap"};

/// Nothing where the data are missing.
inline std::optional<RealPair> readRealPair(const std::string& name) {
  const std::filesystem::path dwi = std::filesystem::path(niftifiles::dataFolder()) / name / "dwi";
  const auto read = [&](const char* direction) {
    return nifti::Reader((dwi / ("sub-01_dir-" + std::string(direction) + "_b0.nii.gz")).string())
        .readVolume(0);
  };
  if (niftifiles::dataFolder().empty() || !std::filesystem::exists(dwi)) return std::nullopt;
  return RealPair{read("AP"), read("PA")};
}

}  // namespace mirel
