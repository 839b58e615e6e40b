#include "tasks/check.h"

#include <fstream>
#include <string>

#include "files/projectnames.h"
#include "hostapi/ztaccess.h"

namespace mirel {

namespace {

// The line that describes what is wrong with a file, empty if nothing is.
std::string finding(const std::string& fileName) {
  if (!isProjectName(fileName)) return fileName + ": not an FMR or DMR file\n";
  const std::ifstream file(fileName);
  return file.good() ? "" : fileName + ": could not read file\n";
}

}  // namespace

void checkFiles(std::ostream& log) {
  std::string findings;
  for (const std::string& fileName : split_string(get_string_parameter("files")))
    findings += finding(fileName);
  if (findings.empty())
    log << "Check: OK" << std::flush;
  else
    exported(host::ztMessageBox, "ztMessageBox")(findings.c_str());
}

}  // namespace mirel
