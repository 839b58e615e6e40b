#include "phantom/sessionscans.h"

namespace mirel {

namespace {

constexpr double spinEchoTime = 0.06, spinEchoRepetition = 4.0;
constexpr double seriesEchoTime = 0.03, seriesRepetition = 2.0;

SessionScan pairScan(const SubjectPlan& plan, const PhantomSession& session, bool second) {
  return {.folder = "fmap",
          .entities = "dir-" + plan.direction(second),
          .suffix = "epi",
          .second = second,
          .readoutSeconds = plan.pairReadout,
          .echoTimeSeconds = spinEchoTime,
          .repetitionTimeSeconds = spinEchoRepetition,
          .noiseSigma = session.noiseSigma,
          .content = session.spinEcho,
          .gradients = {}};
}

SessionScan seriesScan(const SubjectPlan& plan, const PhantomSession& session) {
  return {.folder = "func",
          .entities = "task-rest_dir-" + plan.direction(plan.seriesLikeSecond),
          .suffix = "bold",
          .second = plan.seriesLikeSecond,
          .readoutSeconds = plan.seriesReadout,
          .echoTimeSeconds = seriesEchoTime,
          .repetitionTimeSeconds = seriesRepetition,
          .noiseSigma = session.noiseSigma,
          .content = session.series,
          .gradients = {}};
}

SessionScan referenceScan(const SubjectPlan& plan, const PhantomSession& session) {
  SessionScan scan = seriesScan(plan, session);
  scan.suffix = "sbref";
  scan.noiseSigma = 0.5 * session.noiseSigma;
  scan.content = session.reference;
  return scan;
}

SessionScan diffusionScan(const SubjectPlan& plan, const PhantomSession& session) {
  SessionScan scan = pairScan(plan, session, /*second=*/false);
  scan.folder = scan.suffix = "dwi";
  scan.readoutSeconds = plan.diffusionReadout;
  scan.content = session.diffusion;
  scan.gradients = session.gradients;
  return scan;
}

SessionScan reversedScan(const SubjectPlan& plan, const PhantomSession& session) {
  SessionScan scan = pairScan(plan, session, /*second=*/true);
  scan.folder = scan.suffix = "dwi";
  scan.readoutSeconds = plan.diffusionReadout;
  scan.content.weights = {{1.0F}, {1.0F}};
  scan.gradients = {{glm::vec3(0.0F), glm::vec3(0.0F)}, {0.0F, 0.0F}};
  return scan;
}

}  // namespace

std::vector<SessionScan> scansOf(const SubjectPlan& plan, const PhantomSession& session) {
  std::vector<SessionScan> scans;
  for (const bool second : {false, true}) scans.push_back(pairScan(plan, session, second));
  if (session.series.volumes() > 0) {
    scans.push_back(referenceScan(plan, session));
    scans.push_back(seriesScan(plan, session));
  }
  scans.push_back(diffusionScan(plan, session));
  if (plan.reversedDiffusion) scans.push_back(reversedScan(plan, session));
  return scans;
}

}  // namespace mirel
