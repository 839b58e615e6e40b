#include "plugin/distcor.h"

#include <exception>
#include <stdexcept>
#include <string>

#include "hostapi/ztaccess.h"
#include "numerics/fft/fftaccess.h"
#include "plugin/floatingpoint.h"
#include "tasks/apply.h"
#include "tasks/check.h"
#include "tasks/estimate.h"
#include "tasks/select.h"

namespace mirel {

namespace {

// Shows the host's busy cursor until the task is done, also when it fails.
class BusyCursor {
 public:
  BusyCursor() { exported(host::ztShowBusyCursor, "ztShowBusyCursor")(); }
  BusyCursor(const BusyCursor&) = delete;
  BusyCursor& operator=(const BusyCursor&) = delete;
  ~BusyCursor() {
    if (stopped) return;
    try {
      stop();
    } catch (...) {
      return;  // the failure on its way is told
    }
  }
  void stop() {
    stopped = true;
    exported(host::ztStopBusyCursor, "ztStopBusyCursor")();
  }

 private:
  bool stopped = false;
};

// Nothing where the host has no message box, or one that fails: there is nobody else to tell.
void showMessage(const std::string& text) {
  if (host::ztMessageBox == nullptr) return;
  try {
    host::ztMessageBox(text.c_str());
  } catch (const std::exception&) {
    return;
  }
}

void showFailure(const std::exception& failure) {
  showMessage("Error: " + std::string(failure.what()));
}

}  // namespace

distcor::~distcor() { delete log; }

bool distcor::initPlugin() {
  if (!InitZTAccess()) return false;
  delete log;
  log = nullptr;
  log = new CNZTLog(host::ztLogText);
  try {
    return acceptHost();
  } catch (const std::exception& failure) {
    showFailure(failure);
    return false;
  }
}

bool distcor::acceptHost() {
  int major = 0, minor = 0, revision = 0;
  host::ztGetVersionOfCorvanaZT(&major, &minor, &revision);
  if (!checkVersionGreaterEqualVersion(major, minor, revision, 2, 6, 0)) {
    showMessage("Error: Corvana ZT version 2.6 or higher required.");
    return false;
  }
  if (!InitMKLAccess()) {
    showMessage("Did not get access to MKL access functions!");
    return false;
  }
  return true;
}

bool distcor::execute() {
  const PlainFloatingPoint plain;
  try {
    runTask();
  } catch (const std::exception& failure) {
    showFailure(failure);
  }
  return true;
}

void distcor::runTask() {
  const std::string task = get_string_parameter("task");
  if (task == "select_fmr_or_dmr") return selectFMRorDMR();
  if (task == "select_vdm") return selectVDM();
  if (task == "check") return check();
  BusyCursor busy;
  if (task == "estimate") estimate();
  if (task == "apply") apply();
  busy.stop();
}

CNZTLog& distcor::theLog() {
  if (log == nullptr) throw std::runtime_error("The plugin is not initialised.");
  return *log;
}

void distcor::check() { checkFiles(theLog()); }

void distcor::estimate() { estimateFiles(theLog()); }

void distcor::apply() { applyToFiles(theLog()); }

void distcor::selectFMRorDMR() { selectProject(); }

void distcor::selectVDM() { selectVdm(); }

}  // namespace mirel
