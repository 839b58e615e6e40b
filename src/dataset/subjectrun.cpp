#include "dataset/subjectrun.h"

#include <filesystem>
#include <new>

#include "base/error.h"
#include "base/joined.h"
#include "base/moveall.h"
#include "dataset/fieldlabels.h"
#include "dataset/perfusiontable.h"
#include "dataset/uptodate.h"
#include "jobs/applyfield.h"
#include "jobs/correctpair.h"
#include "jobs/measurement.h"
#include "jobs/reportfile.h"
#include "jobs/resultnames.h"

namespace mirel::dataset {

namespace {

namespace fs = std::filesystem;

/// A field as it stands in the output folder.
struct FieldFile {
  std::string field, map;  ///< one of them is empty
  std::string mean;
  std::string reference;              ///< that series are aligned and compared with; empty: none
  std::vector<std::string> warnings;  ///< about the pair

  const std::string& file() const { return field.empty() ? map : field; }
};

class SubjectRun {
 public:
  SubjectRun(SubjectResult& what, const RunSettings& how, const Log& tell, Progress& where)
      : result(what), plan(what.plan), settings(how), log(tell), progress(where) {}

  void run() {
    for (std::size_t field = 0; field < plan.fields.size(); ++field) {
      const std::vector<std::size_t> targets = targetsOf(field);
      if (targets.empty()) continue;
      guarded(targets, [&] { correctAll(plan.fields[field], targets); });
    }
  }

 private:
  // A failure is the outcome of these targets.
  template <typename Work>
  void guarded(const std::vector<std::size_t>& targets, const Work& work) {
    try {
      work();
    } catch (const Cancelled&) {
      throw;
    } catch (const std::bad_alloc&) {
      fail(targets, "there is not enough memory");
    } catch (const std::exception& error) {
      fail(targets, error.what());
    }
  }

  std::vector<std::size_t> targetsOf(std::size_t field) const {
    std::vector<std::size_t> targets;
    for (std::size_t n = 0; n < plan.planned.size(); ++n)
      if (plan.planned[n].field == field && result.outcomes[n].status == Status::planned)
        targets.push_back(n);
    return targets;
  }

  const ImageFacts& imageOf(std::size_t target) const {
    return plan.images[plan.planned[target].image];
  }
  std::string rawFile(const ImageFacts& image) const {
    return settings.dataset + "/" + image.image.path;
  }
  // The folder of results, from the output folder on.
  std::string folderOf(const std::string& session, const std::string& datatype) const {
    return "sub-" + plan.subject + (session.empty() ? "" : "/ses-" + session) + "/" + datatype;
  }

  void fail(const std::vector<std::size_t>& targets, const std::string& reason) {
    for (const std::size_t target : targets) {
      Outcome& outcome = result.outcomes[target];
      if (outcome.status != Status::planned) continue;
      outcome.status = Status::failed;
      outcome.reason = reason;
      log(imageOf(target).image.path + " failed: " + reason);
    }
  }

  void correctAll(const PlannedField& field, const std::vector<std::size_t>& targets) {
    bool isNew = false;
    const FieldFile source = field.isMeasured ? measure(field) : estimate(field, isNew);
    for (const std::size_t target : targets) {
      if (field.correctsPair && field.pair.has(plan.planned[target].image)) {
        finish(target, isNew ? Status::corrected : Status::upToDate,
               folderOf(field.session, "fmap") + "/" + correctedName(imageOf(target).image.name) +
                   imageEnd,
               source, source.warnings);
        continue;
      }
      guarded({target}, [&] { correct(target, source); });
    }
  }

  void finish(std::size_t target, Status status, const std::string& output, const FieldFile& source,
              const std::vector<std::string>& warnings) {
    Outcome& outcome = result.outcomes[target];
    outcome.status = status;
    outcome.output = output;
    outcome.warnings = warnings;
    outcome.doubt = doubtAbout(settings.output + "/" + stemOf(output), stemOf(source.file()));
    log(imageOf(target).image.path + " " + nameOf(status) + ": " + output);
    for (const std::string& warning : warnings) log("Warning: " + warning);
  }

  bool isCubic() const { return settings.series.interpolation == InterpolationKernel::cubic; }

  FieldFile filesOf(const PlannedField& field) const {
    const std::string folder = settings.output + "/" + folderOf(field.session, "fmap") + "/";
    const ImageFacts &a = plan.images[field.pair.a], &b = plan.images[field.pair.b];
    FieldFile files;
    files.mean = folder + fieldResultName(plan, field, "magnitude") + imageEnd;
    // What is found of series does not depend on how images are written.
    files.reference = isCubic()
                          ? files.mean
                          : folder + fieldResultName(plan, field, "magnitude", "cubic") + imageEnd;
    if (a.readoutSeconds || b.readoutSeconds) {
      files.field = folder + fieldResultName(plan, field, "fieldmap") + imageEnd;
    } else {
      const std::string volume = a.volumes > 1 ? "Volume" + std::to_string(field.volumeA) : "";
      files.map =
          folder + displacementName(a.image.name, "voxels", field.label + volume) + imageEnd;
    }
    return files;
  }

  static std::string stemOf(const std::string& image) {
    return image.substr(0, image.size() - std::string(imageEnd).size());
  }

  // A page that was asked for and is not there is missing like any other result.
  bool hasPage(const std::string& stem) const {
    std::error_code ignored;
    return !settings.report || fs::is_regular_file(stem + reportEnd, ignored);
  }

  // The field of phases, or one of a scanner smoothed and continued. Its magnitude shows the head
  // as it is.
  FieldFile measure(const PlannedField& field) {
    const std::string folder = settings.output + "/" + folderOf(field.session, "fmap");
    const std::string stem = folder + "/" + fieldResultName(plan, field, "fieldmap");
    clearLeftovers(folder);
    std::vector<std::string> images;
    for (const std::size_t image : field.sources()) images.push_back(rawFile(plan.images[image]));
    FieldFile files;
    files.field = stem + imageEnd;
    files.reference = magnitudeBeside(images.front());
    if (isMeasurementUpToDate(stem, images, files.reference, settings.version, sums)) return files;
    MeasureFieldOptions options;
    if (plan.images[field.pair.a].image.suffix() == "fieldmap")
      options.fieldFile = images.front();
    else
      options.phaseFiles = images;
    options.output = files.field;
    options.version = settings.version;
    log("making a field of " + joined(images, " and "));
    const MeasuredFieldRun run = measureField(options);
    for (const Remark& note : run.notes) log(note.text);
    for (const Remark& warning : run.warnings) files.warnings.push_back(warning.text);
    return files;
  }

  // What another program wrote stays.
  static bool isForeign(const std::string& stem, const std::string& end) {
    std::error_code ignored;
    return fs::exists(stem + end, ignored) && !isOurs(stem);
  }

  FieldFile estimate(const PlannedField& field, bool& isNew) {
    const ImageFacts &a = plan.images[field.pair.a], &b = plan.images[field.pair.b];
    FieldFile files = filesOf(field);
    std::vector<std::string> stems = {stemOf(files.file()), stemOf(files.mean)};
    if (!isCubic()) stems.push_back(stemOf(files.reference));
    const std::string folder = settings.output + "/" + folderOf(field.session, "fmap");
    // What a killed run left is finished before anybody asks what is there.
    clearLeftovers(folder);
    if (field.correctsPair)
      for (const ImageFacts* image : {&a, &b})
        stems.push_back(folder + "/" + correctedName(image->image.name));
    const PairSource first{rawFile(a), field.volumeA}, second{rawFile(b), field.volumeB};
    const InterpolationKernel interpolation = settings.series.interpolation;
    if (hasPage(stems[0]) &&
        isPairUpToDate(stems, first, second, interpolation, settings.version, sums))
      return files;
    isNew = true;
    CorrectPairOptions options;
    options.a.file = first.file;
    options.a.volume = first.volume;
    options.b.file = second.file;
    options.b.volume = second.volume;
    options.results.corrected = field.correctsPair;
    options.results.label = field.label;
    options.results.cubicMean = true;
    options.estimate.interpolation = interpolation;
    options.estimate.threads = settings.series.threads;
    options.outputFolder = folder;
    const std::unique_ptr<RunReport> report = settings.report ? settings.report() : nullptr;
    options.report = report.get();
    options.reportStem = fs::path(stems[0]).filename().string();
    options.overwrite = (isOurs(stems[0]) || isOurs(stems[1])) &&
                        (isCubic() || !isForeign(stemOf(files.reference), imageEnd));
    options.version = settings.version;
    log("estimating the field of " + first.file + " and " + second.file);
    const RunRecord run = correctPair(options, progress);
    for (const Remark& note : run.notes) log(note.text);
    for (const Remark& warning : run.warnings) files.warnings.push_back(warning.text);
    return files;
  }

  // The page of a series has no verdict of its own on the pair.
  static std::vector<Remark> doubtsAbout(const FieldFile& source) {
    const std::string trust = trustIn(stemOf(source.file()));
    if (trust.empty() || trust == "trusted") return {};
    return {Remark(source.file() + " is " +
                   (trust == "doubtful" ? "doubtful" : "not to be trusted") +
                   ", by the verdict on the pair that it is estimated from")};
  }

  // A series is aligned to the undistorted image, by a field in Hz. What has one volume has no
  // motion within, nor a file of it.
  SeriesSettings settingsFor(const ImageFacts& image, const FieldFile& source) const {
    SeriesSettings series = settings.series;
    if (image.volumes == 1) series.realign = series.realignWeighted = false;
    series.align = series.align && !source.field.empty() && !source.reference.empty();
    return series;
  }

  void correct(std::size_t target, const FieldFile& source) {
    const ImageFacts& image = imageOf(target);
    const std::string folder = folderOf(image.image.session, image.image.datatype);
    const std::string name = folder + "/" + correctedName(image.image.name);
    const std::string stem = settings.output + "/" + name;
    clearLeftovers(settings.output + "/" + folder);
    const SeriesSettings how = settingsFor(image, source);
    if (hasPage(stem) &&
        isSeriesUpToDate(stem, rawFile(image), source.file(), how, settings.version, sums)) {
      copyPerfusionTable(rawFile(image), settings.output + "/" + folder);
      finish(target, Status::upToDate, name + imageEnd, source, {});
      return;
    }
    ApplyFieldOptions options;
    options.fieldFile = source.field;
    options.mapFile = source.map;
    options.series = {{rawFile(image), {}}};
    options.seriesSettings = how;
    options.output = settings.output + "/" + folder;
    options.reference = source.reference;
    options.doubts = doubtsAbout(source);
    const std::unique_ptr<RunReport> report = settings.report ? settings.report() : nullptr;
    options.report = report.get();
    options.reportStem = correctedName(image.image.name);
    const std::string motion = motionStemOf(stem, rawFile(image));
    options.overwrite =
        isOurs(stem) && !isForeign(motion, motionEnd) && !isForeign(motion, ".json");
    options.removeOldMotion = true;
    options.version = settings.version;
    const RunRecord run = applyField(options, progress);
    copyPerfusionTable(rawFile(image), options.output);
    for (const Remark& note : run.notes) log(note.text);
    std::vector<std::string> warnings = source.warnings;
    for (const Remark& warning : run.warnings) warnings.push_back(warning.text);
    finish(target, Status::corrected, name + imageEnd, source, warnings);
  }

  SubjectResult& result;
  const SubjectPlan& plan;
  const RunSettings& settings;
  const Log& log;
  Progress& progress;
  Checksums sums;
};

}  // namespace

void runSubject(SubjectResult& result, const RunSettings& settings, const Log& log,
                Progress& progress) {
  SubjectRun(result, settings, log, progress).run();
}

}  // namespace mirel::dataset
