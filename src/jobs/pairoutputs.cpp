#include "jobs/pairoutputs.h"

#include "bids/name.h"
#include "field/warp.h"
#include "jobs/recordjson.h"
#include "nifti/image.h"
#include "nifti/orientation.h"

namespace mirel {

namespace {

constexpr const char* imageEnd = ".nii.gz";

std::string correctedDescription(const InputImage& image) {
  if (image.header.volumes <= 1) return "corrected";
  if (image.options.meanOfFirst > 1)
    return "correctedMeanOf" + std::to_string(image.options.meanOfFirst);
  return "correctedVolume" + std::to_string(image.options.volume);
}

std::string warpDescription(const InputImage& image) {
  return image.header.volumes <= 1 ? "warp" : "warpVolume" + std::to_string(image.options.volume);
}

// What was done to the intensities of a corrected image.
std::string correctedText(const RunRecord& run) {
  return run.pair->settings.usedModulation() == Modulation::on
             ? "corrected for distortion, intensities multiplied by the local density change"
             : "corrected for distortion, intensities moved but not multiplied by the local "
               "density "
               "change";
}

class PairWriter {
 public:
  PairWriter(const PairInput& what, const RunRecord& run, OutputFolder& where, Progress& tell)
      : pair(what),
        folder(where),
        progress(tell),
        origin(originOf(run)),
        header(nifti::floatMapLike(what.a.header)) {
    header.description = "Mirel " + run.version;
    progress.at(Stage::writing, 0.0);
  }

  void image(const std::string& name, const Volume<float>& volume, const std::string& description,
             const std::string& units = {}) {
    nifti::Writer writer(folder.path(name + imageEnd), header);
    writer.write(volume);
    writer.finish();
    sidecar(name, description, units);
  }

  void warp(const std::string& name, const Volume<float>& shift, const std::string& source,
            const RigidMotion& motion) {
    writeWarpLps(shift, header, pair.axis(), folder.path(name + imageEnd), motion);
    sidecar(name,
            "Displacement field that takes the distortion out of " + source +
                ": the vector at a voxel, in mm with x to the left, y to the back and z upwards, "
                "leads from the voxel to the place in the distorted image where its value is",
            "mm");
  }

 private:
  void sidecar(const std::string& name, const std::string& description, const std::string& units) {
    folder.writeText(name + ".json",
                     sidecarText(description, units, {pair.a.options.file, pair.b.options.file},
                                 origin, Json::object()));
    progress.at(Stage::writing, ++written / 8.0);
  }

  const PairInput& pair;
  OutputFolder& folder;
  Progress& progress;
  Json origin;
  nifti::Header header;
  int written = 0;
};

}  // namespace

PairNames PairNames::of(const PairInput& pair) {
  const bids::Name a = bids::Name::of(pair.a.options.file);
  const bids::Name b = bids::Name::of(pair.b.options.file);
  const bids::Name common = bids::commonName(a, b);
  const std::string suffix = common.isStructured() ? "" : "epi";
  PairNames names;
  names.correctedA = derivedName(a, correctedDescription(pair.a));
  names.correctedB = derivedName(b, correctedDescription(pair.b));
  names.mean = derivedName(common, "correctedMean", suffix);
  names.voxels = derivedName(common, "voxels", "displacement");
  names.mm = derivedName(common, "mm", "displacement");
  if (pair.readoutSeconds) names.field = derivedName(common, "estimated", "fieldmap");
  names.warpA = derivedName(a, warpDescription(pair.a), "xfm");
  names.warpB = derivedName(b, warpDescription(pair.b), "xfm");
  return names;
}

std::vector<std::string> PairNames::files() const {
  std::vector<std::string> result;
  for (const std::string* name :
       {&correctedA, &correctedB, &mean, &voxels, &mm, &field, &warpA, &warpB})
    if (!name->empty())
      for (const char* end : {imageEnd, ".json"}) result.push_back(*name + end);
  return result;
}

void writePair(const PairNames& names, const PairInput& pair, const PairEstimate& estimate,
               const RunRecord& run, OutputFolder& folder, Progress& progress) {
  PairWriter writer(pair, run, folder, progress);
  const std::string axis = bids::nameOf({pair.axis(), 1});
  const std::string done = ", " + correctedText(run);
  writer.image(names.correctedA, estimate.correctedA, pair.a.title() + done);
  writer.image(names.correctedB, estimate.correctedB, pair.b.title() + done);
  writer.image(names.mean, estimate.mean, "Mean of the pair" + done);
  const std::string meaning = "Displacement d along the voxel axis " + axis +
                              ", towards greater indices: true(y) = I(y + d) for " +
                              pair.a.title() + ", I(y - d) for " + pair.b.title();
  writer.image(names.voxels, estimate.shift, meaning, "voxels");
  const double size = nifti::columnLengths(pair.a.header.affine())[pair.axis()];
  writer.image(names.mm, estimate.shift * static_cast<float>(size), meaning, "mm");
  if (!names.field.empty())
    writer.image(names.field,
                 fieldFromShift(estimate.shift, gridOf(pair.a.header), pair.a.direction(),
                                *pair.readoutSeconds, names.field)
                     .hz,
                 "Off-resonance field f: true(y) = I(y + f T) for an image with the "
                 "PhaseEncodingDirection " +
                     axis + " and the TotalReadoutTime T, I(y - f T) for " + axis +
                     "-, y in voxels",
                 "Hz");
  writer.warp(names.warpA, estimate.shift, pair.a.title(), {});
  writer.warp(names.warpB, estimate.shift * -1.0f, pair.b.title(),
              estimate.motion.value_or(RigidMotion{}));
}

}  // namespace mirel
