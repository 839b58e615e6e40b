#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "files/mydmr.h"
#include "files/myfmr.h"
#include "files/projects.h"
#include "support/temporaryfolder.h"

namespace mirel {

/// What the two kinds of project have in common is tested on both: ProjectOf<Functional> and
/// ProjectOf<Diffusion>.
struct Functional {
  using Project = FMR;
  static constexpr const char* header = "run1.fmr";
  static constexpr const char* data = "run1.stc";
  static constexpr const char* readingData = "Failed opening STC for reading: ";
  static constexpr const char* writingData = "Failed opening STC for writing: ";
  static std::vector<Volume<float>>& volumes(FMR& p) { return p.stcData; }
  static void load(FMR& p) { p.LoadSTC(); }
};

struct Diffusion {
  using Project = DMR;
  static constexpr const char* header = "run1.dmr";
  static constexpr const char* data = "run1.dwi";
  static constexpr const char* readingData = "Failed opening for reading: ";
  static constexpr const char* writingData = "Failed opening for writing: ";
  static std::vector<Volume<float>>& volumes(DMR& p) { return p.dwiData; }
  static void load(DMR& p) { p.LoadDWI(); }
};

template <typename Kind>
class ProjectOf : public testing::Test {
 protected:
  using Project = typename Kind::Project;

  Project read(const std::string& header) {
    return Project(dir.write(Kind::header, header), /*loadData=*/false);
  }
  Project load(const std::string& header, const std::string& data) {
    dir.write(Kind::data, data);
    return Project(dir.write(Kind::header, header), /*loadData=*/true);
  }
  static std::string printed(const Project& project) {
    std::ostringstream os;
    project.PrintTo(os);
    return os.str();
  }
  std::string headerName() const { return dir.file(Kind::header); }
  std::string dataName() const { return dir.file(Kind::data); }

  TemporaryFolder dir;
};

using Kinds = testing::Types<Functional, Diffusion>;

/// Every line that both kinds know, and one that neither does.
inline const std::string commonHeader = "\n" + projects::mainBeginning + projects::mainEnd +
                                        projects::position + projects::trailer + "Ignored: 0\n";

}  // namespace mirel
