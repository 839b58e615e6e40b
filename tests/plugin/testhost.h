#pragma once

#include <map>
#include <string>
#include <vector>

#include "containers/volume.h"

namespace mirel {

/// A host application for tests: its state, and a record of every call that the plugin makes.
/// The exported functions themselves stand in testhost.cpp, each of which a build can leave out.
struct TestHost {
  struct SavedMap {
    Volume<float> map;
    int kind = 0, flag = 0, untouched = 0;
    float parameter1 = 0, parameter2 = 0;
  };

  int major = 2, minor = 6, revision = 0;
  std::map<std::string, std::string> strings;
  std::map<std::string, int> integers;
  std::string chosenFile;  ///< answer of the file dialog; empty: cancelled

  bool hasMap = true;           ///< whether the map store hands out slices
  glm::ivec3 mapDims{0, 0, 0};  ///< of the current FMR's map
  std::map<std::string, SavedMap> savedMaps;
  SavedMap current;

  std::vector<std::string> calls;     ///< every call in order: name, then its text arguments
  std::vector<std::string> logLines;  ///< texts of ztLogText
  std::vector<std::string> boxes;     ///< texts of ztMessageBox
  /// Called by the functions of these names, after the record.
  void (*onShowBusyCursor)() = nullptr;
  void (*onStopBusyCursor)() = nullptr;
  void (*onMessageBox)() = nullptr;
  void (*onLogText)() = nullptr;
  void (*onVersion)() = nullptr;
  int missingSlice = -1;  ///< of the map: its pointer is null

  /// The calls whose name does not start with "zt_fftwf".
  std::vector<std::string> callsWithoutFft() const;
};

/// The one host of this process.
TestHost& testHost();

}  // namespace mirel
