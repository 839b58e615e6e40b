#include "pair/tablepair.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "base/error.h"
#include "base/numbertext.h"
#include "base/samefile.h"
#include "bids/acquisitiontable.h"
#include "nifti/image.h"

namespace mirel {

namespace {

using Rows = std::span<const bids::TableRow>;

// Lines counted instead of the gaps between them make 1 to 3 percent.
constexpr double readoutTolerance = 0.04;

std::string textOf(const bids::TableRow& row) {
  const glm::dvec3 v = row.vector;
  return "row " + std::to_string(row.number) + " (" + text(v.x) + " " + text(v.y) + " " +
         text(v.z) + " " + text(row.seconds) + ")";
}

/// One image and its part of the table: a row per volume, or one for all of them.
class Rowed {
 public:
  Rowed(ImageOptions given, nifti::Header itsHeader, Rows itsRows, std::string tableFile)
      : options(std::move(given)),
        header(std::move(itsHeader)),
        rows(itsRows),
        table(std::move(tableFile)) {}

  bids::PhaseEncodingDirection directionOf(int volume) const {
    return bids::directionIn(header, rowOf(volume));
  }

  const bids::TableRow& rowOf(int volume) const {
    return rows.size() == 1 ? rows.front() : rows[static_cast<std::size_t>(volume)];
  }

  /// Direction and readout time of the volumes that are taken.
  ImageOptions settled() const {
    const int count = std::max(options.meanOfFirst, 1);
    if (options.volume < 0 || options.volume > header.volumes - count)
      return options;  // readPair says what is wrong
    const bids::TableRow& row = rowOf(options.volume);
    for (int volume = options.volume; volume < options.volume + count; ++volume)
      if (directionOf(volume) != directionOf(options.volume) ||
          rowOf(volume).seconds != row.seconds)
        throw Error(table, "tells that the volumes of " + options.file +
                               " whose mean is to be taken differ: " + textOf(row) + " and " +
                               textOf(rowOf(volume)));
    ImageOptions result = options;
    result.given.table = table;
    result.given.direction = directionOf(options.volume);
    result.given.readoutSeconds = row.seconds;
    return result;
  }

  ImageOptions options;
  nifti::Header header;

 private:
  Rows rows;
  std::string table;
};

nifti::Header headerOf(const std::string& file) { return nifti::Reader(file).header(); }

int firstOpposite(const Rowed& image, const std::string& table) {
  const int volume = image.options.volume;
  if (volume >= image.header.volumes) return volume;  // readPair says that it is not there
  for (int other = 0; other < image.header.volumes; ++other)
    if (image.directionOf(other) == image.directionOf(volume).opposite()) return other;
  throw Error(table, "has no row of the direction opposite to that of " +
                         textOf(image.rowOf(volume)) + ", volume " + std::to_string(volume) +
                         " of " + image.options.file + ": a pair needs both");
}

TablePair settled(const Rowed& a, const Rowed& b) { return {a.settled(), b.settled(), {}, {}}; }

TablePair pairOfOneFile(const ImageOptions& a, ImageOptions b, Rows rows,
                        const std::string& table) {
  const nifti::Header header = headerOf(a.file);
  if (static_cast<int>(rows.size()) != header.volumes)
    throw Error(table, "has " + counted(static_cast<int>(rows.size()), "row") + ", but " + a.file +
                           " has " + counted(header.volumes, "volume") +
                           ": it takes one row per volume");
  b.file = a.file;
  const Rowed first(a, header, rows, table);
  if (b.volume < 0) b.volume = firstOpposite(first, table);
  TablePair pair = settled(first, Rowed(b, header, rows, table));
  const int used = std::max(a.meanOfFirst, 1) + std::max(b.meanOfFirst, 1);
  if (used < header.volumes)
    pair.notes.push_back(a.file + " has " + counted(header.volumes, "volume") + ", of which " +
                         counted(used, "volume") + " make the pair, from volume " +
                         std::to_string(a.volume) + " and from volume " + std::to_string(b.volume) +
                         " on");
  return pair;
}

TablePair pairOfTwoFiles(const ImageOptions& a, ImageOptions b, Rows rows,
                         const std::string& table) {
  const nifti::Header headerA = headerOf(a.file), headerB = headerOf(b.file);
  if (b.volume < 0) b.volume = a.volume;
  const int count = static_cast<int>(rows.size());
  const auto volumesA = static_cast<std::size_t>(headerA.volumes);
  if (count == headerA.volumes + headerB.volumes)
    return settled(Rowed(a, headerA, rows.first(volumesA), table),
                   Rowed(b, headerB, rows.subspan(volumesA), table));
  if (count == 2)
    return settled(Rowed(a, headerA, rows.first(1), table), Rowed(b, headerB, rows.last(1), table));
  throw Error(table, "has " + counted(count, "row") + ", but " + a.file + " and " + b.file +
                         " have " + counted(headerA.volumes, "volume") + " and " +
                         counted(headerB.volumes, "volume") +
                         ": it takes one row per image, or one per volume of the first and then "
                         "of the second");
}

/// What the table says depends on how the image is stored; only the first axis does.
void noteFirstAxis(const ImageOptions& image, TablePair& pair) {
  if (!image.given.direction || image.given.direction->axis != 0) return;
  const nifti::Header header = headerOf(image.file);
  const auto add = [&pair](const Remark& remark) {
    if (std::find(pair.notes.begin(), pair.notes.end(), remark) == pair.notes.end())
      pair.notes.push_back(remark);
  };
  if (bids::countsFirstAxisBackwards(header))
    add(image.file + " is stored in neurological order, in which the first column of " +
        image.given.table + " counts against the first axis: 1 is i-, and -1 is i");
  else if (header.sformCode <= 0 && header.qformCode <= 0)
    add(image.file +
        " has no orientation: it is taken to be stored in radiological order, in "
        "which the first column of " +
        image.given.table + " counts along the first axis");
}

std::optional<bids::Acquisition> sidecarsOf(const ImageOptions& image) {
  try {
    return bids::resolveAcquisition(image.file, headerOf(image.file).dims, {});
  } catch (const Error&) {
    // The table tells everything; what is wrong with a sidecar that is not needed is not told of
    // options, either.
    return std::nullopt;
  }
}

void doubtAgainstSidecars(const ImageOptions& image, TablePair& pair) {
  if (!image.given.isComplete()) return;
  const auto sidecars = sidecarsOf(image);
  if (!sidecars || !sidecars->direction) return;
  const bids::StatedDirection& stated = *sidecars->direction;
  if (stated.value != *image.given.direction)
    pair.warnings.push_back(image.given.table + " gives " + image.file +
                            " the phase-encoding direction " + nameOf(*image.given.direction) +
                            ", " + stated.file + " says " + nameOf(stated.value) +
                            ": the table counts");
  const auto& readout = sidecars->readout;
  const double given = *image.given.readoutSeconds;
  if (readout && std::abs(readout->seconds - given) > readoutTolerance * given)
    pair.warnings.push_back(image.given.table + " gives " + image.file + " a readout time of " +
                            text(given) + " s, " + nameOf(readout->source) + " in " +
                            readout->file + " " + text(readout->seconds) + " s: the table counts");
}

}  // namespace

TablePair pairByTable(const ImageOptions& a, const ImageOptions& b, const std::string& tableFile) {
  const FileStamp stamp(tableFile);
  const std::vector<bids::TableRow> rows = bids::readAcquisitionTable(tableFile);
  TablePair pair = b.file.empty() || sameFile(a.file, b.file)
                       ? pairOfOneFile(a, b, rows, tableFile)
                       : pairOfTwoFiles(a, b, rows, tableFile);
  for (ImageOptions* image : {&pair.a, &pair.b}) {
    image->given.tableStamp = stamp;
    noteFirstAxis(*image, pair);
    doubtAgainstSidecars(*image, pair);
  }
  return pair;
}

}  // namespace mirel
