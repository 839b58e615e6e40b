#include "plugin/distcor.h"

#include <exception>
#include <string>

#include "hostapi/ztaccess.h"
#include "numerics/fft/fftaccess.h"
#include "tasks/apply.h"
#include "tasks/check.h"
#include "tasks/estimate.h"
#include "tasks/select.h"

namespace mirel {

namespace {

// Shows the host's busy cursor for its lifetime, also when a task fails.
class BusyCursor {
 public:
  BusyCursor() { host::ztShowBusyCursor(); }
  BusyCursor(const BusyCursor&) = delete;
  BusyCursor& operator=(const BusyCursor&) = delete;
  ~BusyCursor() { host::ztStopBusyCursor(); }
};

}  // namespace

distcor::~distcor() { delete log; }

bool distcor::initPlugin() {
  if (!InitZTAccess()) return false;
  delete log;
  log = nullptr;
  log = new CNZTLog(host::ztLogText);
  int major = 0, minor = 0, revision = 0;
  host::ztGetVersionOfCorvanaZT(&major, &minor, &revision);
  if (!checkVersionGreaterEqualVersion(major, minor, revision, 2, 6, 0)) {
    host::ztMessageBox("Error: Corvana ZT version 2.6 or higher required.");
    return false;
  }
  if (!InitMKLAccess()) {
    host::ztMessageBox("Did not get access to MKL access functions!");
    return false;
  }
  return true;
}

bool distcor::execute() {
  try {
    runTask();
  } catch (const std::exception& failure) {
    host::ztMessageBox(("Error: " + std::string(failure.what())).c_str());
  }
  return true;
}

void distcor::runTask() {
  const std::string task = get_string_parameter("task");
  if (task == "select_fmr_or_dmr") return selectFMRorDMR();
  if (task == "select_vdm") return selectVDM();
  if (task == "check") return check();
  const BusyCursor busy;
  if (task == "estimate") estimate();
  if (task == "apply") apply();
}

void distcor::check() { checkFiles(*log); }

void distcor::estimate() { estimateFiles(*log); }

void distcor::apply() { applyToFiles(*log); }

void distcor::selectFMRorDMR() { selectProject(); }

void distcor::selectVDM() { selectVdm(); }

}  // namespace mirel
