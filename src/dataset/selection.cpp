#include <algorithm>
#include <filesystem>

#include "base/error.h"
#include "base/isoneof.h"
#include "base/joined.h"
#include "dataset/participant.h"

namespace mirel::dataset {

namespace {

namespace fs = std::filesystem;
using Labels = std::vector<std::string>;

// "sub-01,02" and "03": 01, 02, 03.
Labels labelsOf(const Labels& given, const std::string& prefix) {
  Labels labels;
  for (const std::string& word : given)
    for (std::size_t start = 0; start <= word.size();) {
      const std::size_t end = std::min(word.find(',', start), word.size());
      std::string label = word.substr(start, end - start);
      if (label.starts_with(prefix)) label.erase(0, prefix.size());
      if (!label.empty() && !isOneOf(label, labels)) labels.push_back(label);
      start = end + 1;
    }
  return labels;
}

// "1" for "001".
std::string withoutZeros(const std::string& label) {
  return label.substr(std::min(label.find_first_not_of('0'), label.size()));
}

// What there is instead, in words that go on after the label that there is not.
std::string insteadOf(const std::string& label, const Labels& known) {
  constexpr std::size_t most = 20;
  if (known.empty()) return "it has none";
  if (known.size() <= most) return "there are " + joined(known);
  Labels near;
  for (const std::string& each : known)
    if (withoutZeros(each) == withoutZeros(label)) near.push_back(each);
  return "there are " + std::to_string(known.size()) +
         (near.empty() ? "" : ", among them " + joined(near));
}

void refuseUnknown(const Labels& asked, const Labels& known, const std::string& what,
                   const std::string& root) {
  for (const std::string& label : asked)
    if (!isOneOf(label, known))
      throw WrongSelection(root, "has no " + what + " " + label + ": " + insteadOf(label, known));
}

Labels labelsIn(const Index& index, const std::string& entity) {
  Labels labels;
  for (const IndexedImage& image : index.images)
    if (const std::string label = image.entity(entity); !label.empty() && !isOneOf(label, labels))
      labels.push_back(label);
  std::sort(labels.begin(), labels.end());
  return labels;
}

void refuseOutput(const ParticipantOptions& options) {
  std::error_code ignored;
  const fs::path in = fs::weakly_canonical(options.dataset, ignored);
  const fs::path out = fs::weakly_canonical(options.output, ignored);
  const fs::path inside = (out / "").lexically_relative(in / "");
  const std::string first = inside.empty() ? ".." : inside.begin()->string();
  if (first != ".." && first != "derivatives")
    throw Error(options.output,
                "would lie among the images of the dataset: name a folder outside "
                "of it, or " +
                    (fs::path(options.dataset) / "derivatives/mirel").string());
}

/// Which images were asked for.
class Selection {
 public:
  Selection(const ParticipantOptions& options, const Index& index)
      : participants(labelsOf(options.participants, "sub-")),
        sessions(labelsOf(options.sessions, "ses-")),
        tasks(labelsOf(options.tasks, "task-")),
        filter(options.filterFile.empty() ? ImageFilter() : ImageFilter(options.filterFile)) {
    refuseUnknown(participants, index.subjects, "subject", index.root);
    refuseUnknown(sessions, labelsIn(index, "ses"), "session", index.root);
    refuseUnknown(tasks, labelsIn(index, "task"), "task", index.root);
  }

  bool wants(const std::string& subject) const {
    return participants.empty() || isOneOf(subject, participants);
  }

  // No field is estimated from those that a filter leaves out. Other images, and those of other
  // sessions, may be sources of a field although they are not corrected.
  void leaveFieldMapsOut(Index& index) const {
    for (IndexedImage& image : index.images)
      if (image.datatype == "fmap" && image.fault.empty())
        if (const std::string why = filter.whyNot(image); !why.empty()) image.fault = "is " + why;
  }

  std::vector<Remark> warnings(const Index& index) const {
    std::vector<IndexedImage> images;
    for (const IndexedImage& image : index.images)
      if (wants(image.subject)) images.push_back(image);
    return filter.warnings(images);
  }

  void apply(SubjectResult& result) const {
    for (std::size_t n = 0; n < result.outcomes.size(); ++n) {
      const std::string why = whyNot(result.plan.images[result.plan.planned[n].image].image);
      if (why.empty()) continue;
      result.outcomes[n].status = Status::notSelected;
      result.outcomes[n].reason = why;
    }
  }

 private:
  // A sentence; empty for an image that is wanted.
  std::string whyNot(const IndexedImage& image) const {
    if (!sessions.empty() && !isOneOf(image.session, sessions))
      return "its session is not among those that were asked for";
    const std::string task = image.entity("task");
    if (!tasks.empty() && !task.empty() && !isOneOf(task, tasks))
      return "its task is not among those that were asked for";
    const std::string why = filter.whyNot(image);
    return why.empty() ? "" : "it is " + why;
  }

  Labels participants, sessions, tasks;
  ImageFilter filter;
};

}  // namespace

DatasetPlan planDataset(const ParticipantOptions& options) {
  refuseOutput(options);
  Index index = indexDataset(options.dataset);
  const Selection selection(options, index);
  selection.leaveFieldMapsOut(index);
  DatasetPlan plan;
  plan.warnings = index.warnings;
  for (Remark& warning : selection.warnings(index)) plan.warnings.push_back(std::move(warning));
  for (const std::string& subject : index.subjects) {
    if (!selection.wants(subject)) continue;
    plan.subjects.push_back(SubjectResult::of(planSubject(index, subject), options.series));
    selection.apply(plan.subjects.back());
  }
  return plan;
}

}  // namespace mirel::dataset
