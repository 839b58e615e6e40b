#include "jobs/startingfield.h"

#include <algorithm>

#include "base/error.h"
#include "base/numbertext.h"
#include "bids/doubts.h"
#include "jobs/seriesinput.h"

namespace mirel {

namespace {

constexpr double leastCovered = 0.8;  // of the head, by a field that corrects it

// The border's field goes on where nobody measured it: of a head cut by a few slices that is a
// guess, of more of it no correction.
void doubtUncovered(const PairInput& pair, const DistortionFile& start, Verdict& verdict) {
  const double covered = 1 - partOfHeadOff(pair.a.image, gridOf(pair.a.header), fieldOf(start));
  if (!(covered < leastCovered)) return;
  verdict.add(Trust::doubtful, "CHECK " + pair.startFile + ": it covers only " +
                                   text("%.0f", 100 * covered) + " % of the head of " +
                                   pair.a.title() + ", and what it is in the rest nobody measured");
}

}  // namespace

DistortionFile readStartingField(const std::string& file, PairInput& pair) {
  DistortionFile source = readDistortionFile(file, TakenFor::fieldOfPair);
  if (!source.isField())
    throw Error(file, "holds displacements in " + nameOf(source.unit.value) +
                          ", not a field in Hz, as is wanted here");
  if (!pair.readoutSeconds)
    throw Error(pair.a.options.file,
                "has no known readout time, without which " + file + " displaces nothing");
  const Grid grid = gridOf(pair.a.header);
  const FieldHz field = fieldOf(source);
  const Volume<float> covered = coverage(grid, gridOf(field), file);
  const bool pairIsOriented = hasOrientation(pair.a.header);
  // Two without orientation on one grid lie upon each other.
  const bool onOneGrid = !field.isOriented && !pairIsOriented && field.hz.dimensions() == grid.dims;
  const std::string guess =
      onOneGrid ? "" : guessOfPlace(file, field.isOriented, pair.a.options.file, pairIsOriented);
  if (!guess.empty()) pair.warnings.emplace_back(guess);
  if (std::count(covered.data(), covered.data() + covered.size(), 1.0F) == 0)
    throw Error(file, "does not overlap " + pair.a.options.file + ", by their affines" +
                          (guess.empty() ? "" : " (" + guess + ")"));
  pair.startFile = file;
  pair.start = shiftVoxels(field, grid, pair.a.direction(), *pair.readoutSeconds);
  const std::string doubt = headOffField(pair.a.image, pair.a.header, pair.a.options.file, field);
  if (!doubt.empty()) pair.warnings.emplace_back(doubt);
  pair.warnings.insert(pair.warnings.end(), source.warnings.begin(), source.warnings.end());
  pair.notes.insert(pair.notes.end(), source.notes.begin(), source.notes.end());
  for (const std::string& other : bids::doubtsAboutSubject(file, pair.a.options.file))
    pair.warnings.emplace_back(other);
  return source;
}

void doubtStartingField(const DistortionFile& start, PairInput& pair, Verdict& verdict) {
  if (!pair.startIsMap) return;
  // One of another unit may move nothing, and the images agree no worse than they came.
  for (const Remark& doubt : start.doubts) {
    std::erase(pair.warnings, doubt);
    verdict.add(Trust::doubtful, doubt);
  }
  doubtUncovered(pair, start, verdict);
}

}  // namespace mirel
