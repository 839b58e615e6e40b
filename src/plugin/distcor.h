#pragma once

#include "hostapi/cnztlog.h"
#include "hostapi/cnztplugininterface.h"

namespace mirel {

/// The plugin object: correction of the geometric distortion of EPI images.
class distcor : public CNZTPluginInterface {
 public:
  distcor() = default;
  distcor(const distcor&) = delete;
  distcor& operator=(const distcor&) = delete;
  ~distcor() override;

  /// Runs the task named by the dialog parameter "task"; an unknown name does nothing. Always
  /// true: the one place where failures become messages for the user.
  bool execute() override;

  /// Binds the host's functions, creates the log, checks the host's version and binds the FFT
  /// entry points. False at the first that fails.
  bool initPlugin() override;

 private:
  // The host's version and its FFT; a message where one does not do.
  bool acceptHost();
  void runTask();
  // Throws std::runtime_error before initPlugin.
  CNZTLog& theLog();
  void check();
  void estimate();
  void apply();
  static void selectFMRorDMR();
  static void selectVDM();

  CNZTLog* log = nullptr;  // owned
};

}  // namespace mirel
