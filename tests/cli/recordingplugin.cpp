// A plugin that writes to the log what the program does with it. The environment variable
// RECORDING_PLUGIN makes it fail: "no object", "refuses", "throws", "error box", "finding".
#include <cstdlib>
#include <cstring>
#include <string>

#include "host/exports.h"

namespace mirel {

#define PLUGIN_EXPORT __attribute__((visibility("default")))

// The slots of the virtual table in the order that the interface fixes, declared without the
// program's header: destructor, execute, initPlugin.
class CNZTPluginInterface {
 public:
  virtual ~CNZTPluginInterface() = default;
  virtual bool execute() = 0;
  virtual bool initPlugin() = 0;
};

namespace {

bool mode(const char* wanted) {
  const char* set = std::getenv("RECORDING_PLUGIN");
  return set != nullptr && std::strcmp(set, wanted) == 0;
}

void log(const std::string& text) { ztLogText(text.c_str()); }

/// The value, and a complaint when the program writes beyond 512 bytes.
std::string text(const char* name) {
  char buffer[1024];
  std::memset(buffer, '#', sizeof buffer);
  ztGetStringParameter(name, buffer);
  for (std::size_t i = 512; i < sizeof buffer; ++i)
    if (buffer[i] != '#') return "written beyond 512 bytes";
  return buffer;
}

class Recorder : public CNZTPluginInterface {
 public:
  ~Recorder() override { log("destroyed"); }

  bool execute() override {
    ztShowBusyCursor();
    if (mode("throws")) throw 42;
    if (mode("error box")) ztMessageBox("Error: as asked");
    if (mode("finding")) ztMessageBox("a finding\n");
    log("execute " + text("task"));
    for (const char* name : {"files", "file0", "file1", "vdm"})
      if (!text(name).empty()) log(std::string(name) + "=" + text(name));
    std::string integers = "integers";
    for (const char* name : {"volume0", "volume1", "rllr", "use_ic", "use_ssd", "fast_algorithm",
                             "save_derivative", "apply_to_input"})
      integers += " " + std::to_string(ztGetIntParameter(name));
    log(integers);
    ztStopBusyCursor();
    return true;
  }

  bool initPlugin() override {
    log("initPlugin");
    return !mode("refuses");
  }
};

}  // namespace

extern "C" {
PLUGIN_EXPORT void* createPlugin() {
  if (mode("no object")) return nullptr;
  return static_cast<CNZTPluginInterface*>(new Recorder);
}
PLUGIN_EXPORT const char* getPluginName() { return "recorder"; }
PLUGIN_EXPORT const char* getPluginVersion() { return "1"; }
}

}  // namespace mirel
