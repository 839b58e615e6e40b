#include "hostapi/ztaccess.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace mirel {

namespace host {
#define MIREL_DEFINE(result, name, parameters) result(*name) parameters = nullptr;
MIREL_FOR_EACH_HOST_FUNCTION(MIREL_DEFINE)
#undef MIREL_DEFINE
}  // namespace host

namespace {

// Text buffers that the host fills hold 511 bytes and a terminator.
constexpr std::size_t textBufferSize = 512;

template <typename Function>
void bind(Function*& pointer, void* handle, const char* name) {
  pointer = reinterpret_cast<Function*>(dlsym(handle, name));
}

}  // namespace

void refuseMissing(const char* name) {
  throw std::runtime_error(std::string("The host does not export ") + name + ".");
}

bool InitZTAccess() {
  void* handle = dlopen(nullptr, RTLD_LAZY);
  if (handle == nullptr) return false;
  bind(host::ztGetVersionOfCorvanaZT, handle, "ztGetVersionOfCorvanaZT");
  if (host::ztGetVersionOfCorvanaZT == nullptr) return false;
    // Hosts differ in what they export beyond the functions in use: a missing one is not an error.
#define MIREL_BIND(result, name, parameters) bind(host::name, handle, #name);
  MIREL_FOR_EACH_HOST_FUNCTION(MIREL_BIND)
#undef MIREL_BIND
  return true;
}

bool checkVersionGreaterEqualVersion(int major, int minor, int revision, int minMajor, int minMinor,
                                     int minRevision) {
  if (major > minMajor) return true;
  if (major < minMajor) return false;
  if (minor > minMinor) return true;
  return minor >= minMinor && revision >= minRevision;
}

std::vector<char> string_to_vector(const std::string& s) {
  return std::vector<char>(s.c_str(), s.c_str() + s.size() + 1);
}

std::string get_string_parameter(const std::string& name) {
  char buffer[textBufferSize] = {};
  exported(host::ztGetStringParameter, "ztGetStringParameter")(name.c_str(), buffer);
  buffer[textBufferSize - 1] = '\0';
  return buffer;
}

int get_int_parameter(const std::string& name) {
  return exported(host::ztGetIntParameter, "ztGetIntParameter")(name.c_str());
}

bool get_bool_parameter(const std::string& name) { return get_int_parameter(name) != 0; }

void set_string_parameter(const std::string& name, const std::string& value) {
  exported(host::ztSetStringParameter, "ztSetStringParameter")(name.c_str(), value.c_str());
}

void set_int_parameter(const std::string& name, int value) {
  exported(host::ztSetIntParameter, "ztSetIntParameter")(name.c_str(), value);
}

std::vector<std::string> split_string(const std::string& text) {
  std::vector<char> copy = string_to_vector(text);
  std::vector<std::string> lines;
  for (char* token = std::strtok(copy.data(), "\n"); token != nullptr;
       token = std::strtok(nullptr, "\n"))
    lines.emplace_back(token);
  return lines;
}

std::string to_string(long long value) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%lld", value);
  return buffer;
}

}  // namespace mirel
