#include "phantom/datasettexts.h"

#include "base/json.h"
#include "base/numbertext.h"

namespace mirel {

namespace {

constexpr const char* bidsVersion = "1.8.0";

Json description(const PhantomDatasetOptions& options, const std::string& name,
                 const std::string& type) {
  return {{"Name", name},
          {"BIDSVersion", bidsVersion},
          {"DatasetType", type},
          {"License", "CC0"},
          {"Authors", Json::array({datasetMaker})},
          {"GeneratedBy",
           Json::array({Json{{"Name", datasetMaker}, {"Version", options.programVersion}}})}};
}

const char* nameOf(FieldLink link) {
  switch (link) {
    case FieldLink::identifier:
      return "B0FieldIdentifier";
    case FieldLink::uri:
      return "IntendedFor-uri";
    case FieldLink::relative:
      return "IntendedFor-relative";
    case FieldLink::none:
      break;
  }
  return "none";
}

const char* sentenceOf(FieldLink link) {
  switch (link) {
    case FieldLink::identifier:
      return "B0FieldIdentifier in the pair, B0FieldSource in the other images";
    case FieldLink::uri:
      return "IntendedFor with BIDS URIs";
    case FieldLink::relative:
      return "IntendedFor with paths from the subject's folder";
    case FieldLink::none:
      break;
  }
  return "nothing says what the pair is for";
}

std::string readme(const SubjectPlan& plan) {
  std::string line = "sub-" + plan.label + ": " + sentenceOf(plan.link) + ".\n  Pair " +
                     plan.direction(false) + "/" + plan.direction(true) + " (" +
                     plan.phaseEncoding(false) + ", " + plan.phaseEncoding(true) + ") of " +
                     text(plan.pairReadout) + " s, bold " + plan.direction(plan.seriesLikeSecond) +
                     " of " + text(plan.seriesReadout) + " s, dwi " + plan.direction(false) +
                     " of " + text(plan.diffusionReadout) + " s";
  if (plan.reversedDiffusion) line += ", with volumes of b = 0 " + plan.direction(true);
  return line + ".\n";
}

}  // namespace

std::string datasetDescription(const PhantomDatasetOptions& options) {
  return description(options, "Simulated heads in known fields", "raw").dump(2) + "\n";
}

std::string truthDescription(const PhantomDatasetOptions& options) {
  Json truth = description(options, "The truth of simulated heads in known fields", "derivative");
  truth["DatasetLinks"] = Json{{"raw", "../../"}};
  return truth.dump(2) + "\n";
}

std::string datasetReadme(const PhantomDatasetOptions& options) {
  std::string result =
      "Simulated heads, whose echo-planar images are distorted by fields that are known.\n"
      "Nobody was scanned for them.\n"
      "\n"
      "Each session has in fmap a pair of opposite phase encoding, in dwi diffusion-weighted\n"
      "images with three volumes of b = 0";
  if (options.image.volumes > 0) result += ", and in func a series with its reference";
  result +=
      ".\n"
      "All images of a session have one field, and readout times of their own. The fields,\n"
      "displacements and undistorted images are in derivatives/truth.\n"
      "\n"
      "Subjects differ in how the images say which of them the pair's field is for, in the axis\n"
      "and the direction of phase encoding and in the total readout times:\n"
      "\n";
  for (int number = 1; number <= options.subjects; ++number)
    result += readme(planSubject(options, number));
  return result;
}

std::string truthReadme() {
  return "What is known of the simulated heads of this dataset, without noise.\n"
         "\n"
         "desc-truth_fieldmap      the field of all images of the session in Hz\n"
         "desc-truth_magnitude     the image of the pair without distortion\n"
         "desc-undistorted_*       other images without distortion, volume by volume\n"
         "desc-truth_displacement  d in voxels along the phase-encoding axis:\n"
         "                         undistorted(p) = image(p + d) (1 + d')\n"
         "desc-brain_mask, desc-head_mask\n"
         "\n"
         "With the field f in Hz and the total readout time T in s, d = f T where images are\n"
         "phase encoded along \"j\" or \"i\", and d = -f T along \"j-\" or \"i-\".\n";
}

std::string participantsTable(const PhantomDatasetOptions& options) {
  std::string table = "participant_id\tlink\tphase_encoding_axis\tseed\n";
  for (int number = 1; number <= options.subjects; ++number) {
    const SubjectPlan plan = planSubject(options, number);
    table += "sub-" + plan.label + "\t" + nameOf(plan.link) + "\t" + plan.phaseEncoding(true) +
             "\t" + std::to_string(plan.seed) + "\n";
  }
  return table;
}

std::string participantsColumns() {
  const Json columns = {
      {"link",
       {{"Description", "How the dataset says which images the field of the pair is for"},
        {"Levels",
         {{"B0FieldIdentifier", sentenceOf(FieldLink::identifier)},
          {"IntendedFor-uri", sentenceOf(FieldLink::uri)},
          {"IntendedFor-relative", sentenceOf(FieldLink::relative)},
          {"none", sentenceOf(FieldLink::none)}}}}},
      {"phase_encoding_axis", {{"Description", "Axis of phase encoding of all images"}}},
      {"seed", {{"Description", "Seed of the head and of its noise"}}}};
  return columns.dump(2) + "\n";
}

std::string truthIgnored() {
  return "*_displacement.*\n"
         "**/fmap/*_mask.*\n"
         "*_desc-*_dwi.bval\n"
         "*_desc-*_dwi.bvec\n";
}

}  // namespace mirel
