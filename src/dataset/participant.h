#pragma once

#include <functional>
#include <string>
#include <vector>

#include "base/progress.h"
#include "dataset/filter.h"
#include "dataset/plantable.h"
#include "dataset/subjectrun.h"

namespace mirel::dataset {

/// What to correct of a dataset, where to, and with how much of the machine.
struct ParticipantOptions {
  std::string dataset, output;
  /// Labels with or without "sub-", "ses-", "task-"; empty: all.
  std::vector<std::string> participants, sessions, tasks;
  std::string filterFile;  ///< of an ImageFilter; empty: none
  int threads = 1;         ///< of all subjects together
  int memoryMb = 0;        ///< that subjects side by side may need; 0: not bounded
  std::string version;
  ReportMaker report;  ///< empty: no pages
  /// How images are corrected; the threads of this come from those of all subjects.
  SeriesSettings series{.modulation = Modulation::on, .align = true};
};

/// Who is told how far a dataset is. Called by several threads, but by one at a time.
class DatasetProgress {
 public:
  virtual ~DatasetProgress() = default;
  virtual void started(const std::string& subject) = 0;
  virtual void finished(const SubjectResult& result, int done, int all, int running) = 0;
  /// What it throws (Cancelled) ends the run. Called often, by any thread.
  virtual void check() = 0;

 protected:
  DatasetProgress() = default;
  DatasetProgress(const DatasetProgress&) = default;
  DatasetProgress& operator=(const DatasetProgress&) = default;
};

/// The plan of a dataset: the subjects that were asked for, with the images that were not marked
/// so. The plan of a subject is made of all its images but for field maps that a filter leaves out,
/// so that sessions and tasks that were asked for do not change it.
struct DatasetPlan {
  std::vector<SubjectResult> subjects;
  std::vector<Remark> warnings;
};

/// Errors  Error: those of indexDataset; the output folder is the dataset, or lies in it and not in
///         derivatives/.
///         WrongSelection: a label that the dataset does not have; up to 20 that it has are named,
///         of more only those that differ in leading zeros; those of ImageFilter.
DatasetPlan planDataset(const ParticipantOptions& options);

/// Corrects what is planned: subjects side by side in threads of this process, each in one thread
/// but for its estimates and series, where there are more threads than subjects. Results do not
/// depend on the number. A subject starts when what it needs (memoryMbOf) fits beside those that
/// run; one that alone needs more than there is runs alone.
///
/// Writes dataset_description.json and .bidsignore into the output folder, where they are not or
/// differ, and for each subject logs/sub-LABEL.log, to which every run appends lines that begin
/// with the time, and logs/sub-LABEL_plan.tsv and .json.
///
/// Errors  Cancelled; Error where the output folder cannot be written to.
void correctDataset(DatasetPlan& plan, const ParticipantOptions& options,
                    DatasetProgress& progress);

/// An estimate of the memory that a subject needs at the most, in MB: by the voxels of its largest
/// pair and the volumes of its largest series that are held at once.
int memoryMbOf(const SubjectPlan& plan, int threads);

}  // namespace mirel::dataset
