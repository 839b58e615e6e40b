#pragma once

#include <sstream>

#include "files/project.h"
#include "files/projectinfo.h"
#include "fuzz/input.h"

namespace mirel::fuzz {

/// Missing voxels are zeros, up to 256 MB of them: true, and too slow for a fuzzer, which tries
/// hundreds of times as many inputs on small ones.
inline bool isLarge(const ProjectHeader& header) {
  double voxels = header.NrOfVolumes;
  for (int axis = 0; axis < 3; ++axis) voxels *= header.dimensions()[axis];
  return voxels > 2000 || header.NrOfVolumes > 100;
}

/// A number whose line is the last of a header loses the blank before it when it is saved.
inline bool isFoundAgain(const Line<int>& number) {
  return number.getWidth() > static_cast<int>(number.getName().size()) + 1;
}

/// A project whose header is the first part of the input and whose data file is the rest ("%%"
/// between them): read, printed, saved under another name and read again.
inline void readProject(std::string_view bytes, const std::string& header,
                        const std::string& dataFile) {
  static const MemoryFolder folder;
  const auto sections = sectionsOf(bytes, 2);
  const std::string file = folder.put(header, sections[0]);
  folder.put(dataFile, sections[1]);
  answers([&] {
    Project project(file, ProjectContent::headerOnly);
    std::ostringstream text;
    project.printTo(text);
    if (isLarge(project.header())) return;
    project.load();
    const std::size_t volumes = project.volumes().size();
    project.saveAs(folder.path("again" + header.substr(header.rfind('.'))));
    Project again(folder.path("again" + header.substr(header.rfind('.'))),
                  ProjectContent::withData);
    if (isFoundAgain(project.header().NrOfVolumes))
      require(again.volumes().size() == volumes, "saved and read with other volumes");
  });
}

}  // namespace mirel::fuzz
