#include "cli/runjob.h"

#include <iostream>

#include "cli/advice.h"
#include "cli/command.h"
#include "cli/interrupt.h"
#include "cli/progressbar.h"
#include "cli/runtext.h"
#include "host/session.h"
#include "jobs/recordjson.h"

namespace mirel {

namespace {

std::string textOf(Stage stage, const std::string& subject) {
  switch (stage) {
    case Stage::reading:
      return "Reading";
    case Stage::estimating:
      return "Estimating";
    case Stage::checking:
      return "Checking";
    case Stage::writing:
      return "Writing";
    case Stage::correcting:
      return "Correcting " + subject;
    case Stage::finishing:
      break;
  }
  return "Finishing";
}

class TerminalProgress : public Progress {
 public:
  TerminalProgress(ProgressBar::Output output, InterruptGuard::Tell tell)
      : bar(output), interrupts(tell) {}

  void at(Stage stage, double done, const std::string& subject) override {
    if (stage >= Stage::writing) interrupts.beginWriting();
    interrupts.check();
    bar.show(textOf(stage, subject), done);
  }
  void clear() { bar.clear(); }

 private:
  ProgressBar bar;
  InterruptGuard interrupts;
};

}  // namespace

int runJob(const RunOutput& output, const std::function<RunRecord(Progress&)>& job) {
  TerminalProgress progress(
      output.quiet ? ProgressBar::Output::none : ProgressBar::suitable(),
      output.json ? InterruptGuard::Tell::asJsonToo : InterruptGuard::Tell::asText);
  RunRecord run;
  try {
    run = job(progress);
  } catch (const Cancelled&) {
    progress.clear();
    throw;
  }
  progress.clear();
  if (!output.quiet) std::cerr << textOf(run);
  for (const Remark& warning : run.warnings) hostSession().console.warn(sentenceOf(warning));
  if (output.json)
    std::cout << summaryText(run);
  else
    for (const std::string& file : run.outputs) std::cout << file << "\n";
  const bool untrusted = run.pair && run.pair->findings.verdict.trust == Trust::doNotTrust;
  return output.strict && untrusted ? exitFailure : exitSuccess;
}

}  // namespace mirel
