#include "jobs/reportfile.h"

#include <algorithm>
#include <cstdint>

#include "base/error.h"
#include "base/inputfile.h"
#include "jobs/checksum.h"

namespace mirel {

namespace {

// The line stands among the first of a page.
constexpr std::size_t lookedAt = 4096;
constexpr std::uintmax_t largestPage = 256U << 20U;

std::string keyOf(const std::vector<ResultInput>& inputs, const SourceNames& names) {
  std::vector<std::string> lines;
  for (const ResultInput& input : inputs)
    lines.push_back(names.of(input.file) + " " + std::to_string(input.volume) + " " +
                    std::to_string(input.meanOfFirst));
  std::sort(lines.begin(), lines.end());
  std::string all;
  for (const std::string& line : lines) all += line + '\n';
  return sha256OfText(all);
}

// A read that fails is an error: a page that is ours must not be taken for another's.
std::string beginningOf(const std::string& file) {
  return readWholeFile(file, largestPage).substr(0, lookedAt);
}

}  // namespace

ReportFile::ReportFile(const OutputFolder& folder, const SourceNames& names,
                       const std::vector<ResultInput>& madeOf, std::string stem,
                       EarlierResults::Others what)
    : key(keyOf(madeOf, names)), ownName(std::move(stem) + "_report.html"), others(what) {
  plainNameIsOurs = others == EarlierResults::Others::replaced || !folder.isThere(name()) ||
                    isOurs(folder.target(name()));
}

bool ReportFile::isOurs(const std::string& file) const {
  return beginningOf(file).find(std::string("name=\"") + reportKeyName + "\" content=\"" + key +
                                "\"") != std::string::npos;
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
