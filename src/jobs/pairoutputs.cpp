#include "jobs/pairoutputs.h"

#include "base/numbertext.h"
#include "base/samefile.h"
#include "bids/name.h"
#include "field/warp.h"
#include "jobs/joinedjson.h"
#include "jobs/recordjson.h"
#include "jobs/resultnames.h"
#include "jobs/seriesinput.h"
#include "nifti/finite.h"
#include "nifti/image.h"
#include "nifti/orientation.h"
#include "pair/readoutratio.h"
#include "picture/headmask.h"

namespace mirel {

namespace {

constexpr const char *uncertaintyLabel = "uncertainty", *headLabel = "head", *cubicLabel = "cubic";

// Which volumes of several an image was made of.
std::string detailOf(const InputImage& image) {
  if (image.header.volumes <= 1) return {};
  if (image.joined) {
    const std::vector<int> taken = image.volumesTaken();
    return taken.size() > 1 ? "MeanOf" + std::to_string(taken.size())
                            : "Volume" + std::to_string(taken.front());
  }
  if (image.options.meanOfFirst > 1) return "MeanOf" + std::to_string(image.options.meanOfFirst);
  return "Volume" + std::to_string(image.options.volume);
}

// Volumes of one file have names of their own even where as many make either image.
std::pair<std::string, std::string> detailsOf(const PairInput& pair) {
  std::pair<std::string, std::string> details{detailOf(pair.a), detailOf(pair.b)};
  if (details.first != details.second || !sameFile(pair.a.options.file, pair.b.options.file))
    return details;
  details.first += "From" + std::to_string(pair.a.volumesTaken().front());
  details.second += "From" + std::to_string(pair.b.volumesTaken().front());
  return details;
}

// Of the image that the map is added to, so that it can be turned round for others; nothing that
// was assumed only.
Json acquisitionOfMap(const PairInput& pair) {
  Json json = Json::object();
  if (pair.a.acquisition.direction->source == bids::StatedDirection::Source::assumed) return json;
  json["PhaseEncodingDirection"] = nameOf(pair.a.direction());
  if (pair.readoutSeconds) json["TotalReadoutTime"] = *pair.readoutSeconds;
  return json;
}

// What the standard requires of a field map, beside what tells that it is corrected already;
// nothing of other images, nor what was assumed only.
Json acquisitionOfCorrected(const InputImage& image, const std::optional<double>& readoutSeconds) {
  Json json = Json::object(), before = Json::object();
  if (!needsDirection(image.options.file) ||
      image.acquisition.direction->source == bids::StatedDirection::Source::assumed)
    return json;
  json["PhaseEncodingDirection"] = nameOf(image.direction());
  before["PhaseEncodingDirection"] = nameOf(image.direction());
  if (readoutSeconds) before["TotalReadoutTime"] = *readoutSeconds;
  json["DistortionCorrection"] = distortionCorrection(before);
  return json;
}

// What was done to the intensities of a corrected image.
std::string correctedText(const RunRecord& run) {
  const std::string corrected =
      run.pair->settings.estimator == Estimator::none
          ? "corrected for distortion with the measured field " + run.pair->start->file
          : "corrected for distortion";
  return corrected + (run.pair->settings.usedModulation() == Modulation::on
                          ? ", intensities multiplied by the local density change"
                          : ", intensities moved but not multiplied by the local density change");
}

class PairWriter {
 public:
  PairWriter(const PairInput& what, const RunRecord& run, const SourceNames& names,
             OutputFolder& where, Progress& tell)
      : pair(what),
        sources(sourcesOf(resultInputsOf(what), names)),
        folder(where),
        progress(tell),
        origin(originOf(run)),
        header(nifti::floatMapLike(what.a.header)) {
    header.description = "Mirel " + run.version;
    progress.at(Stage::writing, 0.0);
  }

  void image(const std::string& name, const Volume<float>& volume, const std::string& description,
             const std::string& units = {}, const Json& moreFields = Json::object()) {
    const std::string file = folder.path(name + imageEnd);
    nifti::requireFinite(volume, file);
    nifti::Writer writer(file, header);
    writer.write(volume);
    writer.finish();
    sidecar(name, description, units, moreFields);
  }

  /// Of 0 and 1.
  void mask(const std::string& name, const Volume<float>& volume, const std::string& description) {
    nifti::Header bytes = header;
    bytes.type = nifti::DataType::uint8;
    nifti::Writer writer(folder.path(name + imageEnd), bytes);
    writer.write(volume);
    writer.finish();
    sidecar(name, description, {}, {{"Type", "ROI"}});
  }

  void warp(const std::string& name, const Volume<float>& shift, const std::string& source,
            const RigidMotion& motion) {
    writeWarpLps(shift, header, pair.axis(), folder.path(name + imageEnd), motion);
    sidecar(name, warpDescription(source), "mm", Json::object());
  }

 private:
  void sidecar(const std::string& name, const std::string& description, const std::string& units,
               const Json& moreFields) {
    folder.writeText(name + ".json", sidecarText(description, units, sources, origin, moreFields));
    progress.at(Stage::writing, ++written / 8.0);
  }

  const PairInput& pair;
  std::vector<std::string> sources;
  OutputFolder& folder;
  Progress& progress;
  Json origin;
  nifti::Header header;
  int written = 0;
};

}  // namespace

PairNames PairNames::of(const PairInput& pair, const EstimateSettings& settings,
                        const PairResults& wanted) {
  const bids::Name a = bids::Name::of(pair.a.options.file);
  const bids::Name b = bids::Name::of(pair.b.options.file);
  const auto [ofA, ofB] = detailsOf(pair);
  PairNames names;
  names.mean = pairResultName(a, b, "magnitude", wanted.label);
  names.voxels = displacementName(a, "voxels", wanted.label + ofA);
  names.mm = displacementName(a, "mm", wanted.label + ofA);
  if (pair.readoutSeconds) names.field = fieldOf(pair, wanted);
  if (settings.uncertainty)
    names.deviation = pair.readoutSeconds
                          ? pairResultName(a, b, "fieldmap", wanted.label, uncertaintyLabel)
                          : displacementName(a, uncertaintyLabel, wanted.label + ofA);
  if (wanted.headMask) names.headMask = pairResultName(a, b, "mask", wanted.label, headLabel);
  if (wanted.cubicMean && settings.interpolation != InterpolationKernel::cubic)
    names.cubicMean = cubicMeanOf(pair, wanted);
  if (!wanted.corrected) return names;
  names.correctedA = correctedName(a, ofA);
  names.correctedB = correctedName(b, ofB);
  names.warpA = warpName(a, ofA);
  names.warpB = warpName(b, ofB);
  return names;
}

std::string PairNames::fieldOf(const PairInput& pair, const PairResults& wanted) {
  return pairResultName(bids::Name::of(pair.a.options.file), bids::Name::of(pair.b.options.file),
                        "fieldmap", wanted.label);
}

std::string PairNames::cubicMeanOf(const PairInput& pair, const PairResults& wanted) {
  return pairResultName(bids::Name::of(pair.a.options.file), bids::Name::of(pair.b.options.file),
                        "magnitude", wanted.label, cubicLabel);
}

std::string PairNames::reportStemOf(const PairInput& pair) {
  const std::string name = fieldOf(pair);
  return name.substr(0, name.rfind('_'));
}

std::vector<std::string> PairNames::all() const {
  std::vector<std::string> result;
  for (const std::string* name : {&correctedA, &correctedB, &mean, &voxels, &mm, &field, &deviation,
                                  &headMask, &cubicMean, &warpA, &warpB})
    if (!name->empty()) result.push_back(*name);
  return result;
}

std::vector<ResultInput> resultInputsOf(const PairInput& pair) {
  std::vector<ResultInput> inputs;
  for (const InputImage* image : {&pair.a, &pair.b}) {
    const ImageOptions& options = image->options;
    if (image->joined)
      inputs.push_back({options.file, 0, 0, image->volumesTaken()});
    else
      inputs.push_back({options.file, image->header.volumes > 1 ? options.volume : 0,
                        options.meanOfFirst > 1 ? options.meanOfFirst : 0});
  }
  for (const InputImage* image : {&pair.a, &pair.b})
    for (const std::string& file : image->options.more)
      inputs.push_back({file, 0, 0, image->joined->volumesOf(file)});
  if (pair.across)
    for (const ResultInput& input : resultInputsOf(*pair.across)) inputs.push_back(input);
  if (pair.startIsMap) inputs.push_back({pair.startFile});
  return inputs;
}

std::vector<std::string> filesNamed(const std::string& name) {
  return {name + imageEnd, name + ".json"};
}

void writePair(const PairNames& names, const PairInput& pair, const PairEstimate& estimate,
               const RunRecord& run, const SourceNames& sources, OutputFolder& folder,
               Progress& progress) {
  PairWriter writer(pair, run, sources, folder, progress);
  const std::string axis = bids::nameOf({pair.axis(), 1});
  const std::string done = ", " + correctedText(run);
  if (!names.correctedA.empty()) {
    writer.image(names.correctedA, estimate.correctedA, pair.a.title() + done, {},
                 acquisitionOfCorrected(pair.a, pair.readoutSeconds));
    writer.image(names.correctedB, estimate.correctedB, pair.b.title() + done, {},
                 acquisitionOfCorrected(pair.b, partOfSecond(pair) == 1
                                                    ? pair.readoutSeconds
                                                    : pair.b.acquisition.readout->seconds));
  }
  writer.image(names.mean, estimate.mean, "Mean of the pair" + done);
  const double part = partOfSecond(pair);
  const std::string meaning = "Displacement d along the voxel axis " + axis +
                              ", towards greater indices: true(y) = I(y + d) for " +
                              pair.a.title() + ", I(y - " + (part == 1 ? "" : text("%.4g ", part)) +
                              "d) for " + pair.b.title();
  const Json ofMap = acquisitionOfMap(pair);
  writer.image(names.voxels, estimate.shift, meaning, "voxels", ofMap);
  const double size = nifti::columnLengths(pair.a.header.affine())[pair.axis()];
  writer.image(names.mm, estimate.shift * static_cast<float>(size), meaning, "mm", ofMap);
  if (!names.field.empty())
    writer.image(names.field,
                 fieldFromShift(estimate.shift, gridOf(pair.a.header), pair.a.direction(),
                                *pair.readoutSeconds, names.field)
                     .hz,
                 (pair.startIsMap ? "Measured off-resonance field f (" + pair.startFile + ")"
                                  : std::string("Off-resonance field f")) +
                     ": true(y) = I(y + f T) for an image with the "
                     "PhaseEncodingDirection " +
                     axis + " and the TotalReadoutTime T, I(y - f T) for " + axis +
                     "-, y in voxels",
                 "Hz");
  if (!names.deviation.empty()) {
    const float perVoxel =
        pair.readoutSeconds ? static_cast<float>(1.0 / *pair.readoutSeconds) : 1.0f;
    writer.image(names.deviation, *estimate.deviation * perVoxel,
                 "Standard deviation of the " +
                     std::string(pair.readoutSeconds ? "off-resonance field" : "displacement") +
                     " given the images, by the model of the estimate",
                 pair.readoutSeconds ? "Hz" : "voxels");
  }
  if (!names.headMask.empty())
    writer.mask(names.headMask, picture::headMask(estimate.meanToCompare()),
                "The head in the mean of the pair, with its cavities: 1 inside, 0 outside");
  if (!names.cubicMean.empty())
    writer.image(names.cubicMean, estimate.meanToCompare(),
                 "Mean of the pair by cubic B-splines, whatever its images are written by: what "
                 "series are aligned and compared with" +
                     done);
  if (names.warpA.empty()) return;
  writer.warp(names.warpA, estimate.shift, pair.a.title(), {});
  writer.warp(names.warpB, mapOfSecond(pair, estimate.shift), pair.b.title(),
              estimate.motion.value_or(RigidMotion{}));
}

}  // namespace mirel
