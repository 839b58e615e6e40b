#include "jobs/reportfile.h"

#include <algorithm>

#include "base/error.h"
#include "base/inputfile.h"
#include "jobs/checksum.h"

namespace mirel {

namespace {

std::string keyOf(const std::vector<ResultInput>& inputs, const SourceNames& names) {
  std::vector<std::string> lines;
  for (const ResultInput& input : inputs) {
    lines.push_back(names.of(input.file) + " " + std::to_string(input.volume) + " " +
                    std::to_string(input.meanOfFirst));
    for (const int volume : input.joined) lines.back() += "," + std::to_string(volume);
  }
  std::sort(lines.begin(), lines.end());
  std::string all;
  for (const std::string& line : lines) all += line + '\n';
  return sha256OfText(all);
}

}  // namespace

ReportFile::ReportFile(const OutputFolder& folder, const SourceNames& names,
                       const std::vector<ResultInput>& madeOf, std::string stem,
                       EarlierResults::Others what)
    : key(keyOf(madeOf, names)), ownName(std::move(stem) + reportEnd), others(what) {
  plainNameIsOurs = others == EarlierResults::Others::replaced || !folder.isThere(name()) ||
                    isOurs(folder.target(name()));
}

// A read that fails is an error: a page that is ours must not be taken for another's.
bool ReportFile::isOurs(const std::string& file) const {
  return readBeginning(file, pageHeadBytes)
             .find(std::string("name=\"") + reportKeyName + "\" content=\"" + key + "\"") !=
         std::string::npos;
}

void ReportFile::announce(OutputFolder& folder, const std::vector<std::string>& inputs) const {
  const std::string file = folder.target(name());
  folder.announce(name(), inputs);
  if (others == EarlierResults::Others::kept && folder.isThere(name()) && !isOurs(file))
    throw Error(file, "is there already and is not the report of the same images",
                Advice{Advice::Kind::overwrite});
}

void ReportFile::write(RunReport& report, const RunRecord& run, OutputFolder& folder) const {
  folder.writeText(name(), report.text(run, folder.targets(), key));
}

}  // namespace mirel
