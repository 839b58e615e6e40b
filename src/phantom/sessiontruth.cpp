#include "phantom/sessionfiles.h"
#include "phantom/sessionwriter.h"

namespace mirel {

namespace {

using nifti::DataType;

Json derived(const std::string& description) {
  return {{"Description", description}, {"SkullStripped", false}};
}

Json displacementSidecar(const SessionScan& scan, const SubjectPlan& plan,
                         const SessionPlace& place) {
  Json sidecar = derived(
      "Displacement d in voxels along the phase-encoding axis: undistorted(p) = "
      "image(p + d) (1 + d')");
  sidecar["Units"] = "voxels";
  sidecar["PhaseEncodingDirection"] = plan.phaseEncoding(scan.second);
  sidecar["TotalReadoutTime"] = scan.readoutSeconds;
  sidecar["Sources"] =
      Json::array({"bids:raw:" + place.folder() + "/" + scan.stem(place.prefix()) + ".nii.gz"});
  return sidecar;
}

// Stems of derivatives of a scan: "func/sub-01_task-rest_dir-AP_desc-truth_displacement".
std::string derivedStem(const SessionScan& scan, const SessionPlace& place,
                        const std::string& ending) {
  return scan.folder + "/" + place.prefix() + "_" + scan.entities + "_desc-" + ending;
}

class TruthWriter {
 public:
  TruthWriter(const PhantomSession& source, const SubjectPlan& subject,
              const PhantomDatasetOptions& options, const SessionPlace& where)
      : session(source), plan(subject), place(where), writer(options, where) {}

  void writeField(const SessionScan& pairScan) const {
    Json hz = derived("The field of all scans of the session");
    hz["Units"] = "Hz";
    hz["PhantomSeed"] = plan.seed;
    hz["PhantomNoiseSigma"] = session.noiseSigma;
    one("fmap/" + place.prefix() + "_desc-truth_fieldmap", session.fieldHz, hz);
    one("fmap/" + place.prefix() + "_desc-truth_magnitude", undistorted(pairScan).volume(0),
        derived("The image of the pair without distortion and without noise"));
    mask("brain", session.brainMask);
    mask("head", session.headMask);
  }

  void writeDisplacement(const SessionScan& scan) const {
    one(derivedStem(scan, place, "truth_displacement"),
        session.shiftVoxels(scan.readoutSeconds, scan.second),
        displacementSidecar(scan, plan, place));
  }

  void writeUndistorted(const SessionScan& scan) const {
    const ScanImages images = undistorted(scan);
    const std::string stem = derivedStem(scan, place, "undistorted_" + scan.suffix);
    writer.image(stem, DataType::float32, scan.content.volumes(), scan.repetitionTimeSeconds,
                 [&](int t) { return images.volume(t); });
    Json sidecar = derived("Without distortion and without noise");
    sidecar["RepetitionTime"] = scan.repetitionTimeSeconds;
    if (scan.folder == "func") sidecar["TaskName"] = "rest";
    writer.sidecar(stem, sidecar);
    writer.gradients(stem, scan.gradients);
  }

 private:
  ScanImages undistorted(const SessionScan& scan) const {
    return {scan.content, Volume<float>(session.fieldHz.dimensions(), 0.0F), plan.axis};
  }

  void one(const std::string& stem, const Volume<float>& volume, const Json& sidecar,
           DataType type = DataType::float32) const {
    writer.image(stem, type, 1, 0.0, [&](int) { return volume; });
    writer.sidecar(stem, sidecar);
  }

  void mask(const std::string& name, const Volume<unsigned char>& mask) const {
    Volume<float> values(mask.dimensions());
    for (int i = 0; i < mask.size(); ++i) values.data()[i] = mask.data()[i];
    Json sidecar = {{"Description", "1 where at least half of a voxel is " + name}};
    if (name == "brain") sidecar["Type"] = "Brain";
    sidecar["Sources"] = Json::array(
        {"bids::" + place.folder() + "/fmap/" + place.prefix() + "_desc-truth_magnitude.nii.gz"});
    one("fmap/" + place.prefix() + "_desc-" + name + "_mask", values, sidecar, DataType::uint8);
  }

  const PhantomSession& session;
  const SubjectPlan& plan;
  const SessionPlace& place;
  SessionWriter writer;
};

}  // namespace

void writeSessionTruth(const std::vector<SessionScan>& scans, const PhantomSession& session,
                       const SubjectPlan& plan, const PhantomDatasetOptions& options,
                       const SessionPlace& place) {
  const TruthWriter truth(session, plan, options, place);
  truth.writeField(scans.front());
  for (const SessionScan& scan : scans) {
    // The reference moves as its series does.
    if (scan.suffix != "sbref") truth.writeDisplacement(scan);
    if (!scan.isOfPair()) truth.writeUndistorted(scan);
  }
}

}  // namespace mirel
