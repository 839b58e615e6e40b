#include "dataset/participant.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <fstream>
#include <mutex>
#include <thread>

#include "base/error.h"
#include "base/utctime.h"
#include "dataset/description.h"
#include "numerics/fft/fftw.h"

namespace mirel::dataset {

namespace {

// What the estimate holds per voxel of a pair, and a correction per voxel and thread; measured
// (docs/datasets.md).
constexpr double bytesPerVoxelOfPair = 160, bytesPerVoxelOfVolume = 48, bytesAlways = 20e6;

/// Lets a job of one subject be ended; how far it is is told by subject.
class JobProgress : public Progress {
 public:
  explicit JobProgress(DatasetProgress& all) : dataset(all) {}
  void at(Stage, double, const std::string&) override { dataset.check(); }

 private:
  DatasetProgress& dataset;
};

class Workers {
 public:
  Workers(DatasetPlan& what, const ParticipantOptions& how, DatasetProgress& tell)
      : plan(what), options(how), progress(tell) {
    const int subjects = std::max(1, static_cast<int>(plan.subjects.size()));
    sideBySide = std::min(std::max(1, options.threads), subjects);
    threadsEach = std::max(1, options.threads / sideBySide);
  }

  void run() {
    std::vector<std::thread> threads;
    for (int n = 1; n < sideBySide; ++n) threads.emplace_back([this] { work(); });
    work();
    for (std::thread& thread : threads) thread.join();
    if (failure) std::rethrow_exception(failure);
  }

 private:
  // The next subject that fits into memory; null at the end.
  SubjectResult* begin() {
    std::unique_lock lock(mutex);
    if (next == plan.subjects.size() || failure) return nullptr;
    SubjectResult& subject = plan.subjects[next++];
    const int need = memoryMbOf(subject.plan, threadsEach);
    roomMade.wait(lock, [&] {
      return failure || options.memoryMb == 0 || running == 0 || usedMb + need <= options.memoryMb;
    });
    if (failure) return nullptr;
    usedMb += need;
    ++running;
    progress.started(subject.plan.subject);
    return &subject;
  }

  void end(const SubjectResult& subject) {
    const std::lock_guard lock(mutex);
    usedMb -= memoryMbOf(subject.plan, threadsEach);
    --running;
    ++done;
    if (!failure) progress.finished(subject, done, static_cast<int>(plan.subjects.size()), running);
    roomMade.notify_all();
  }

  void work() {
    while (SubjectResult* subject = begin()) {
      try {
        correct(*subject);
      } catch (...) {
        const std::lock_guard lock(mutex);
        if (!failure) failure = std::current_exception();
      }
      end(*subject);
    }
  }

  void correct(SubjectResult& subject) const {
    const std::string stem = options.output + "/logs/sub-" + subject.plan.subject;
    std::ofstream file(stem + ".log", std::ios::app);
    const Log log = [&](const std::string& line) { file << utcTime() << " " << line << std::endl; };
    log("Mirel " + options.version + ", subject " + subject.plan.subject);
    for (const Remark& warning : subject.plan.warnings) log("Warning: " + warning.text);
    JobProgress job(progress);
    SeriesSettings series = options.series;
    series.threads = threadsEach;
    runSubject(subject, {options.dataset, options.output, options.version, options.report, series},
               log, job);
    for (std::size_t n = 0; n < subject.outcomes.size(); ++n)
      if (subject.outcomes[n].status == Status::left)
        log(subject.plan.images[subject.plan.planned[n].image].image.path +
            " left uncorrected: " + subject.plan.planned[n].reason);
    writeIfDifferent(stem + "_plan.tsv", planTsv(subject));
    writeIfDifferent(stem + "_plan.json",
                     planJson(subject).dump(2, Json::NotUtf8::replaced) + "\n");
    if (!file) throw Error(stem + ".log", "cannot be written");
  }

  DatasetPlan& plan;
  const ParticipantOptions& options;
  DatasetProgress& progress;
  int sideBySide = 1, threadsEach = 1;
  std::mutex mutex;  // guards all that follows, and calls of `progress` but for check
  std::condition_variable roomMade;
  std::size_t next = 0;
  int running = 0, done = 0, usedMb = 0;
  std::exception_ptr failure;
};

}  // namespace

int memoryMbOf(const SubjectPlan& plan, int threads) {
  const auto voxelsOf = [&](std::size_t image) {
    const auto& grid = plan.images[image].grid;
    return grid ? static_cast<double>(grid->dims.x) * grid->dims.y * grid->dims.z : 0.0;
  };
  double pair = 0, volume = 0;
  for (const PlannedField& field : plan.fields) pair = std::max(pair, voxelsOf(field.pair.a));
  for (const PlannedImage& image : plan.planned) volume = std::max(volume, voxelsOf(image.image));
  const double bytes =
      bytesAlways + std::max(bytesPerVoxelOfPair * pair, bytesPerVoxelOfVolume * threads * volume);
  return static_cast<int>(bytes / 1e6) + 1;
}

void correctDataset(DatasetPlan& plan, const ParticipantOptions& options,
                    DatasetProgress& progress) {
  describeOutput(options.dataset, options.output, options.version);
  bindEngine();
  Workers(plan, options, progress).run();
}

}  // namespace mirel::dataset
