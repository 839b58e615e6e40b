#include "cli/reportfacts.h"

#include <sys/resource.h>
#include <sys/time.h>

#include <chrono>
#include <string_view>

#include "base/numbertext.h"
#include "base/utctime.h"
#include "cli/advice.h"
#include "cli/command.h"
#include "report/htmlreport.h"

namespace mirel {

namespace {

using Facts = std::vector<std::pair<std::string, std::string>>;

constexpr std::string_view plain =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_@%+=:,./-";

std::string quoted(const std::string& word) {
  if (!word.empty() && word.find_first_not_of(plain) == std::string::npos) return word;
  std::string text = "'";
  for (const char c : word) text += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return text + "'";
}

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

std::unique_ptr<RunReport> reportWith(const Program& program, bool viewer,
                                      const std::string& anatomy,
                                      const std::function<Facts()>& moreOfThisRun) {
  using Clock = std::chrono::steady_clock;
  report::ReportFacts facts;
  facts.viewer = viewer;
  if (!anatomy.empty()) facts.anatomy = report::readAnatomy(anatomy);
  facts.command = program.command;
  facts.sentence = [](const Remark& remark) { return sentenceOf(remark); };
  facts.thisRun = [start = Clock::now(), moreOfThisRun] {
    const std::chrono::duration<double> passed = Clock::now() - start;
    Facts all = {{"Date", utcTime()},
                 {"Time until this page", text("%.1f", passed.count()) + " s"}};
    for (auto& fact : moreOfThisRun()) all.push_back(std::move(fact));
    return all;
  };
  return std::make_unique<report::HtmlReport>(std::move(facts));
}

}  // namespace

std::string commandText(int argc, const char* const* argv) {
  std::string text;
  for (int n = 0; n < argc; ++n) text += (n == 0 ? "" : " ") + quoted(argv[n]);
  return text;
}

std::unique_ptr<RunReport> reportOf(const Program& program, bool viewer,
                                    const std::string& anatomy) {
  return reportWith(program, viewer, anatomy, []() -> Facts {
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    return {
        {"Processor time", text("%.1f", seconds(used.ru_utime) + seconds(used.ru_stime)) + " s"},
        {"Largest memory", text("%.0f", static_cast<double>(used.ru_maxrss) / 1024) + " MiB"}};
  });
}

std::unique_ptr<RunReport> jobReportOf(const Program& program, bool viewer) {
  return reportWith(program, viewer, "", [] { return Facts(); });
}

}  // namespace mirel
