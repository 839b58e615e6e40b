#include "jobs/mapseries.h"

#include <cmath>

#include "base/dimensions.h"
#include "base/error.h"
#include "base/numbertext.h"
#include "bids/doubts.h"
#include "field/grid.h"
#include "jobs/checksum.h"
#include "jobs/unknownreadout.h"
#include "nifti/image.h"
#include "nifti/orientation.h"

namespace mirel {

namespace {

using bids::PhaseEncodingDirection;
using Source = bids::StatedDirection::Source;

constexpr double readoutTolerance = 0.01;  // of the readout time

// What is known about the direction of a map, and from where.
struct MapDirection {
  std::optional<int> axis;
  std::optional<int> sign;
  std::string source;
  bool assumed = false;  ///< when the map was made: true between its two images alone

  bool isKnown() const { return axis && sign; }
  PhaseEncodingDirection value() const { return {axis.value_or(1), sign.value_or(1)}; }
};

// The images that this program made a map of, in its sidecar: the first one's map it is.
const Json* recordedInputs(const DistortionFile& map) {
  if (!map.sidecar) return nullptr;
  const Json& inputs = map.sidecar->json().part("Mirel").part("Inputs");
  return inputs.is_array() && !inputs.list().empty() ? &inputs : nullptr;
}

MapDirection directionInRecord(const DistortionFile& map) {
  if (!map.sidecar) return {};
  if (const auto stated = map.sidecar->phaseEncoding())
    return {stated->axis, stated->sign, map.sidecar->phaseEncodingFile()};
  const Json* inputs = recordedInputs(map);
  const std::string of = inputs == nullptr ? "" : inputs->at(0).textOf("PhaseEncodingDirection");
  if (of.empty()) return {};
  const std::string& file = map.sidecar->fileOf("Mirel");
  const PhaseEncodingDirection first = bids::parsePhaseEncoding(of, file);
  const std::string source = inputs->at(0).textOf("PhaseEncodingDirectionSource");
  return {first.axis, first.sign, file, source == "assumed"};
}

// What the user says of a map against what stands beside it.
void doubtGivenDirection(PhaseEncodingDirection given, const MapDirection& stated,
                         DistortionFile& map) {
  if (!stated.isKnown() || stated.assumed || nameOf(stated.value()) == nameOf(given)) return;
  map.warnings.push_back("the phase encoding " + nameOf(given) + " given for " + map.file +
                         " is not that of its sidecar " + stated.source + ", " +
                         nameOf(stated.value()));
}

// Directions that were assumed for the pair hold for its own images, which the record knows.
void settleAssumed(const DistortionFile& map, MapDirection& direction,
                   const std::vector<SeriesInput>& series) {
  if (!direction.assumed) return;
  const std::string& record = map.sidecar->fileOf("Mirel");
  bool own = false, others = false;
  for (const SeriesInput& input : series)
    if (const auto& of = input.acquisition.direction)
      (of->source == Source::sidecar && of->file == record ? own : others) = true;
  if (!own || others) direction.sign.reset();
}

std::optional<double> readoutInRecord(const DistortionFile& map, int axis) {
  if (!map.sidecar) return std::nullopt;
  if (const auto readout = map.sidecar->readout(map.values.dimensions()[axis]))
    return readout->seconds;
  const Json* inputs = recordedInputs(map);
  if (inputs == nullptr) return std::nullopt;
  return inputs->at(0).part("TotalReadoutTime").numberOf("Seconds");
}

void takeDirectionFromRecord(const DistortionFile& map, SeriesInput& input) {
  const Json* inputs = recordedInputs(map);
  if (input.acquisition.direction || inputs == nullptr) return;
  const std::string sum = sha256Of(input.stamp);
  for (const Json& each : inputs->list()) {
    const std::string direction = each.textOf("PhaseEncodingDirection");
    if (direction.empty() || each.textOf("SHA256") != sum) continue;
    const std::string& file = map.sidecar->fileOf("Mirel");
    input.acquisition.direction =
        bids::StatedDirection{bids::parsePhaseEncoding(direction, file), Source::sidecar, file};
    return;
  }
}

std::string stated(const SeriesInput& input) {
  const bids::StatedDirection& direction = *input.acquisition.direction;
  return input.file + " is phase encoded along " + nameOf(direction.value) + " (" +
         direction.sourceText() + ")";
}

// With --rllr images and map are taken along x as they stand; who says otherwise is named.
void overrideAxes(DistortionFile& map, MapDirection& direction, std::vector<SeriesInput>& series) {
  if (direction.axis.value_or(0) != 0) {
    map.warnings.push_back(direction.source + " says that " + map.file + " shifts along " +
                           bids::nameOf({*direction.axis, 1}) +
                           ": it is applied along i, as was asked for");
    direction.sign.reset();
  }
  direction.axis = 0;
  for (SeriesInput& input : series) {
    auto& own = input.acquisition.direction;
    if (!own || own->value.axis == 0) continue;
    input.warnings.push_back(stated(input) + ": " + map.file +
                             " is applied along i, as was asked for");
    own.reset();
    direction.sign.reset();
  }
}

// Of a map that does not say for which direction it is: the one that all series have.
void takeDirectionOfSeries(DistortionFile& map, MapDirection& direction,
                           const std::vector<SeriesInput>& series) {
  const SeriesInput* first = nullptr;
  for (const SeriesInput& input : series) {
    const auto& own = input.acquisition.direction;
    if (!own) continue;
    if (direction.axis && own->value.axis != *direction.axis) continue;  // refused below
    if (first == nullptr) first = &input;
    if (own->value != first->acquisition.direction->value)
      throw Error(map.file,
                  "does not say for which phase-encoding direction it is, but " + stated(*first) +
                      " and " + stated(input),
                  {Advice::Kind::giveMapDirection});
  }
  if (first == nullptr) {
    if (!direction.axis)
      map.notes.emplace_back("neither " + map.file +
                                 " nor a sidecar tells along which axis it shifts: it is taken to "
                                 "be j, the second one, and the map is applied as it stands",
                             Advice{Advice::Kind::seeMapDirection});
    return;
  }
  const PhaseEncodingDirection own = first->acquisition.direction->value;
  direction.axis = own.axis;
  direction.sign = own.sign;
  map.warnings.emplace_back(
      map.file + " does not say for which phase-encoding direction it is: it is applied to " +
          first->file + " (" + nameOf(own) +
          ") as it stands, which is wrong if it was made for the opposite one",
      Advice{Advice::Kind::seeMapDirection});
}

// The direction of the series is settled, its factor found.
void settleSeries(const DistortionFile& map, const MapDirection& direction, bool isStated,
                  SeriesInput& input) {
  auto& own = input.acquisition.direction;
  if (!own) {
    if (isStated) bids::requireDirection(input.acquisition, input.file);
    own = bids::StatedDirection{direction.value(), Source::map, map.file};
  }
  if (own->value.axis != direction.value().axis)
    throw Error(map.file, "shifts along " + bids::nameOf({direction.value().axis, 1}) +
                              (direction.source.empty() ? "" : " (" + direction.source + ")") +
                              ", but " + stated(input));
  if (own->value.sign != direction.value().sign)
    input.notes.push_back(map.file + " is for " + nameOf(direction.value()) + " (" +
                          direction.source + "): it is turned round for " + input.file + ", " +
                          nameOf(own->value) + " (" + own->sourceText() + ")");
  const auto& readout = input.acquisition.readout;
  const std::optional<double> ofMap = readoutInRecord(map, own->value.axis);
  if (!readout || !ofMap) return;
  if (std::abs(readout->seconds - *ofMap) <= readoutTolerance * readout->seconds) return;
  input.mapScale = readout->seconds / *ofMap;
  input.notes.push_back(map.file + " is for a readout time of " + text(*ofMap) +
                        " s: it is scaled by " + text("%.3g", readout->seconds / *ofMap) + " for " +
                        input.file + ", which has " + text(readout->seconds) + " s (" +
                        sourceText(*readout) + ")");
}

// In voxels along the axis.
Volume<float> shiftOf(DistortionFile& map, int axis) {
  if (map.unit.value == bids::Unit::voxels) return std::move(map.values);
  const double size = nifti::columnLengths(map.header->affine())[axis];
  if (!(size > 0) || !std::isfinite(size))
    throw Error(map.file, "has voxels of " + text(size) + " mm: its mm are no voxels");
  if (map.unit.source == StatedUnit::Source::option || recordedInputs(map) == nullptr)
    map.notes.push_back("the mm of " + map.file +
                        " are taken to lead towards greater indices along " +
                        bids::nameOf({axis, 1}));
  Volume<float> shift = std::move(map.values);
  for (int n = 0; n < shift.size(); ++n)
    shift.data()[n] = static_cast<float>(static_cast<double>(shift.data()[n]) / size);
  return shift;
}

void checkGrid(const DistortionFile& map, SeriesInput& input) {
  if (map.values.dimensions() != input.header.dims)
    throw Error(map.file,
                "is a map of " + text(map.values.dimensions()) + " voxels, but " + input.file +
                    " has " + text(input.header.dims),
                {Advice::Kind::makeField});
  if (!map.header || !hasOrientation(*map.header) || !hasOrientation(input.header)) return;
  const double apart = cornersApart(gridOf(*map.header), gridOf(input.header), input.file);
  const std::string found =
      " lie at different places (up to " + counted("%.3g", apart, "voxel") + " apart)";
  if (!(apart <= 1)) throw Error(map.file, "and " + input.file + found, {Advice::Kind::makeField});
  if (apart > samePlaceVoxels) input.warnings.push_back(map.file + " and " + input.file + found);
}

}  // namespace

SeriesInput readSeriesForMap(const SeriesFile& options, const DistortionFile& map) {
  SeriesInput input = openSeries(options);
  checkGrid(map, input);
  input.acquisition = bids::resolveAcquisition(input.file, input.header.dims, options.given);
  input.onGridOfField = true;
  takeDirectionFromRecord(map, input);
  finishSeries(options, input);
  for (const std::string& doubt : bids::doubtsAboutSubject(input.file, map.file))
    input.warnings.push_back(doubt);
  return input;
}

Distortion settleMap(DistortionFile& map, const GivenMap& given, std::vector<SeriesInput>& series) {
  MapDirection direction = directionInRecord(map);
  if (given.direction) doubtGivenDirection(*given.direction, direction, map);
  if (given.direction) direction = {given.direction->axis, given.direction->sign, "option"};
  settleAssumed(map, direction, series);
  if (given.alongX) overrideAxes(map, direction, series);
  const bool isStated = direction.isKnown();
  if (!isStated) takeDirectionOfSeries(map, direction, series);
  for (SeriesInput& input : series) settleSeries(map, direction, isStated, input);
  if (recordedInputs(map) && !readoutInRecord(map, direction.value().axis))
    doubtUnknownReadout(map.file, {}, series);
  const PhaseEncodingDirection settled = direction.value();
  return Distortion(GridShift{shiftOf(map, settled.axis), settled, std::nullopt, map.file});
}

Volume<float> shiftFor(DistortionFile& map, PhaseEncodingDirection direction,
                       const std::string& name) {
  const MapDirection own = directionInRecord(map);
  if (own.axis && *own.axis != direction.axis)
    throw Error(map.file, "shifts along " + bids::nameOf({*own.axis, 1}) + " (" + own.source +
                              "), but " + name + " is phase encoded along " + nameOf(direction));
  Volume<float> shift = shiftOf(map, direction.axis);
  if (!own.isKnown())
    (map.header ? map.warnings : map.notes)
        .push_back(map.file +
                   " does not say for which phase-encoding direction it is: it is taken "
                   "to be for that of " +
                   name + ", " + nameOf(direction));
  if (own.assumed || !own.isKnown() || *own.sign == direction.sign) return shift;
  map.notes.push_back(map.file + " is for " + nameOf(own.value()) + " (" + own.source +
                      "): it is turned round for " + name + ", " + nameOf(direction));
  return -shift;
}

}  // namespace mirel
