#include "phase/complexparts.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

#include "base/error.h"
#include "base/numbertext.h"
#include "bids/inheritance.h"
#include "bids/name.h"
#include "field/grid.h"
#include "nifti/image.h"

namespace mirel {

namespace {

constexpr double sameEchoSeconds = 1e-5;

struct Part {
  std::string_view entity;              // its label in names of BIDS
  std::string_view text;                // in sentences
  std::vector<std::string_view> types;  // words of its ImageType
};

const std::vector<Part>& parts() {
  static const std::vector<Part> all{{"real", "a real part", {"R", "REAL"}},
                                     {"imag", "an imaginary part", {"I", "IMAGINARY"}},
                                     {"mag", "a magnitude", {"M", "MAGNITUDE"}},
                                     {"phase", "a phase", {"P", "PHASE"}}};
  return all;
}

void refuseOtherPart(const std::string& file, const std::optional<bids::Sidecar>& sidecar,
                     const Part& wanted) {
  const std::string named = bids::Name::of(file).entity("part");
  const std::vector<std::string> types =
      sidecar ? sidecar->texts("ImageType") : std::vector<std::string>();
  for (const Part& part : parts()) {
    if (part.entity == wanted.entity) continue;
    if (named == part.entity)
      throw Error(file,
                  "is " + std::string(part.text) + " by its name, not " + std::string(wanted.text));
    for (const std::string_view word : part.types)
      if (std::find(types.begin(), types.end(), word) != types.end())
        throw Error(file, "is " + std::string(part.text) + " by the ImageType in " +
                              sidecar->fileOf("ImageType") + ", not " + std::string(wanted.text));
  }
}

void refuseOneSided(const Volume<float>& values, const std::string& title, const Part& part) {
  float least = 0, most = 0;
  for (int i = 0; i < values.size(); ++i) {
    least = std::min(least, values.data()[i]);
    most = std::max(most, values.data()[i]);
  }
  if (least == 0 || most == 0)
    throw Error(title, "has no values " + std::string(least == 0 ? "below" : "above") +
                           " 0: those of " + std::string(part.text) + " lie on both sides");
}

struct ReadPart {
  nifti::Header header;
  std::optional<bids::Sidecar> sidecar;
  Volume<float> values;
};

ReadPart readPart(const std::string& file, const Part& wanted) {
  nifti::Reader image(file);
  ReadPart part{image.header(), bids::findSidecar(file), {}};
  refuseOtherPart(file, part.sidecar, wanted);
  if (part.header.volumes != 1)
    throw Error(file, "has " + std::to_string(part.header.volumes) +
                          " volumes: a part of one echo's image has one");
  voxelToVoxel(part.header.affine(), part.header.affine(), file);
  part.values = image.readVolume(0);
  refuseOneSided(part.values, file, wanted);
  return part;
}

// By the names, and by the sidecars.
void refuseOtherEcho(const std::string& realFile, const std::optional<bids::Sidecar>& real,
                     const std::string& imaginaryFile,
                     const std::optional<bids::Sidecar>& imaginary) {
  const std::string one = bids::Name::of(realFile).entity("echo"),
                    other = bids::Name::of(imaginaryFile).entity("echo");
  if (!one.empty() && !other.empty() && one != other)
    throw Error(imaginaryFile, "is of echo " + other + " by its name, and " + realFile +
                                   ", whose imaginary part it would be, of echo " + one);
  const auto timeOf = [](const std::optional<bids::Sidecar>& sidecar) {
    return sidecar ? sidecar->json().numberOf("EchoTime") : std::nullopt;
  };
  const std::optional<double> time = timeOf(real), otherTime = timeOf(imaginary);
  if (time && otherTime && std::fabs(*time - *otherTime) > sameEchoSeconds)
    throw Error(imaginaryFile, "has the EchoTime " + text(*otherTime) + ", and " + realFile +
                                   ", whose imaginary part it would be, " + text(*time));
}

// Angle and magnitude of both.
void combine(const Volume<float>& real, const Volume<float>& imaginary, ComplexParts& both) {
  both.phase.radians = both.magnitude = Volume<float>(real.dimensions());
  for (int i = 0; i < real.size(); ++i) {
    const double re = real.data()[i], im = imaginary.data()[i];
    const double size = std::hypot(re, im);
    const bool finite = std::isfinite(re) && std::isfinite(im);
    const bool told = size > 0 && finite;
    both.phase.radians.data()[i] =
        told ? static_cast<float>(std::atan2(im, re)) : std::numeric_limits<float>::quiet_NaN();
    both.magnitude.data()[i] = told ? static_cast<float>(size) : 0.0F;
    both.phase.filled += size == 0;
    both.notFinite += finite ? 0 : 1;
  }
}

std::string zerosText(int count) {
  return counted(count, "voxel") + (count == 1 ? " is 0" : " are 0");
}

}  // namespace

std::string ComplexParts::warning() const {
  if (notFinite == 0) return {};
  const std::string echo =
      phase.echoesInFile > 1 ? ", echo " + std::to_string(phase.echo + 1) + "," : "";
  return phase.file +
         (imaginaryFile.empty() ? echo + " has " : " and " + imaginaryFile + " have ") +
         std::to_string(notFinite) +
         (notFinite == 1 ? " voxel that is NaN or infinite; it counts as no phase"
                         : " voxels that are NaN or infinite; they count as no phase");
}

std::string ComplexParts::note() const {
  if (imaginaryFile.empty())
    return "the phases are those of the complex numbers in " + phase.file +
           (phase.echoesInFile > 1 ? ", echo " + std::to_string(phase.echo + 1) : "") +
           (phase.filled > 0 ? "; " + zerosText(phase.filled) : "");
  return "the phases are those of " + phase.file + " as real and " + imaginaryFile +
         " as imaginary part" +
         (phase.filled > 0 ? "; " + zerosText(phase.filled) + " in both" : "");
}

std::string imaginaryBeside(const std::string& realFile) {
  bids::Name name = bids::Name::of(realFile);
  if (name.entity("part") != "real")
    throw Error(realFile,
                "is no real part by its name (part-real), by which the imaginary one "
                "would be found");
  for (auto& [key, label] : name.entities)
    if (key == "part") label = "imag";
  const std::filesystem::path folder = std::filesystem::path(realFile).parent_path();
  for (const char* extension : {".nii.gz", ".nii"})
    if (const auto file = folder / (name.text() + extension); std::filesystem::exists(file))
      return file.string();
  throw Error(realFile, "has no imaginary part (" + name.text() + ") beside it");
}

ComplexParts readComplexParts(const std::string& realFile, const std::string& imaginaryFile) {
  ComplexParts both;
  both.phase.file = realFile;
  both.phase.stamp = FileStamp(realFile);
  both.imaginaryFile = imaginaryFile;
  both.imaginaryStamp = FileStamp(imaginaryFile);
  ReadPart real = readPart(realFile, parts()[0]);
  const ReadPart imaginary = readPart(imaginaryFile, parts()[1]);
  refuseOtherEcho(realFile, real.sidecar, imaginaryFile, imaginary.sidecar);
  if (!coincide(gridOf(imaginary.header), gridOf(real.header)))
    throw Error(imaginaryFile, "has another grid than " + realFile);
  if (std::equal(real.values.data(), real.values.data() + real.values.size(),
                 imaginary.values.data()))
    throw Error(imaginaryFile, "holds the same values as " + realFile);
  both.phase.header = real.header;
  both.phase.sidecar = std::move(real.sidecar);
  combine(real.values, imaginary.values, both);
  return both;
}

std::vector<ComplexParts> readComplexImage(const std::string& fileName) {
  const FileStamp stamp(fileName);
  nifti::Reader image(fileName, nifti::Contents::complexNumbers);
  const nifti::Header& header = image.header();
  const std::optional<bids::Sidecar> sidecar = bids::findSidecar(fileName);
  voxelToVoxel(header.affine(), header.affine(), fileName);
  std::vector<ComplexParts> echoes(static_cast<std::size_t>(header.volumes));
  for (int t = 0; t < header.volumes; ++t) {
    ComplexParts& both = echoes[static_cast<std::size_t>(t)];
    both.phase.file = fileName;
    both.phase.stamp = stamp;
    both.phase.header = header;
    both.phase.header.volumes = 1;
    both.phase.sidecar = sidecar;
    both.phase.echo = t;
    both.phase.echoesInFile = header.volumes;
    Volume<float> real, imaginary;
    image.readComplex(t, real, imaginary);
    const std::string title =
        fileName + (header.volumes > 1 ? ", volume " + std::to_string(t) + "," : "");
    refuseOneSided(real, title, parts()[0]);
    refuseOneSided(imaginary, title, parts()[1]);
    combine(real, imaginary, both);
  }
  return echoes;
}

}  // namespace mirel
