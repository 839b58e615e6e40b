#pragma once

#include <functional>
#include <string>

#include "base/json.h"
#include "nifti/header.h"
#include "phantom/datasetplan.h"
#include "phantom/sessionfiles.h"

namespace mirel {

/// Puts images, sidecars and gradients into the folder of one session.
class SessionWriter {
 public:
  SessionWriter(const PhantomDatasetOptions& options, const SessionPlace& place);

  /// `stem` with its folder, "func/sub-01_bold"; `volume(t)` is asked for each of them in turn.
  void image(const std::string& stem, nifti::DataType type, int volumes,
             double repetitionTimeSeconds, const std::function<Volume<float>(int)>& volume) const;
  void sidecar(const std::string& stem, const Json& content) const;
  void gradients(const std::string& stem, const nifti::GradientTable& table) const;

 private:
  std::string file(const std::string& stem, const std::string& ending) const;
  void write(const std::string& name, const std::string& text) const;

  PhantomGrid grid;
  std::string folder;
};

}  // namespace mirel
