#include "host/exports.h"

#include <cstring>
#include <exception>
#include <string>

#include "host/session.h"

namespace mirel {

namespace {

/// Runs `action`; its failure is shown as an "Error: " box instead of passing into the plugin.
template <typename Action>
void reportingFailure(Action action) {
  try {
    action();
  } catch (const std::exception& failure) {
    hostSession().console.messageBox(std::string("Error: ") + failure.what());
  }
}

}  // namespace

extern "C" {

void ztGetVersionOfCorvanaZT(int* major, int* minor, int* revision) {
  *major = 2;
  *minor = 6;
  *revision = 0;
}

void ztLogText(const char* text) { hostSession().console.log(text); }

void ztMessageBox(const char* text) { hostSession().console.messageBox(text); }

void ztShowBusyCursor() { hostSession().console.showBusyCursor(); }

void ztStopBusyCursor() { hostSession().console.stopBusyCursor(); }

void ztGetOpenFileName(const char*, const char*, const char*, char* buffer) {
  copyToTextBuffer(hostSession().openFileAnswer, buffer);
}

void ztGetStringParameter(const char* name, char* buffer) {
  copyToTextBuffer(hostSession().parameters.text(name).value_or(""), buffer);
}

int ztGetIntParameter(const char* name) {
  return hostSession().parameters.integer(name).value_or(0);
}

void ztSetStringParameter(const char* name, const char* value) {
  reportingFailure([=] { hostSession().parameters.setText(name, value); });
}

void ztSetIntParameter(const char* name, int value) {
  hostSession().parameters.setInt(name, value);
}

void ztCreateMAPForCurrentFMR() {
  reportingFailure([] { hostSession().maps.create(); });
}

float** ztGetMAPOfCurrentFMR(void* header) {
  MapHeader filled;
  float** slices = hostSession().maps.get(filled);
  std::memcpy(header, &filled, sizeof filled);
  return slices;
}

void ztSetMAPParametersOfCurrentFMR(const void* header) {
  MapHeader given;
  std::memcpy(&given, header, sizeof given);
  reportingFailure([&given] { hostSession().maps.setParameters(given); });
}

void ztSaveMAPsOfCurrentFMR(const char* fileName) {
  // This failure does pass into the plugin, which ends its task with it: it would go on to correct
  // the projects with a map that is none.
  hostSession().maps.refuseUnusable(fileName);
  reportingFailure([=] { hostSession().maps.save(fileName); });
}

void ztLoadMAPsToCurrentFMR(const char* fileName) {
  reportingFailure([=] { hostSession().maps.load(fileName); });
}
}

}  // namespace mirel
