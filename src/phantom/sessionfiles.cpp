#include "phantom/sessionfiles.h"

#include <cmath>
#include <cstdio>

#include "phantom/gridheader.h"
#include "phantom/random.h"
#include "phantom/sessionwriter.h"

namespace mirel {

namespace {

constexpr std::uint64_t shimStream = 0x7368696dULL;

std::string identifierOf(const SessionPlace& place) {
  return place.session.empty() ? "pepolar" : "pepolarses" + place.session;
}

// Made up: a field has nothing to do with them but that scans of one field have the same.
Json shimSetting(const SubjectPlan& plan, const SessionPlace& place) {
  const RandomStream random(plan.seed, shimStream + static_cast<std::uint64_t>(place.number));
  Json setting = Json::array();
  for (std::uint64_t n = 0; n < 8; ++n)
    setting.push_back(static_cast<int>(std::round((random.uniform(n) - 0.5) * 2000.0)));
  return setting;
}

// A minute for each scan.
std::string acquisitionTime(const SessionPlace& place, std::size_t scan) {
  char text[32];
  std::snprintf(text, sizeof text, "%02d:%02d:00.000000", 9 + place.number % 8,
                static_cast<int>(scan));
  return text;
}

Json scanSidecar(const SessionScan& scan, const SubjectPlan& plan,
                 const PhantomDatasetOptions& options) {
  const glm::ivec3 size = options.image.size;
  const int lines = plan.axis == PhaseEncodingAxis::y ? size.y : size.x;
  Json sidecar = {{"Modality", "MR"},
                  {"MagneticFieldStrength", fieldStrengthTesla},
                  {"Manufacturer", "simulated"},
                  {"PhaseEncodingDirection", plan.phaseEncoding(scan.second)},
                  {"TotalReadoutTime", scan.readoutSeconds}};
  if (lines > 1) sidecar["EffectiveEchoSpacing"] = scan.readoutSeconds / (lines - 1);
  sidecar["ReconMatrixPE"] = lines;
  sidecar["EchoTime"] = scan.echoTimeSeconds;
  sidecar["RepetitionTime"] = scan.repetitionTimeSeconds;
  if (scan.folder == "func") sidecar["TaskName"] = "rest";
  return sidecar;
}

// What the images say about each other; nothing for FieldLink::none.
void addLinks(Json& sidecar, const SessionScan& scan, const std::vector<SessionScan>& scans,
              const SubjectPlan& plan, const SessionPlace& place) {
  if (plan.link == FieldLink::identifier)
    sidecar[scan.isOfPair() ? "B0FieldIdentifier" : "B0FieldSource"] = identifierOf(place);
  if (!scan.isOfPair() || plan.link == FieldLink::identifier || plan.link == FieldLink::none)
    return;
  Json targets = Json::array();
  const std::string fromSubject = place.session.empty() ? "" : "ses-" + place.session + "/";
  const std::string before =
      plan.link == FieldLink::uri ? "bids::" + place.folder() + "/" : fromSubject;
  for (const SessionScan& other : scans)
    if (!other.isOfPair()) targets.push_back(before + other.stem(place.prefix()) + ".nii.gz");
  sidecar["IntendedFor"] = targets;
}

}  // namespace

std::string SessionPlace::folder() const {
  return "sub-" + subject + (session.empty() ? "" : "/ses-" + session);
}

std::string SessionPlace::prefix() const {
  return "sub-" + subject + (session.empty() ? "" : "_ses-" + session);
}

void writeSession(const std::vector<SessionScan>& scans, const PhantomSession& session,
                  const SubjectPlan& plan, const PhantomDatasetOptions& options,
                  const SessionPlace& place) {
  const SessionWriter writer(options, place);
  for (std::size_t n = 0; n < scans.size(); ++n) {
    const SessionScan& scan = scans[n];
    const ScanImages images(scan.content, session.shiftVoxels(scan.readoutSeconds, scan.second),
                            plan.axis);
    // No two volumes of a head have the same noise.
    const std::uint64_t stream =
        static_cast<std::uint64_t>(place.number + 1) << 40U | static_cast<std::uint64_t>(n) << 32U;
    const std::string stem = scan.stem(place.prefix());
    writer.image(stem, nifti::DataType::int16, scan.content.volumes(), scan.repetitionTimeSeconds,
                 [&](int t) {
                   return addRicianNoise(images.volume(t), scan.noiseSigma, plan.seed,
                                         stream + static_cast<std::uint64_t>(t));
                 });
    Json sidecar = scanSidecar(scan, plan, options);
    sidecar["AcquisitionTime"] = acquisitionTime(place, n);
    sidecar["ShimSetting"] = shimSetting(plan, place);
    addLinks(sidecar, scan, scans, plan, place);
    writer.sidecar(stem, sidecar);
    writer.gradients(stem, scan.gradients);
  }
}

}  // namespace mirel
