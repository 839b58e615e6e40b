#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "jobs/runreport.h"
#include "report/anatomy.h"

namespace mirel::report {

/// What a page tells that no record knows.
struct ReportFacts {
  bool viewer = false;  ///< whether there is a viewer in it, which this program may lack
  std::string command;  ///< as it was typed
  std::optional<Anatomy> anatomy = {};  ///< whose head is outlined on the images
  /// A warning in full, with what the user can do about it.
  std::function<std::string(const Remark&)> sentence;
  /// {what, value} of all that differs between equal runs: date, duration, memory. It is called
  /// when the page is made, and stands in a block of its own.
  std::function<std::vector<std::pair<std::string, std::string>>()> thisRun;
};

/// The report of a run: one HTML file with everything in it, without scripts or addresses from
/// elsewhere, which its content security policy forbids as well. Its templates, style and script
/// lie beside this file. But for the block `this-run` equal runs make equal bytes.
///
/// Pictures are drawn as images are shown, so that no volume is held.
class HtmlReport : public RunReport {
 public:
  explicit HtmlReport(ReportFacts facts);
  ~HtmlReport() override;

  std::vector<Remark> check(const std::string& image, const nifti::Header& header) override;
  void showPair(const PairInput& pair, const PairEstimate& estimate) override;
  void showSeries(const SeriesImages& series) override;
  std::string text(const RunRecord& run, const std::vector<std::string>& outputs,
                   const std::string& key) override;

 private:
  struct Content;
  std::unique_ptr<Content> content;
};

}  // namespace mirel::report
