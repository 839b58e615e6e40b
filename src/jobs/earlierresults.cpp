#include "jobs/earlierresults.h"

#include <algorithm>
#include <array>
#include <compare>
#include <filesystem>
#include <optional>
#include <string_view>

#include "base/error.h"
#include "base/joined.h"
#include "base/samefile.h"
#include "bids/name.h"
#include "bids/sidecar.h"
#include "jobs/checksum.h"
#include "jobs/recordjson.h"
#include "jobs/resultnames.h"
#include "nifti/filename.h"

namespace mirel {

namespace fs = std::filesystem;

namespace {

// What the record of a result says about one of its inputs.
struct Recorded {
  std::string checksum;
  int volume = 0, meanOfFirst = 0;
  std::vector<int> joined;
};

struct Record {
  std::vector<std::string> sources;
  std::optional<Recorded> series, partner;  ///< `partner` was joined with `series`
  std::vector<Recorded> others;             ///< the pair, the field or the map
  Json mirel;

  std::vector<Recorded> inputs() const {
    std::vector<Recorded> all = others;
    if (partner) all.insert(all.begin(), *partner);
    if (series) all.insert(all.begin(), *series);
    return all;
  }
};

Recorded recordedInput(const Json& json) {
  Recorded result;
  if (const Json* sum = json.find("SHA256")) result.checksum = sum->string();
  if (const Json* volume = json.find("Volume")) result.volume = volume->integer();
  if (const Json* mean = json.find("MeanOfVolumes")) result.meanOfFirst = mean->integer();
  if (const Json* joined = json.find("JoinedVolumes"))
    for (const Json& volume : joined->list()) result.joined.push_back(volume.integer());
  return result;
}

// Nothing where there is no record, or one of another program.
std::optional<Record> readRecord(const std::string& file) try {
  const bids::Sidecar sidecar(file);
  const Json* mirel = sidecar.json().find("Mirel");
  if (mirel == nullptr || !mirel->is_object()) return std::nullopt;
  Record record;
  record.mirel = *mirel;
  if (const Json* sources = sidecar.json().find("Sources"))
    for (const Json& source : sources->list()) record.sources.push_back(source.string());
  if (const Json* series = mirel->find("Series")) record.series = recordedInput(*series);
  if (const Json* partner = mirel->find("Partner")) record.partner = recordedInput(*partner);
  if (const Json* pair = mirel->find("Inputs"))
    for (const Json& input : pair->list()) record.others.push_back(recordedInput(input));
  for (const char* single : {"MeasuredField", "Field", "Map"})
    if (const Json* input = mirel->find(single)) record.others.push_back(recordedInput(*input));
  return record;
} catch (const std::exception&) {
  return std::nullopt;
}

// One of a result's inputs: its name for records or its checksum, and the volumes taken of it.
struct Key {
  std::string file;
  int volume = 0, meanOfFirst = 0;
  std::vector<int> joined;

  auto operator<=>(const Key&) const = default;
};

// In whatever order: a pair is the same one when its images change places. Copies of them, which
// are known by their bytes alone, keep their order: their names may have changed places.
std::vector<Key> sorted(std::vector<Key> keys) {
  std::sort(keys.begin(), keys.end());
  return keys;
}

std::vector<Key> keysByName(const std::vector<std::string>& sources,
                            const std::vector<Recorded>& recorded) {
  std::vector<Key> keys;
  for (std::size_t n = 0; n < std::min(sources.size(), recorded.size()); ++n)
    keys.push_back({sources[n], recorded[n].volume, recorded[n].meanOfFirst, recorded[n].joined});
  return sorted(keys);
}

std::vector<Key> keysByBytes(const std::vector<Recorded>& recorded) {
  std::vector<Key> keys;
  for (const Recorded& one : recorded)
    keys.push_back({one.checksum, one.volume, one.meanOfFirst, one.joined});
  return keys;
}

// The inputs of this run, held against those of many records. Their checksums are made at most
// once: series are large, and folders of many subjects have thousands of records.
class RunInputs {
 public:
  RunInputs(const std::vector<ResultInput>& what, const SourceNames& names) : inputs(what) {
    for (const ResultInput& input : inputs)
      byName.push_back({names.of(input.file), input.volume, input.meanOfFirst, input.joined});
    byName = sorted(byName);
  }

  bool are(const std::vector<std::string>& sources, const std::vector<Recorded>& recorded) {
    if (recorded.size() != inputs.size()) return false;
    if (sources.size() == inputs.size() && keysByName(sources, recorded) == byName) return true;
    return keysByBytes(recorded) == checksums();
  }

 private:
  const std::vector<Key>& checksums() {
    if (byBytes.empty())
      for (const ResultInput& input : inputs)
        byBytes.push_back({sha256Of(input.file), input.volume, input.meanOfFirst, input.joined});
    return byBytes;
  }

  const std::vector<ResultInput>& inputs;
  std::vector<Key> byName, byBytes;
};

// The record without what differs between results of one run, and between names of one file.
Json comparable(const Json& json) {
  constexpr std::array<std::string_view, 11> left = {
      "File",      "Sidecar",     "PhaseEncodingDirectionSource",
      "Warnings",  "Series",      "Partner",
      "Joining",   "FloatOutput", "DisplacementAxis",
      "SignCheck", "Check"};
  if (json.is_array()) {
    Json list = Json::array();
    for (const Json& element : json.list()) list.push_back(comparable(element));
    return list;
  }
  if (!json.is_object()) return json;
  Json object = Json::object();
  for (const auto& [name, value] : json.items())
    if (std::find(left.begin(), left.end(), name) == left.end()) object[name] = comparable(value);
  return object;
}

// Fields in one order, numbers as they are written.
std::string textOf(const Json& json) {
  const std::string text = comparable(json).dump(1, Json::NotUtf8::replaced);
  const std::optional<Json> sorted = Json::parse(text);
  return sorted ? sorted->dump(1, Json::NotUtf8::replaced) : text;
}

bool isOfPair(const Record& record, RunInputs& pair) {
  std::vector<std::string> sources = record.sources;
  for (const bool isThere : {record.series.has_value(), record.partner.has_value()})
    if (isThere && !sources.empty()) sources.erase(sources.begin());
  return pair.are(sources, record.others);
}

// The series of the run that a result was made of; null: none of them.
const SeriesRecord* seriesOf(const Record& record, const SourceNames& names, const RunRecord& run) {
  if (!record.series || record.sources.empty()) return nullptr;
  const auto found = std::find_if(run.series.begin(), run.series.end(), [&](const auto& series) {
    return record.sources.front() == names.of(series.file);
  });
  return found == run.series.end() ? nullptr : &*found;
}

// Whether this run would have given the series another place, such as by its motion.
bool isOtherwise(const Record& record, const SeriesRecord& series, const RunRecord& run) {
  const Json* earlier = record.mirel.find("Series");
  const Json now = originOf(run, Json::object(), series);
  return earlier == nullptr || textOf(*earlier) != textOf(*now.find("Series"));
}

// What goes with an image of a series under its name, whether this run makes it or not.
std::vector<std::string> namesBeside(const RunRecord& run) {
  std::vector<std::string> stems;
  for (const SeriesRecord& series : run.series)
    for (const bids::Name& name :
         {bids::Name::of(series.file), bids::Name::ofStem(nifti::niftiStem(series.output))})
      for (const std::string& stem : {warpName(name), motionName(name)}) stems.push_back(stem);
  return stems;
}

bool isIn(const std::vector<std::string>& stems, const std::string& stem) {
  return std::find(stems.begin(), stems.end(), stem) != stems.end();
}

// Gradients beside a series, where there are none now: they would be read as those of the new
// image. Those that an earlier run wrote go.
void settleGradients(const SeriesRecord& series, OutputFolder& folder, RunRecord& run) {
  const std::string stem = fs::path(nifti::niftiStem(series.output)).filename().string();
  for (const char* end : {".bvec", ".bval"}) {
    const std::string name = stem + end;
    if (folder.isAnnounced(name) || !folder.isThere(name)) continue;
    const std::optional<Record> record = readRecord(folder.target(stem + ".json"));
    if (record && hadGradients(record->mirel.part("Series"), end)) {
      folder.retire(name);
      run.notes.push_back(folder.target(name) +
                          ", gradients of an earlier run of this series, was removed: there is "
                          "none beside " +
                          series.file);
    } else {
      run.warnings.push_back(folder.target(name) +
                             " is not of this run, since there is none beside " + series.file +
                             ", but would be read as that of the corrected image");
    }
  }
}

// The file of which STEM.json is the record; empty: there is none.
std::string resultOf(const std::string& stem, const OutputFolder& folder) {
  for (const char* end : {".nii", ".nii.gz", ".txt"})
    if (folder.isThere(stem + end)) return stem + end;
  return {};
}

// Motion that the run took from there is not old.
bool isMotionOf(const std::string& file, const RunRecord& run) {
  return std::any_of(run.series.begin(), run.series.end(), [&](const SeriesRecord& series) {
    return series.motion && sameFile(series.motion->told.file, file);
  });
}

std::vector<std::string> recordsIn(const std::string& folder) {
  std::vector<std::string> stems;
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(folder, ignored))
    if (entry.path().extension() == ".json") stems.push_back(entry.path().stem().string());
  std::sort(stems.begin(), stems.end());
  return stems;
}

}  // namespace

std::vector<std::string> sourcesOf(const std::vector<ResultInput>& inputs,
                                   const SourceNames& names) {
  std::vector<std::string> sources;
  for (const ResultInput& input : inputs) sources.push_back(names.of(input.file));
  return sources;
}

EarlierResults::EarlierResults(const OutputFolder& folder, const SourceNames& sourceNames,
                               Others what)
    : where(folder), names(sourceNames), others(what) {}

void EarlierResults::refuseSharedSidecar(const std::string& stem,
                                         const std::vector<std::string>& files) const {
  for (const char* end : {".nii", ".nii.gz"}) {
    const std::string twin = stem + end;
    if (std::find(files.begin(), files.end(), twin) != files.end() || !where.isThere(twin))
      continue;
    throw Error(where.target(twin), "is there already, and the new " +
                                        where.target(stem + ".json") +
                                        " would be read as its sidecar, too: name another output, "
                                        "or move that image away");
  }
}

void EarlierResults::refuseOthers(const std::string& stem, const std::vector<std::string>& files,
                                  const std::vector<ResultInput>& inputs) const {
  refuseSharedSidecar(stem, files);
  if (others == Others::replaced) return;
  const auto there = std::find_if(files.begin(), files.end(),
                                  [&](const std::string& file) { return where.isThere(file); });
  if (there == files.end()) return;
  const std::string file = where.target(*there);
  const Advice advice{Advice::Kind::overwrite};
  const std::optional<Record> record = readRecord(where.target(stem + ".json"));
  if (!record)
    throw Error(file,
                "is there already, and no record beside it tells that it was made of the same "
                "images",
                advice);
  if (RunInputs(inputs, names).are(record->sources, record->inputs())) return;
  throw Error(
      file,
      "is there already and was made of other images or volumes (" + joined(record->sources) + ")",
      advice);
}

void EarlierResults::settle(const std::vector<ResultInput>& pair, const ResultStems& stems,
                            const Json& origin, OutputFolder& folder, RunRecord& run) const {
  const std::string now = textOf(origin);
  RunInputs inputs(pair, names);
  const std::vector<std::string> beside = namesBeside(run);
  for (const SeriesRecord& series : run.series) settleGradients(series, folder, run);
  for (const std::string& stem : recordsIn(folder.target(""))) {
    if (folder.isAnnounced(stem + ".json")) continue;
    const std::optional<Record> record = readRecord(folder.target(stem + ".json"));
    const std::string name = resultOf(stem, folder);
    if (!record || name.empty()) continue;
    const SeriesRecord* series = seriesOf(*record, names, run);
    if (textOf(record->mirel) == now && !(series && isOtherwise(*record, *series, run))) continue;
    const bool sameImages = pair.empty() ? series != nullptr : isOfPair(*record, inputs);
    const std::string file = folder.target(name);
    const auto leaving =
        std::find_if(stems.leaving.begin(), stems.leaving.end(),
                     [&](const ResultStems::Leaving& one) { return one.stem == stem; });
    if (sameImages && leaving != stems.leaving.end()) {
      folder.retire(name);
      folder.retire(stem + ".json");
      run.notes.push_back(file + ", " + leaving->what + " of an earlier run of this " +
                          (pair.empty() ? "series" : "pair") + ", was removed: this run has none");
    } else if (isMotionOf(file, run)) {
      continue;
    } else if (sameImages) {
      run.warnings.push_back(file +
                             " is old: an earlier run with other settings made it of the "
                             "same images, and this one did not make it again");
    } else if (isIn(stems.all, stem) || isIn(beside, stem)) {
      run.warnings.push_back(file +
                             " is old: an earlier run made it of other images or with other "
                             "settings, and this one did not make it again");
    }
  }
}

}  // namespace mirel
