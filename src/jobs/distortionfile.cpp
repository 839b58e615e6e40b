#include "jobs/distortionfile.h"

#include <algorithm>

#include "base/error.h"
#include "base/numbertext.h"
#include "bids/inheritance.h"
#include "bids/name.h"
#include "field/fielddoubts.h"
#include "files/mapfile.h"
#include "files/usablemap.h"
#include "nifti/filename.h"
#include "nifti/image.h"

namespace mirel {

namespace {

using bids::Unit;

// Of the NIfTI format and of programs that write fields.
constexpr int intentFieldHz = 2018;
constexpr int splineIntents[] = {2007, 2008, 2009, 2016, 2017};

bool stemEndsWith(const std::string& fileName, const std::vector<std::string>& ends) {
  const std::string stem = nifti::niftiStem(fileName);
  return std::any_of(ends.begin(), ends.end(),
                     [&](const std::string& end) { return stem.ends_with(end); });
}

bool hasPhaseType(const Json& sidecar) {
  const std::vector<std::string> type = sidecar.textsOf("ImageType");
  return std::any_of(type.begin(), type.end(),
                     [](const std::string& word) { return word == "P" || word == "PHASE"; });
}

// Why an image without units is a phase and no field; empty when it is not.
std::string phaseReason(const DistortionFile& file) {
  if (stemEndsWith(file.file, {"_phasediff", "_phase", "_phase1", "_phase2", "_ph"}))
    return "by its name";
  if (!file.sidecar) return {};
  const Json& fields = file.sidecar->json();
  if (fields.contains("EchoTime1") && fields.contains("EchoTime2"))
    return "by the two echo times in " + file.sidecar->fileOf("EchoTime1");
  if (hasPhaseType(fields)) return "by the ImageType in " + file.sidecar->fileOf("ImageType");
  return {};
}

[[noreturn]] void refusePhase(const std::string& file, const std::string& reason) {
  throw Error(file, "is a raw phase image (" + reason + "), not a field",
              {Advice::Kind::fieldFromPhase});
}

// Of a pair no option says the unit of the field, only the sidecar.
Remark unitsWanted(const std::string& fault, TakenFor takenFor) {
  if (takenFor == TakenFor::fieldOfPair)
    return {fault + "; say there what its values are (Units: Hz, rad/s or T)"};
  return {fault, {Advice::Kind::giveUnits}};
}

StatedUnit unitInSidecar(const DistortionFile& file, TakenFor takenFor) {
  const Json& stated = file.sidecar->json().at("Units");
  const std::string& sidecar = file.sidecar->fileOf("Units");
  const auto refuse = [&](const std::string& fault) {
    const Remark said = unitsWanted(fault, takenFor);
    throw Error::ofField(sidecar, "Units", said.text, said.advice);
  };
  if (!stated.is_string()) refuse("has a field Units that is not a text");
  const std::optional<Unit> unit = bids::unitOf(stated.string());
  if (!unit)
    refuse("has the Units \"" + stated.string() + "\", which are not those of a field or a map");
  if (*unit == Unit::arbitrary || *unit == Unit::radians)
    refusePhase(file.file, "in the Units \"" + stated.string() + "\" of " + sidecar);
  return {*unit, StatedUnit::Source::sidecar, sidecar};
}

StatedUnit unitOf(DistortionFile& file, TakenFor takenFor, std::optional<Unit> given) {
  using Source = StatedUnit::Source;
  if (given) return {*given, Source::option};
  if (file.sidecar && file.sidecar->json().contains("Units")) return unitInSidecar(file, takenFor);
  if (const std::string reason = phaseReason(file); !reason.empty()) refusePhase(file.file, reason);
  if (file.header->intentCode == intentFieldHz) return {Unit::hertz, Source::header};
  const Unit assumed = takenFor == TakenFor::map ? Unit::voxels : Unit::hertz;
  file.notes.emplace_back(
      (file.sidecar ? file.sidecar->title() + " has no Units: the values of " + file.file +
                          " are taken to be "
                    : file.file + " has no sidecar with Units: its values are taken to be ") +
          nameOf(assumed) +
          (takenFor == TakenFor::fieldOfPair ? " (Units in its sidecar can say Hz, rad/s or T)"
                                             : ""),
      Advice{takenFor == TakenFor::fieldOfPair ? Advice::Kind::none : Advice::Kind::seeUnits});
  return {assumed, Source::assumed};
}

void checkKind(const DistortionFile& file, TakenFor takenFor) {
  if (takenFor == TakenFor::map && file.isField())
    throw Error(file.file,
                "is a field in " + nameOf(file.unit.value) + " (" + file.unit.sourceText() +
                    "), not a displacement map",
                {Advice::Kind::applyAsField});
}

[[noreturn]] void refuseCoefficients(const std::string& file, const std::string& reason) {
  throw Error(file,
              "holds the coefficients of splines (" + reason + "), not the values of a field");
}

void checkContents(const DistortionFile& file, TakenFor takenFor) {
  if (file.header->volumes != 1)
    throw Error(file.file, "has " + std::to_string(file.header->volumes) + " volumes: a " +
                               (takenFor == TakenFor::map ? "displacement map" : "field") +
                               " has one");
  if (std::find(std::begin(splineIntents), std::end(splineIntents), file.header->intentCode) !=
      std::end(splineIntents))
    refuseCoefficients(file.file, "intent code " + std::to_string(file.header->intentCode));
  for (const auto& [entity, value] : bids::Name::of(file.file).entities)
    if (entity == "desc" && value.starts_with("coeff"))
      refuseCoefficients(file.file, "desc-" + value);
}

// Of a field some voxels may be missing, outside of the head; of a map none.
void tellNonFinite(DistortionFile& file) {
  if (file.nonFinite == 0) return;
  if (!file.isField()) throw Error(file.file, "has voxels that are NaN or infinite");
  file.warnings.push_back(file.file + " has " + counted(file.nonFinite, "NaN or infinite voxel") +
                          (file.nonFinite == 1 ? ", which counts as 0 " : ", which count as 0 ") +
                          nameOf(file.unit.value));
}

DistortionFile readMap(const std::string& fileName, std::optional<Unit> given) {
  if (given && *given != Unit::voxels)
    throw Error(fileName, "is in voxels, as all .map files are, not in " + nameOf(*given));
  DistortionFile file;
  file.file = fileName;
  file.stamp = FileStamp(fileName);
  const Map map = readMapFile(fileName);
  refuseUnusableMap(map, fileName);
  file.values = volumeOf(map);
  file.unit = {Unit::voxels, StatedUnit::Source::format};
  return file;
}

}  // namespace

std::string StatedUnit::sourceText() const {
  switch (source) {
    case Source::option:
      return "option";
    case Source::sidecar:
      return file;
    case Source::header:
      return "intent code";
    case Source::format:
      return "file format";
    case Source::assumed:
      break;
  }
  return "assumed";
}

std::vector<std::string> DistortionFile::files() const {
  std::vector<std::string> names = {file};
  if (sidecar) names.insert(names.end(), sidecar->fileNames().begin(), sidecar->fileNames().end());
  return names;
}

DistortionFile readDistortionFile(const std::string& fileName, TakenFor takenFor,
                                  std::optional<Unit> given) {
  if (takenFor == TakenFor::map && !nifti::hasNiftiName(fileName)) return readMap(fileName, given);
  DistortionFile file;
  file.file = fileName;
  file.stamp = FileStamp(fileName);
  file.header = nifti::Reader(fileName).header();
  file.sidecar = bids::findSidecar(fileName);
  file.unit = unitOf(file, takenFor, given);
  checkKind(file, takenFor);
  checkContents(file, takenFor);
  FieldHz read = readField(fileName);
  file.values = std::move(read.hz);
  file.nonFinite = read.nonFinite;
  tellNonFinite(file);
  if (file.isField())
    for (const std::string& doubt : doubtsAbout(file.values, hertzPer(file.unit.value),
                                                file.unit.source != StatedUnit::Source::assumed))
      file.doubts.push_back("CHECK THE FIELD: " + fileName + " " + doubt);
  file.warnings.insert(file.warnings.end(), file.doubts.begin(), file.doubts.end());
  return file;
}

SourceRecord recordOf(const DistortionFile& file) {
  return {file.isField() ? SourceRecord::Kind::field : SourceRecord::Kind::map, file.stamp,
          file.file, file.unit, file.sidecar ? file.sidecar->stamps() : std::vector<FileStamp>{}};
}

FieldHz fieldOf(DistortionFile file) {
  FieldHz field{std::move(file.values), file.header->affine(), file.file, file.nonFinite,
                hasOrientation(*file.header)};
  const double factor = hertzPer(file.unit.value);
  if (factor == 1) return field;
  for (int n = 0; n < field.hz.size(); ++n)
    field.hz.data()[n] = static_cast<float>(factor * static_cast<double>(field.hz.data()[n]));
  return field;
}

}  // namespace mirel
