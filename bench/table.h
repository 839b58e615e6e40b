#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>

namespace mirel {

/// Prints every run as usual and, at the end, what was reached against what is asked for, in
/// Markdown. Rows whose benchmarks did not run are left out.
class TableReporter : public benchmark::ConsoleReporter {
 public:
  TableReporter() : benchmark::ConsoleReporter(OO_Tabular) {}
  void ReportRuns(const std::vector<Run>& runs) override;
  void Finalize() override;

  bool failed() const { return anyFailed; }

 private:
  bool has(const std::string& name) const { return seconds.count(name) > 0; }
  void printRatio(const std::string& work, const std::string& engine, const std::string& reference,
                  double atLeast) const;
  void printCopy(const std::string& work, const std::string& name, const std::string& format) const;

  void printLimit(const std::string& work, const std::string& name, const std::string& unit,
                  const std::string& machine) const;
  void printMassPreserving() const;
  void printLimits() const;
  void printWithoutTransforms() const;

  std::map<std::string, double> needed;   // per iteration
  std::map<std::string, double> seconds;  // of processor time per iteration
  std::map<std::string, double> aroundTransforms;
  bool anyFailed = false;
};

}  // namespace mirel
