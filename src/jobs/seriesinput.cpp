#include "jobs/seriesinput.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include "base/error.h"
#include "base/numbertext.h"
#include "bids/doubts.h"
#include "bids/inheritance.h"
#include "bids/name.h"
#include "field/grid.h"
#include "nifti/gradients.h"
#include "nifti/image.h"
#include "nifti/orientation.h"
#include "pair/foreground.h"

namespace mirel {

namespace {

using Source = bids::StatedDirection::Source;

constexpr double largestPartOff = 0.01;
// Of half a degree, which displaces the rim of a head by less than a millimetre.
constexpr double leastCosine = 0.99996;

// Fields that tell how an image is distorted, or what it is good for as it was acquired, with those
// that converters write beside the ones of the standard; and those that every result has of its
// own.
constexpr std::array<std::string_view, 19> outdatedNames = {
    // clang-format off
    "PhaseEncodingDirection", "PhaseEncodingAxis", "PhaseEncodingPolarityGE",
    "InPlanePhaseEncodingDirectionDICOM", "TotalReadoutTime", "EffectiveEchoSpacing",
    "EstimatedTotalReadoutTime", "EstimatedEffectiveEchoSpacing",
    "DerivedVendorReportedEchoSpacing", "BandwidthPerPixelPhaseEncode", "WaterFatShift",
    "IntendedFor", "B0FieldIdentifier", "B0FieldSource",
    "Description", "Sources", "RawSources", "Mirel", "DistortionCorrection"
    // clang-format on
};

/// The gradient files (.bvec, .bval) that stand beside an image.
std::vector<FileStamp> gradientFilesOf(const std::string& imageFile) {
  std::vector<FileStamp> files;
  for (const char* end : {".bvec", ".bval"})
    if (const std::string file = nifti::gradientFileOf(imageFile, end); !file.empty())
      files.emplace_back(file);
  return files;
}

void addContradiction(SeriesInput& input) {
  const auto& readout = input.acquisition.readout;
  if (readout && !readout->contradiction.empty()) input.warnings.push_back(readout->contradiction);
}

bool isOblique(const glm::dmat4& affine) {
  const glm::dvec3 edges = nifti::columnLengths(affine);
  const nifti::NearestAxes axes = nifti::nearestAxes(affine);
  for (int axis = 0; axis < 3; ++axis) {
    const int nearest = axes.patient[static_cast<std::size_t>(axis)];
    if (nearest < 0 || std::fabs(affine[axis][nearest]) < leastCosine * edges[axis]) return true;
  }
  return false;
}

/// On another grid than the field's: that there is a place in common, and how sure that is.
void checkPlace(SeriesInput& input, const Grid& fieldGrid, const std::string& fieldName,
                bool fieldIsOriented) {
  const Grid grid = gridOf(input.header);
  voxelToVoxel(fieldGrid.affine, grid.affine, input.file);
  if (coverage(grid, fieldGrid, fieldName).max() == 0.0f)
    throw Error(input.file,
                "and " + fieldName +
                    " have no place in common by their orientations: are they of one session?");
  const std::string doubt =
      guessOfPlace(input.file, hasOrientation(input.header), fieldName, fieldIsOriented);
  if (!doubt.empty()) input.warnings.emplace_back(doubt);
}

void assumeDirectionOf(const PairInput& pair, SeriesInput& input) {
  input.acquisition.direction = bids::StatedDirection{pair.a.direction(), Source::assumed};
  input.notes.push_back(input.file + " has no sidecar: its phase encoding is taken to be that of " +
                        pair.a.options.file + ", " + nameOf(pair.a.direction()));
}

void settleReadout(const PairInput& pair, SeriesInput& input) {
  bids::Acquisition& acquisition = input.acquisition;
  if (!pair.readoutSeconds) return;
  if (acquisition.sidecar) bids::requireReadout(acquisition, input.file, Advice::Of::series);
  if (acquisition.readout) return;
  acquisition.readout = pair.a.acquisition.readout;
  input.notes.push_back(input.file + " has no sidecar: its readout time is taken to be that of " +
                        pair.a.options.file);
}

void readMotion(const GivenMotion& given, SeriesInput& input) {
  input.motion = readSeriesMotion(given, input.file, input.header);
  if (input.motion->form == MotionForm::fslParameters)
    input.notes.push_back("the rotations in " + given.file +
                          " are taken to be about the centre of gravity of their reference, which "
                          "the file does not tell; the folder of matrices (MAT_0000) needs none");
  if (input.motion->form == MotionForm::afniMatrices && isOblique(input.header.affine()))
    input.warnings.push_back(input.file + " lies obliquely to the scanner: the transforms in " +
                             given.file +
                             " are taken to be along the scanner's axes, but some programs of AFNI "
                             "mean those of the image");
}

/// What cannot be corrected with a map in voxels.
void refuseWithoutReadout(const PairInput& pair, const SeriesInput& input) {
  const char* need =
      ": its correction needs the readout times of all images, from sidecars or options";
  if (!input.onGridOfField)
    throw Error(input.file, "has another grid than " + pair.a.options.file + need);
  if (input.acquisition.direction->value.axis != pair.axis())
    throw Error(input.file,
                "is phase encoded along another axis than " + pair.a.options.file + need);
}

}  // namespace

void doubtUse(const std::vector<bids::FieldOrigin>& origins, const std::string& field,
              SeriesInput& input) {
  for (const std::string& doubt :
       bids::doubtsAboutUse(origins, field, input.file, input.acquisition.sidecar))
    input.warnings.push_back(doubt);
}

SeriesInput openSeries(const SeriesFile& options) {
  SeriesInput input;
  input.file = options.file;
  input.stamp = FileStamp(options.file);
  input.header = nifti::Reader(options.file).header();
  return input;
}

void finishSeries(const SeriesFile& options, SeriesInput& input) {
  addContradiction(input);
  for (const std::string& doubt :
       bids::contradictionsOf(input.file, input.header.dims, options.given, input.acquisition))
    input.warnings.push_back(doubt);
  for (const std::string& doubt : bids::doubtsAboutSecondCorrection(input.file, input.acquisition))
    input.warnings.push_back(doubt);
  for (const std::string& doubt : bids::doubtsAboutAcquiredLines(input.file, input.acquisition))
    input.notes.push_back(doubt);
  for (const std::string& note :
       bids::notesOnPassedOver(input.file, options.given, input.acquisition))
    input.notes.push_back(note);
  input.gradientFiles = gradientFilesOf(input.file);
  for (const FileStamp& file : input.gradientFiles)
    nifti::checkGradientCount(file.fileName(), input.header.volumes);
  if (!options.motion.file.empty()) readMotion(options.motion, input);
}

SeriesInput readSeries(const SeriesFile& options, const FieldHz& field) {
  SeriesInput input = openSeries(options);
  input.acquisition = bids::resolveAcquisition(input.file, input.header.dims, options.given);
  bids::requireDirection(input.acquisition, input.file);
  bids::requireReadout(input.acquisition, input.file);
  input.onGridOfField = coincide(gridOf(input.header), gridOf(field));
  if (!input.onGridOfField) checkPlace(input, gridOf(field), field.name, field.isOriented);
  finishSeries(options, input);
  for (const std::string& doubt : bids::doubtsAboutSubject(input.file, field.name))
    input.warnings.push_back(doubt);
  return input;
}

SeriesInput readSeriesOf(const PairInput& pair, const SeriesFile& options) {
  SeriesInput input = openSeries(options);
  const Grid pairGrid = gridOf(pair.a.header);
  input.onGridOfField = coincide(gridOf(input.header), pairGrid);
  input.acquisition = bids::resolveAcquisition(input.file, input.header.dims, options.given);
  if (input.acquisition.sidecar)
    bids::requireDirection(input.acquisition, input.file, Advice::Of::series);
  if (!input.acquisition.direction) assumeDirectionOf(pair, input);
  settleReadout(pair, input);
  finishSeries(options, input);
  for (const std::string& doubt : bids::doubtsAboutSubject(input.file, pair.a.options.file))
    input.warnings.push_back(doubt);
  const std::vector<bids::FieldOrigin> origins = {
      bids::originOf(pair.a.options.file, pair.a.acquisition.sidecar),
      bids::originOf(pair.b.options.file, pair.b.acquisition.sidecar)};
  doubtUse(origins, "the pair", input);
  if (!pair.readoutSeconds) refuseWithoutReadout(pair, input);
  if (!input.onGridOfField)
    checkPlace(input, pairGrid, pair.a.options.file, hasOrientation(pair.a.header));
  return input;
}

std::vector<std::string> filesOf(const SeriesInput& input) {
  std::vector<std::string> files = {input.file};
  for (const std::string& sidecar : input.acquisition.sidecarFiles()) files.push_back(sidecar);
  for (const FileStamp& table : input.gradientFiles) files.push_back(table.fileName());
  if (!input.motion) return files;
  for (const FileStamp& file : input.motion->stamps) files.push_back(file.fileName());
  if (!input.motion->referenceImage.empty()) files.push_back(input.motion->referenceImage);
  return files;
}

Json fieldsAfterCorrection(const SeriesInput& input) {
  Json fields = Json::object(), before = Json::object();
  const bool keepsDirection = needsDirection(input.file);
  if (input.acquisition.sidecar)
    for (const auto& [name, value] : input.acquisition.sidecar->json().items()) {
      const bool outdated =
          std::find(outdatedNames.begin(), outdatedNames.end(), name) != outdatedNames.end();
      (outdated ? before : fields)[name] = value;
      if (keepsDirection && name == "PhaseEncodingDirection") fields[name] = value;
    }
  if (before.items().empty()) return fields;
  fields["DistortionCorrection"] = distortionCorrection(before);
  return fields;
}

Json fieldsAfterJoining(const SeriesInput& first, const SeriesInput& second) {
  constexpr const char* correction = "DistortionCorrection";
  const Json one = fieldsAfterCorrection(first), other = fieldsAfterCorrection(second);
  Json both = Json::object();
  for (const auto& [name, value] : one.items())
    if (const Json* same = other.find(name);
        name != correction && same != nullptr && same->dump(0) == value.dump(0))
      both[name] = value;
  Json before = one.contains(correction) ? one.at(correction) : Json::object();
  if (other.contains(correction))
    before["FieldsBeforeOfPartner"] = other.at(correction).at("FieldsBefore");
  if (!before.items().empty()) both[correction] = before;
  return both;
}

Json distortionCorrection(const Json& fieldsBefore) {
  Json done = Json::object();
  done["Description"] = "What held of the image before; it does not hold of the corrected one";
  done["FieldsBefore"] = fieldsBefore;
  return done;
}

bool needsDirection(const std::string& imageFile) {
  return bids::Name::of(imageFile).suffix == "epi";
}

std::string guessOfPlace(const std::string& file, bool isOriented, const std::string& other,
                         bool otherIsOriented) {
  if (isOriented && otherIsOriented) return {};
  return (isOriented ? other : file) + " has no orientation: how the grids of " + file + " and " +
         other + " lie to each other is a guess";
}

double partOfHeadOff(const Volume<float>& mean, const Grid& grid, const FieldHz& field) {
  const Volume<float> covered = coverage(grid, gridOf(field), field.name);
  const double threshold = headThreshold(mean);
  double head = 0, off = 0;
  for (int n = 0; n < mean.size(); ++n) {
    if (!(static_cast<double>(mean.data()[n]) > threshold)) continue;
    head += 1;
    off += covered.data()[n] == 0.0f;
  }
  return head > 0 ? off / head : 0;
}

std::string headOffField(const Volume<float>& mean, const nifti::Header& header,
                         const std::string& file, const FieldHz& field) {
  const double off = partOfHeadOff(mean, gridOf(header), field);
  if (!(off > largestPartOff)) return {};
  return text("%.0f %%", 100 * off) + " of the head in " + file + " lies off the grid of " +
         field.name + ": there the field at the nearest border is taken";
}

}  // namespace mirel
