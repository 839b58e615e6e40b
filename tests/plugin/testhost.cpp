#include "plugin/testhost.h"

#include <fftw3.h>

#include <cstdint>
#include <cstring>

namespace mirel {

#define EXPORTED extern "C" __attribute__((visibility("default")))

namespace {

struct MapRecord {
  std::int32_t DimX, DimY, DimZ, kind;
  float parameter1, parameter2;
  std::int32_t untouched, flag;
};

std::vector<float*> slicePointers;

void record(const std::string& call) { testHost().calls.push_back(call); }

}  // namespace

TestHost& testHost() {
  static TestHost host;
  return host;
}

std::vector<std::string> TestHost::callsWithoutFft() const {
  std::vector<std::string> result;
  for (const std::string& call : calls)
    if (call.rfind("zt_fftwf", 0) != 0) result.push_back(call);
  return result;
}

#ifndef WITHOUT_VERSION
EXPORTED void ztGetVersionOfCorvanaZT(int* major, int* minor, int* revision) {
  record("ztGetVersionOfCorvanaZT");
  if (testHost().onVersion != nullptr) testHost().onVersion();
  *major = testHost().major;
  *minor = testHost().minor;
  *revision = testHost().revision;
}
#endif

EXPORTED void ztLogText(const char* text) {
  record(std::string("ztLogText ") + text);
  testHost().logLines.emplace_back(text);
  if (testHost().onLogText != nullptr) testHost().onLogText();
}

EXPORTED void ztMessageBox(const char* text) {
  record(std::string("ztMessageBox ") + text);
  testHost().boxes.emplace_back(text);
  if (testHost().onMessageBox != nullptr) testHost().onMessageBox();
}

EXPORTED void ztShowBusyCursor() {
  record("ztShowBusyCursor");
  if (testHost().onShowBusyCursor != nullptr) testHost().onShowBusyCursor();
}

EXPORTED void ztStopBusyCursor() {
  record("ztStopBusyCursor");
  if (testHost().onStopBusyCursor != nullptr) testHost().onStopBusyCursor();
}

EXPORTED void ztGetOpenFileName(const char* title, const char* folder, const char* filter,
                                char* buffer) {
  record(std::string("ztGetOpenFileName [") + title + "] [" + folder + "] [" + filter + "]");
  std::strcpy(buffer, testHost().chosenFile.c_str());
}

EXPORTED void ztGetStringParameter(const char* name, char* buffer) {
  record(std::string("ztGetStringParameter ") + name);
  std::strncpy(buffer, testHost().strings[name].c_str(), 511);
  buffer[511] = '\0';
}

EXPORTED int ztGetIntParameter(const char* name) {
  record(std::string("ztGetIntParameter ") + name);
  return testHost().integers[name];
}

EXPORTED void ztSetStringParameter(const char* name, const char* value) {
  record(std::string("ztSetStringParameter ") + name + "=" + value);
  testHost().strings[name] = value;
}

EXPORTED void ztSetIntParameter(const char* name, int value) {
  record(std::string("ztSetIntParameter ") + name + "=" + std::to_string(value));
  testHost().integers[name] = value;
}

EXPORTED void ztCreateMAPForCurrentFMR() {
  record("ztCreateMAPForCurrentFMR");
  testHost().current = {};
  testHost().current.untouched = 77;
  testHost().current.map = Volume<float>(testHost().mapDims, 0.0f);
}

EXPORTED float** ztGetMAPOfCurrentFMR(void* header) {
  record("ztGetMAPOfCurrentFMR");
  if (!testHost().hasMap) return nullptr;
  TestHost::SavedMap& current = testHost().current;
  const glm::ivec3 dims = current.map.dimensions();
  const MapRecord filled{dims.x, dims.y, dims.z, 0, 0, 0, current.untouched, 5};
  std::memcpy(header, &filled, sizeof filled);
  slicePointers.clear();
  for (int z = 0; z < dims.z; ++z) slicePointers.push_back(&current.map.at(0, 0, z));
  slicePointers.push_back(nullptr);
  if (testHost().missingSlice >= 0)
    slicePointers.at(static_cast<std::size_t>(testHost().missingSlice)) = nullptr;
  return slicePointers.data();
}

EXPORTED void ztSetMAPParametersOfCurrentFMR(const void* header) {
  record("ztSetMAPParametersOfCurrentFMR");
  MapRecord read;
  std::memcpy(&read, header, sizeof read);
  TestHost::SavedMap& current = testHost().current;
  current.kind = read.kind;
  current.flag = read.flag;
  current.untouched = read.untouched;
  current.parameter1 = read.parameter1;
  current.parameter2 = read.parameter2;
}

EXPORTED void ztSaveMAPsOfCurrentFMR(const char* fileName) {
  record(std::string("ztSaveMAPsOfCurrentFMR ") + fileName);
  testHost().savedMaps[fileName] = testHost().current;
}

EXPORTED void ztLoadMAPsToCurrentFMR(const char* fileName) {
  record(std::string("ztLoadMAPsToCurrentFMR ") + fileName);
  const auto saved = testHost().savedMaps.find(fileName);
  if (saved != testHost().savedMaps.end()) testHost().current = saved->second;
}

#ifndef WITHOUT_ICA_DIALOG
EXPORTED void ztLaunchICADialog() { record("ztLaunchICADialog"); }
#endif

EXPORTED void* zt_fftwf_malloc(std::size_t bytes) {
  record("zt_fftwf_malloc " + std::to_string(bytes));
  return fftwf_malloc(bytes);
}

EXPORTED void zt_fftwf_free(void* memory) {
  record("zt_fftwf_free");
  fftwf_free(memory);
}

EXPORTED fftwf_plan zt_fftwf_plan_dft_r2c_3d(int n0, int n1, int n2, float* in, fftwf_complex* out,
                                             unsigned flags) {
  record("zt_fftwf_plan_dft_r2c_3d " + std::to_string(n0) + " " + std::to_string(n1) + " " +
         std::to_string(n2) + " " + std::to_string(flags));
  return fftwf_plan_dft_r2c_3d(n0, n1, n2, in, out, flags);
}

EXPORTED fftwf_plan zt_fftwf_plan_dft_c2r_3d(int n0, int n1, int n2, fftwf_complex* in, float* out,
                                             unsigned flags) {
  record("zt_fftwf_plan_dft_c2r_3d " + std::to_string(n0) + " " + std::to_string(n1) + " " +
         std::to_string(n2) + " " + std::to_string(flags));
  return fftwf_plan_dft_c2r_3d(n0, n1, n2, in, out, flags);
}

#ifndef WITHOUT_FFT_EXECUTE
EXPORTED void zt_fftwf_execute(fftwf_plan plan) {
  record("zt_fftwf_execute");
  fftwf_execute(plan);
}
#endif

EXPORTED void zt_fftwf_destroy_plan(fftwf_plan plan) {
  record("zt_fftwf_destroy_plan");
  fftwf_destroy_plan(plan);
}

}  // namespace mirel
