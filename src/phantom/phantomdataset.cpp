#include "phantom/phantomdataset.h"

#include <filesystem>
#include <optional>
#include <set>
#include <vector>

#include "base/error.h"
#include "base/inputfile.h"
#include "base/json.h"
#include "base/moveall.h"
#include "base/outputfolder.h"
#include "phantom/datasettexts.h"
#include "phantom/sessionfiles.h"

namespace mirel {

namespace fs = std::filesystem;

namespace {

constexpr const char* descriptionFile = "dataset_description.json";
constexpr std::uintmax_t largestDescription = 1U << 20U;

// Of runs that are under way, this one among them.
bool isHiddenOfRuns(const std::string& name) {
  return name.starts_with(".mirel-") && name.ends_with(".part");
}

// Names in a folder and below, relative to it, folders included; without what runs hide.
std::set<std::string> namesIn(const fs::path& folder) {
  std::set<std::string> names;
  std::error_code failure;
  for (fs::recursive_directory_iterator entry(folder, failure), end; !failure && entry != end;
       entry.increment(failure)) {
    const fs::path name = entry->path().lexically_relative(folder);
    if (isHiddenOfRuns(name.begin()->string()))
      entry.disable_recursion_pending();
    else
      names.insert(name.generic_string());
  }
  if (failure) throw Error(folder.string(), "cannot be looked through: " + failure.message());
  return names;
}

bool isOurs(const fs::path& description) {
  std::error_code ignored;
  if (!fs::is_regular_file(description, ignored)) return false;
  const std::optional<Json> content =
      Json::parse(readWholeFile(description.string(), largestDescription));
  if (!content) return false;
  const Json& makers = content->part("GeneratedBy");
  return makers.is_array() && !makers.list().empty() && makers.at(0).textOf("Name") == datasetMaker;
}

// Before anything is computed: empty, not there, or an earlier dataset.
void requireOwnFolder(const fs::path& folder) {
  std::error_code ignored;
  if (!fs::is_directory(folder, ignored) || namesIn(folder).empty()) return;
  if (!isOurs(folder / descriptionFile))
    throw Error("the folder " + folder.string() +
                " holds something else than a dataset of phantoms: give one that is empty or does "
                "not exist");
}

// What is moved into its place takes all of its folders with it.
void requireNothingElse(const fs::path& folder, const std::set<std::string>& replacing) {
  for (const std::string& name : namesIn(folder))
    if (!replacing.contains(name))
      throw Error((folder / name).string(),
                  "is not of the dataset that is to be written, and nothing was: move it away, or "
                  "give an empty folder");
}

void writeSubject(const PhantomDatasetOptions& options, int number, const std::string& root) {
  const SubjectPlan plan = planSubject(options, number);
  const PhantomHead head(headOptions(options, plan));
  int session = 0;
  for (const std::string& label : sessionLabels(options)) {
    const PhantomSession content = head.session(session);
    const std::vector<SessionScan> scans = scansOf(plan, content);
    writeSession(scans, content, plan, options, {root, plan.label, label, session});
    writeSessionTruth(scans, content, plan, options,
                      {root + "/derivatives/truth", plan.label, label, session});
    ++session;
  }
}

void writeTexts(const PhantomDatasetOptions& options, OutputFolder& out) {
  fs::create_directories(out.path("derivatives/truth"));
  out.writeText(descriptionFile, datasetDescription(options));
  out.writeText("README", datasetReadme(options));
  out.writeText("participants.tsv", participantsTable(options));
  out.writeText("participants.json", participantsColumns());
  const std::string truth = "derivatives/truth/";
  out.writeText(truth + descriptionFile, truthDescription(options));
  out.writeText(truth + "README", truthReadme());
  out.writeText(truth + ".bidsignore", truthIgnored());
}

// Subjects' folders and what stands beside them, each with all that is in it.
std::vector<std::string> topOf(const std::set<std::string>& names) {
  std::vector<std::string> top;
  for (const std::string& name : names)
    if (name.find('/') == std::string::npos) top.push_back(name);
  return top;
}

}  // namespace

void writePhantomDataset(const PhantomDatasetOptions& options, const std::string& folder) {
  sessionLabels(options);
  checkPhantomOptions(headOptions(options, planSubject(options, 1)));
  OutputFolder out(folder);
  requireOwnFolder(folder);
  // Folders are moved whole, which the announced files of an OutputFolder are not: none is.
  out.write([&] {
    const fs::path hidden = fs::path(out.path("x")).parent_path();
    writeTexts(options, out);
    for (int number = 1; number <= options.subjects; ++number)
      writeSubject(options, number, hidden.string());
    const std::set<std::string> names = namesIn(hidden);
    requireNothingElse(folder, names);
    moveAll(folder, hidden, topOf(names));
  });
}

}  // namespace mirel
