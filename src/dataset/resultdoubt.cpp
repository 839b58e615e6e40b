#include "dataset/resultdoubt.h"

#include <algorithm>
#include <filesystem>

#include "base/joined.h"
#include "bids/sidecar.h"
#include "dataset/plantable.h"

namespace mirel::dataset {

namespace {

constexpr std::size_t mostSubjectsNamed = 10;

Json recordBeside(const std::string& stem) try {
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(stem + ".json", ignored)) return Json::object();
  return bids::Sidecar(stem + ".json").json().part("Mirel");
} catch (const std::exception&) {
  return Json::object();
}

// Of the texts of a field.
std::string firstToCheck(const Json& record, const char* field = "Warnings") {
  for (const std::string& text : record.textsOf(field))
    if (text.starts_with("CHECK ")) return text;
  return "";
}

std::string reasonOf(const Json& verdict) {
  const std::vector<std::string> reasons = verdict.textsOf("Reasons");
  const std::string check = firstToCheck(verdict, "Reasons");
  return reasons.empty() || !check.empty() ? check : reasons.front();
}

int gravity(const ResultDoubt& doubt) {
  if (doubt.isUntrusted()) return 3;
  if (!doubt.check.empty()) return 2;
  return doubt.isDoubtful() ? 1 : 0;
}

std::string lineOf(const SubjectResult& subject) {
  const ResultDoubt* gravest = nullptr;
  int count = 0;
  for (const Outcome& outcome : subject.outcomes) {
    if (!outcome.doubt.isAny()) continue;
    ++count;
    if (gravest == nullptr || gravity(outcome.doubt) > gravity(*gravest)) gravest = &outcome.doubt;
  }
  if (gravest == nullptr) return "";
  return "sub-" + subject.plan.subject + " (" + std::to_string(count) +
         (count == 1 ? " image): " : " images): ") + gravest->sentence();
}

}  // namespace

const std::string& ResultDoubt::sentence() const {
  return isUntrusted() || check.empty() ? reason : check;
}

ResultDoubt doubtAbout(const std::string& imageStem, const std::string& fieldStem) {
  const Json ofField = recordBeside(fieldStem);
  const Json& verdict = ofField.part("Verdict");
  ResultDoubt doubt;
  doubt.trust = verdict.textOf("Trust");
  doubt.reason = reasonOf(verdict);
  doubt.check = firstToCheck(recordBeside(imageStem).part("Series"));
  // Those about a pair are reasons of its verdict.
  if (doubt.check.empty() && doubt.trust.empty()) doubt.check = firstToCheck(ofField);
  return doubt;
}

void DoubtCounts::add(const ResultDoubt& doubt) {
  untrusted += doubt.isUntrusted();
  doubtful += doubt.isDoubtful();
  toCheck += !doubt.check.empty();
}

std::string DoubtCounts::text() const {
  std::vector<std::string> parts;
  if (untrusted > 0) parts.push_back(std::to_string(untrusted) + " not to be trusted");
  if (doubtful > 0) parts.push_back(std::to_string(doubtful) + " doubtful");
  if (toCheck > 0) parts.push_back(std::to_string(toCheck) + " with a warning to CHECK");
  return joined(parts);
}

DoubtCounts doubtCounts(const std::vector<SubjectResult>& subjects) {
  DoubtCounts counts;
  for (const SubjectResult& subject : subjects)
    for (const Outcome& outcome : subject.outcomes) counts.add(outcome.doubt);
  return counts;
}

std::vector<std::string> doubtLines(const std::vector<SubjectResult>& subjects,
                                    const std::string& place) {
  std::vector<std::string> lines;
  for (const SubjectResult& subject : subjects)
    if (std::string line = lineOf(subject); !line.empty()) lines.push_back(std::move(line));
  if (lines.size() <= mostSubjectsNamed) return lines;
  const std::size_t more = lines.size() - mostSubjectsNamed;
  lines.resize(mostSubjectsNamed);
  lines.push_back("and " + std::to_string(more) + " more subjects: see " + place);
  return lines;
}

}  // namespace mirel::dataset
