#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <thread>

#include "base/error.h"
#include "base/inputfile.h"
#include "base/numbertext.h"
#include "cli/advice.h"
#include "cli/command.h"
#include "cli/interpolationoption.h"
#include "cli/interrupt.h"
#include "cli/motionoption.h"
#include "cli/numbers.h"
#include "cli/progressbar.h"
#include "cli/reportfacts.h"
#include "dataset/description.h"
#include "dataset/group.h"
#include "dataset/participant.h"
#include "host/session.h"
#include "jobs/reportfile.h"
#include "report/indexpage.h"

namespace mirel {

namespace {

using dataset::Status;
using dataset::SubjectResult;

constexpr const char* bidsDescription =
    "Correct a whole BIDS dataset.\n"
    "\n"
    "Finds the field of every EPI image of DATASET (bold, sbref, dwi, asl, m0scan, epi) by\n"
    "B0FieldIdentifier, by IntendedFor or, where sidecars are silent, by the images themselves,\n"
    "estimates each field once and corrects all its images. OUT becomes a BIDS dataset of\n"
    "derivatives. What is left uncorrected is told with the reason, here and in\n"
    "OUT/logs/sub-LABEL_plan.tsv. A run again does only what is missing or has changed.\n";

struct BidsCommandOptions {
  dataset::ParticipantOptions job;
  std::string level;
  std::optional<InterpolationKernel> interpolation;
  MotionArguments motion;  ///< within the series
  bool dryRun = false, strict = false, quiet = false, skipValidation = false, noReports = false,
       noViewer = false, noAlign = false;
};

/// A line for every subject on standard error.
class TerminalDatasetProgress : public dataset::DatasetProgress {
 public:
  explicit TerminalDatasetProgress(bool isQuiet)
      : quiet(isQuiet), bar(isQuiet ? ProgressBar::Output::none : ProgressBar::suitable()) {
    interrupts.beginWriting();
  }

  void started(const std::string& subject) override {
    if (!quiet) line("sub-" + subject + " started");
  }
  void finished(const SubjectResult& result, int done, int all, int running) override {
    const auto count = [&](Status status) { return std::to_string(result.count(status)); };
    if (!quiet)
      line("sub-" + result.plan.subject + ": " + count(Status::corrected) + " corrected, " +
           count(Status::upToDate) + " up to date, " + count(Status::left) + " left, " +
           count(Status::failed) + " failed; subjects: " + std::to_string(done) + " done, " +
           std::to_string(running) + " running, " + std::to_string(all - done - running) + " left");
    if (done < all) bar.show("Correcting subjects", static_cast<double>(done) / all);
  }
  void check() override { interrupts.check(); }
  void clear() { bar.clear(); }

 private:
  void line(const std::string& text) {
    bar.clear();
    std::cerr << text << "\n";
  }

  bool quiet;
  ProgressBar bar;
  InterruptGuard interrupts{InterruptGuard::Tell::asText};
};

int countIn(const dataset::DatasetPlan& plan, Status status) {
  int count = 0;
  for (const SubjectResult& subject : plan.subjects) count += subject.count(status);
  return count;
}

void tellWarnings(const dataset::DatasetPlan& plan) {
  for (const Remark& warning : plan.warnings) hostSession().console.warn(sentenceOf(warning));
  for (const SubjectResult& subject : plan.subjects)
    for (const Remark& warning : subject.plan.warnings)
      hostSession().console.warn(sentenceOf(warning));
}

void tellPlan(const dataset::DatasetPlan& plan) {
  for (const SubjectResult& subject : plan.subjects) std::cout << planText(subject);
}

// Results that are written and may be wrong; returns how the last line goes on.
std::string tellDoubts(const dataset::DatasetPlan& plan, const std::string& output) {
  for (const std::string& line : dataset::doubtLines(plan.subjects, output + "/logs"))
    hostSession().console.warn(line);
  const std::string counts = dataset::doubtCounts(plan.subjects).text();
  return counts.empty() ? "" : "; " + counts;
}

// What could be corrected and was not; with --strict also what could not. A dataset whose files are
// broken is not done, either.
int statusOf(const dataset::DatasetPlan& plan, bool strict) {
  bool broken = countIn(plan, Status::failed) > 0;
  for (const SubjectResult& subject : plan.subjects)
    for (std::size_t n = 0; n < subject.outcomes.size(); ++n) {
      if (subject.outcomes[n].status != Status::left) continue;
      const auto& image = subject.plan.images[subject.plan.planned[n].image];
      broken = broken || strict || !image.fault.empty();
    }
  return broken ? exitFailure : exitSuccess;
}

dataset::DatasetPlan planOf(const BidsCommandOptions& options) try {
  return planDataset(options.job);
} catch (const dataset::WrongSelection& mistake) {
  throw UsageError(sentenceOf(mistake));
}

int runBids(const BidsCommandOptions& options) {
  dataset::DatasetPlan plan = planOf(options);
  tellWarnings(plan);
  if (options.dryRun) {
    tellPlan(plan);
    return statusOf(plan, options.strict);
  }
  TerminalDatasetProgress progress(options.quiet);
  try {
    correctDataset(plan, options.job, progress);
  } catch (const Interrupted& stop) {
    progress.clear();
    hostSession().console.messageBox(
        "Error: interrupted; what was finished stays, and a run again goes on from there");
    return stop.exitStatus();
  }
  progress.clear();
  tellPlan(plan);
  const int status = statusOf(plan, options.strict);
  const auto count = [&](Status what) { return std::to_string(countIn(plan, what)); };
  const std::string doubts = tellDoubts(plan, options.job.output);
  std::cerr << (status == exitSuccess ? "Done: " : "Not all done: ")
            << counted(countIn(plan, Status::corrected), "image") << " corrected, "
            << count(Status::upToDate) << " were up to date, " << count(Status::left)
            << " left uncorrected, " << count(Status::failed) << " failed" << doubts << "\n";
  return status;
}

// The name of the dataset: that of its folder.
std::string nameOf(const std::string& dataset) {
  std::error_code ignored;
  return std::filesystem::weakly_canonical(dataset + "/.", ignored).filename().string();
}

// A page of others may have this name.
void writeIndex(const std::string& file, const std::string& page) {
  std::error_code ignored;
  if (std::filesystem::exists(file, ignored) &&
      readBeginning(file, pageHeadBytes).find("name=\"generator\" content=\"Mirel\"") ==
          std::string::npos)
    throw Error(file, "is there already and is not by Mirel: move it away, or give --no-reports");
  dataset::writeIfDifferent(file, page);
}

void tellOutliers(const std::vector<dataset::GroupRow>& rows) {
  dataset::DoubtCounts counts;
  for (const dataset::GroupRow& row : rows) {
    const char* check =
        row.hasOppositeSign() ? "CHECK THE SIGN, since the opposite one agrees better" : "";
    counts.add({row.verdict, "", check});
    if (!row.outlier.empty())
      std::cerr << "Outlier: " << row.image << " in " << row.outlier << (*check == 0 ? "" : ": ")
                << check << "\n";
  }
  if (const std::string doubts = counts.text(); !doubts.empty())
    std::cerr << rows.size() << " images, " << doubts << "\n";
}

int runGroup(const BidsCommandOptions& options) {
  const std::string& out = options.job.output;
  const std::vector<dataset::GroupRow> rows = dataset::groupRows(out);
  tellOutliers(rows);
  if (options.dryRun) {
    std::cout << groupTsv(rows);
    return exitSuccess;
  }
  if (!options.noReports)
    writeIndex(out + "/index.html",
               report::indexPage(nameOf(options.job.dataset), options.job.version, rows, out));
  dataset::writeIfDifferent(out + "/group_corrected.tsv", groupTsv(rows));
  dataset::writeIfDifferent(out + "/group_corrected.json", dataset::groupDictionary(rows));
  std::cout << out << "/group_corrected.tsv\n" << out << "/group_corrected.json\n";
  if (!options.noReports) std::cout << out << "/index.html\n";
  return exitSuccess;
}

void addSelection(Command* command, BidsCommandOptions& options) {
  command
      ->add_option("--participant-label,--participant_label", options.job.participants,
                   "Only these subjects, with or without sub- (default: all)")
      ->type_name("LABEL...");
  command
      ->add_option("--session-label,--session-id", options.job.sessions,
                   "Only images of these sessions, with or without ses-")
      ->type_name("LABEL...");
  command
      ->add_option("-t,--task-id,--task", options.job.tasks,
                   "Of images with a task only those of these, with or without task-")
      ->type_name("LABEL...");
  command
      ->add_option("--bids-filter-file,--bids_filter_file", options.job.filterFile,
                   "Only images that fit a JSON file of filters, as in\n"
                   R"({"bold": {"task": "rest"}, "fmap": {"acquisition": ["a", null]}})")
      ->type_name("FILE");
}

}  // namespace

void addBidsCommand(Command& app, Program& program) {
  Command* command = app.add_subcommand("bids", bidsDescription);
  const auto options = std::make_shared<BidsCommandOptions>();
  options->job.version = MIREL_VERSION;
  options->job.threads = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
  command->add_option("DATASET", options->job.dataset, "Folder of the raw dataset")
      ->type_name("")
      ->required();
  command
      ->add_option("OUT", options->job.output,
                   "Folder for the results; made if need be. Within the dataset only in\n"
                   "derivatives/")
      ->type_name("")
      ->required();
  command
      ->add_option("LEVEL", options->level,
                   "participant: correct the images; group: make a table of all corrected images,\n"
                   "OUT/group_corrected.tsv and OUT/index.html, and name the outliers")
      ->type_name("")
      ->required()
      ->one_of({"participant", "group"});
  addSelection(command, *options);
  command
      ->add_option("--n-cpus,--n_cpus,--nprocs", options->job.threads,
                   "Threads, subjects side by side first (default: one per core)")
      ->type_name("N")
      ->check([](const std::string& text) { return refuseBelow(1, text); });
  command
      ->add_option("--mem-mb,--mem_mb", options->job.memoryMb,
                   "Memory in MB that subjects side by side may need, by an estimate; one that\n"
                   "alone needs more runs alone (default: not bounded)")
      ->type_name("MB")
      ->check([](const std::string& text) { return refuseBelow(1, text); });
  command->add_flag("--dry-run", options->dryRun, "Print the plan and write nothing");
  command->add_flag("--strict", options->strict,
                    "Exit with 1 also where an image is left uncorrected for lack of a field");
  command->add_flag("--skip-bids-validation,--skip_bids_validation", options->skipValidation,
                    "Taken for the sake of scripts: the dataset is never validated as a whole");
  command->add_flag(
      "--no-reports,--no-report", options->noReports,
      "Do not write pages to look at: STEM_report.html beside each field and series,\n"
      "OUT/index.html");
  command->add_flag(
      "--no-viewer", options->noViewer,
      "Leave the viewer of all slices out of the pages, which makes each more than 1 MB\n"
      "smaller");
  command->add_flag("--no-align", options->noAlign,
                    "Take the head to be in every image where it was in the pair that corrects it\n"
                    "(default: look for its motion, and carry the field along)");
  addRealignOptions(
      command,
      "Find where the head was in each volume of every series and take its motion out\n"
      "together with the distortion in one interpolation; also written, as ITK text.\n"
      "Volumes with b > 100 s/mm^2 get the motion between those without gradients.\n"
      "Within images of one volume none is looked for",
      options->motion);
  addInterpolationOption(command, options->interpolation);
  command->add_flag("--quiet", options->quiet, "No lines about progress");
  command->callback([options, &program] {
    program.action = [options, &program] {
      SeriesSettings& series = options->job.series;
      series.align = !options->noAlign;
      series.realign = options->motion.realign;
      series.realignWeighted = options->motion.realignWeighted;
      if (options->interpolation) series.interpolation = *options->interpolation;
      if (!options->noReports)
        options->job.report = [&program, viewer = !options->noViewer] {
          return jobReportOf(program, viewer);
        };
      return options->level == "group" ? runGroup(*options) : runBids(*options);
    };
  });
}

}  // namespace mirel
