#include "bids/acquisition.h"

#include <filesystem>

#include "base/error.h"
#include "bids/inheritance.h"

namespace mirel::bids {

namespace {

std::optional<StatedDirection> directionOf(const GivenAcquisition& given,
                                           const std::optional<Sidecar>& sidecar) {
  using Source = StatedDirection::Source;
  if (given.direction && !given.table.empty())
    return StatedDirection{*given.direction, Source::table, given.table};
  if (given.direction) return StatedDirection{*given.direction, Source::option};
  const auto stated = sidecar ? sidecar->phaseEncoding() : std::nullopt;
  if (!stated) return std::nullopt;
  return StatedDirection{*stated, Source::sidecar, sidecar->phaseEncodingFile()};
}

// Beside the image, so that its folder is told with that.
std::string ownSidecar(const std::string& imageFile) {
  return std::filesystem::path(sidecarName(imageFile)).filename().string();
}

}  // namespace

std::string StatedDirection::sourceText() const {
  switch (source) {
    case Source::sidecar:
    case Source::table:
    case Source::map:
      return file;
    case Source::option:
      return "option";
    case Source::opposite:
      return "opposite of the other image";
    case Source::assumed:
      break;
  }
  return "assumed";
}

std::vector<std::string> Acquisition::sidecarFiles() const {
  return sidecar ? sidecar->fileNames() : std::vector<std::string>{};
}

std::vector<FileStamp> Acquisition::sidecarStamps() const {
  return sidecar ? sidecar->stamps() : std::vector<FileStamp>{};
}

Acquisition givenAcquisition(const std::string& imageFile, const GivenAcquisition& given) {
  Acquisition result;
  result.direction = directionOf(given, std::nullopt);
  if (!given.readoutSeconds) return result;
  checkReadout(*given.readoutSeconds, "the readout time given for " + imageFile);
  result.readout = given.table.empty()
                       ? Readout{*given.readoutSeconds, ReadoutSource::option}
                       : Readout{*given.readoutSeconds, ReadoutSource::table, given.table};
  return result;
}

Acquisition resolveAcquisition(const std::string& imageFile, glm::ivec3 dims,
                               const GivenAcquisition& given, SidecarUse use) {
  Acquisition result = givenAcquisition(imageFile, given);
  const bool needed = !given.sidecar.empty() || !given.isComplete();
  if (use == SidecarUse::whereNeeded && !needed) return result;
  result.sidecar = findSidecar(imageFile, given.sidecar);
  result.direction = directionOf(given, result.sidecar);
  if (!result.readout && result.sidecar && result.direction)
    result.readout = result.sidecar->readout(dims[result.direction->value.axis]);
  return result;
}

const StatedDirection& requireDirection(const Acquisition& acquisition,
                                        const std::string& imageFile, Advice::Of image) {
  if (acquisition.direction) return *acquisition.direction;
  const Advice advice{Advice::Kind::giveDirection, image};
  if (acquisition.sidecar)
    throw Error(acquisition.sidecar->title(), "has no PhaseEncodingDirection", advice);
  throw Error(imageFile,
              "has no sidecar " + ownSidecar(imageFile) + " with a PhaseEncodingDirection", advice);
}

const Readout& requireReadout(const Acquisition& acquisition, const std::string& imageFile,
                              Advice::Of image) {
  if (acquisition.readout) return *acquisition.readout;
  const Advice advice{Advice::Kind::giveReadout, image};
  if (acquisition.sidecar)
    throw Error(acquisition.sidecar->title(),
                "has neither TotalReadoutTime nor EffectiveEchoSpacing", advice);
  throw Error(imageFile,
              "has no sidecar " + ownSidecar(imageFile) +
                  " with a TotalReadoutTime or an EffectiveEchoSpacing",
              advice);
}

}  // namespace mirel::bids
