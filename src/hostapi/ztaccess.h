#pragma once

#include <string>
#include <vector>

#include "hostapi/ztfunctions.inc.h"

namespace mirel {

/// Function pointers to the host's exports, each named as the host exports it; null until
/// `InitZTAccess` has run. Written once, on the host's thread, and only read afterwards.
namespace host {
#define MIREL_DECLARE(result, name, parameters) extern result(*name) parameters;
MIREL_FOR_EACH_HOST_FUNCTION(MIREL_DECLARE)
#undef MIREL_DECLARE
}  // namespace host

/// What `exported` throws.
[[noreturn]] void refuseMissing(const char* name);

/// The function itself, for a call.
/// @param name  what the host exports it as
/// @throws std::runtime_error where it is null: the host does not export it, or none is bound yet
template <typename Function>
Function* exported(Function* function, const char* name) {
  if (function == nullptr) refuseMissing(name);
  return function;
}

/// Binds the host's functions by name from its main program.
/// @return false when the main program cannot be opened or does not export
///   `ztGetVersionOfCorvanaZT`; no other missing function is detected: its pointer is null.
bool InitZTAccess();

/// Version rule of the host: true when (major, minor, revision) is at least the minimum.
bool checkVersionGreaterEqualVersion(int major, int minor, int revision, int minMajor, int minMinor,
                                     int minRevision);

/// A writable, NUL-terminated copy of `s`: size `s.size() + 1`, last element 0.
std::vector<char> string_to_vector(const std::string& s);

/// Dialog parameters, kept by the host. A name that the host does not know yields what the host
/// returns for it. Text values hold at most 511 bytes.
std::string get_string_parameter(const std::string& name);
int get_int_parameter(const std::string& name);
bool get_bool_parameter(const std::string& name);
void set_string_parameter(const std::string& name, const std::string& value);
void set_int_parameter(const std::string& name, int value);

/// The lines of `text`: split at line feeds, empty lines dropped, carriage returns kept.
std::vector<std::string> split_string(const std::string& text);

/// `value` in decimal.
std::string to_string(long long value);

}  // namespace mirel
