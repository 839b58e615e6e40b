#include "phantom/phantomfiles.h"

#include <filesystem>

#include "base/error.h"
#include "base/json.h"
#include "base/numbertext.h"
#include "base/outputfile.h"
#include "convert/convert.h"
#include "nifti/image.h"
#include "phantom/gridheader.h"

namespace mirel {

namespace {

constexpr double repetitionTimeSeconds = 2.0;
constexpr double echoTimeSeconds = 0.06;

// Writes a phantom's files into a hidden folder and keeps their names.
class PhantomWriter {
 public:
  PhantomWriter(const Phantom& source, const std::string& folder)
      : phantom(source), out(folder), alongY(source.options.axis == PhaseEncodingAxis::y) {}

  std::vector<std::string> writeAll() {
    const std::string first = alongY ? "AP" : "RL", second = alongY ? "PA" : "LR";
    const std::string series = "task-rest_dir-" + first + "_bold";
    Json firstSidecar = imageSidecar(/*positive=*/false);
    Json secondSidecar = imageSidecar(/*positive=*/true);
    if (phantom.options.volumes > 0)
      for (Json* sidecar : {&firstSidecar, &secondSidecar})
        (*sidecar)["IntendedFor"] = stem(series) + ".nii.gz";
    writeProject("dir-" + first + "_epi", phantom.ap, firstSidecar);
    writeProject("dir-" + second + "_epi", phantom.pa, secondSidecar);
    if (phantom.options.volumes > 0) writeSeries(series);
    writeTruth(first, second);
    return out.commit(names);
  }

 private:
  static std::string stem(const std::string& name) { return "sub-phantom_" + name; }

  nifti::Header header(nifti::DataType type, int volumes, const std::string& description) const {
    return headerOn({phantom.options.size, phantom.options.voxelMm}, type, volumes,
                    repetitionTimeSeconds, description);
  }

  Json imageSidecar(bool positive) const {
    const int lines = alongY ? phantom.options.size.y : phantom.options.size.x;
    Json sidecar = {
        {"Modality", "MR"},
        {"MagneticFieldStrength", fieldStrengthTesla},
        {"Manufacturer", "simulated"},
        {"PhaseEncodingDirection", std::string(alongY ? "j" : "i") + (positive ? "" : "-")},
        {"TotalReadoutTime", phantom.options.readoutSeconds}};
    if (lines > 1) sidecar["EffectiveEchoSpacing"] = phantom.options.readoutSeconds / (lines - 1);
    sidecar["ReconMatrixPE"] = lines;
    sidecar["EchoTime"] = echoTimeSeconds;
    sidecar["RepetitionTime"] = repetitionTimeSeconds;
    return sidecar;
  }

  void writeImage(const std::string& name, const Volume<float>& volume, nifti::DataType type,
                  const Json& sidecar) {
    nifti::Writer writer(out.path(stem(name) + ".nii.gz"), header(type, 1, name));
    writer.write(volume);
    writer.finish();
    names.push_back(stem(name) + ".nii.gz");
    writeSidecar(name, sidecar);
  }

  void writeSidecar(const std::string& name, const Json& sidecar) {
    out.write(stem(name) + ".json", sidecar.dump(2) + "\n");
    names.push_back(stem(name) + ".json");
  }

  void convertToProject(const std::string& name) {
    const convert::ConvertReport report =
        convert::convert(out.path(stem(name) + ".nii.gz"), out.path(stem(name) + ".fmr"));
    for (const std::string& file : report.written)
      names.push_back(std::filesystem::path(file).filename().string());
  }

  void writeProject(const std::string& name, const Volume<float>& volume, const Json& sidecar) {
    writeImage(name, volume, nifti::DataType::int16, sidecar);
    convertToProject(name);
  }

  void writeSeries(const std::string& name) {
    nifti::Writer writer(out.path(stem(name) + ".nii.gz"),
                         header(nifti::DataType::int16, phantom.options.volumes, name));
    for (int t = 0; t < phantom.options.volumes; ++t) writer.write(phantom.seriesVolume(t));
    writer.finish();
    names.push_back(stem(name) + ".nii.gz");
    Json sidecar = imageSidecar(/*positive=*/false);
    sidecar["TaskName"] = "rest";
    if (phantom.options.seriesEchoSeconds > 0)
      sidecar["EchoTime"] = phantom.options.seriesEchoSeconds;
    writeSidecar(name, sidecar);
    convertToProject(name);
  }

  void writeMask(const std::string& name, const Volume<unsigned char>& mask) {
    Volume<float> values(mask.dimensions());
    for (int i = 0; i < mask.size(); ++i) values.data()[i] = mask.data()[i];
    writeImage(name, values, nifti::DataType::uint8, {{"Type", "ROI"}});
  }

  Json displacementSidecar(const std::string& first, const std::string& second) const {
    const PhantomOptions& o = phantom.options;
    const auto list = [](glm::dvec3 v) { return Json{v.x, v.y, v.z}; };
    return {{"Description", "Displacement in voxels along " + std::string(alongY ? "y" : "x") +
                                ": undistorted(p) = " + first + "(p + b) * (1 + b') = " + second +
                                "(p - b) * (1 - b')"},
            {"Units", "voxels"},
            {"PhaseEncodingDirection", alongY ? "j-" : "i-"},
            {"TotalReadoutTime", o.readoutSeconds},
            {"PhantomSeed", o.seed},
            {"PhantomNoise", o.noise},
            {"PhantomNoiseSigma", phantom.noiseSigma},
            {"PhantomFieldSmoothingMm", phantom.fieldSmoothingMm},
            {second + "TranslationMm", list(o.paMotion.translationMm)},
            {second + "RotationDegrees", list(o.paMotion.rotationDegrees)}};
  }

  void writeTruth(const std::string& first, const std::string& second) {
    using nifti::DataType;
    const Json undistorted = {{"Description", "Image without distortion and without noise"}};
    writeImage("desc-undistorted_epi", phantom.truth, DataType::float32, undistorted);
    writeImage("desc-truth_displacement", phantom.shiftVoxels, DataType::float32,
               displacementSidecar(first, second));
    writeImage("desc-truth_fieldmap", phantom.fieldHz, DataType::float32, {{"Units", "Hz"}});
    writeMask("desc-brain_mask", phantom.brainMask);
    writeMask("desc-head_mask", phantom.headMask);
    if (phantom.seriesTruth.size() > 0)
      writeImage("desc-undistorted_bold", phantom.seriesTruth, DataType::float32, undistorted);
    if (phantom.paTruth.size() == 0) return;
    writeImage("desc-moved_epi", phantom.paTruth, DataType::float32, undistorted);
    writeImage("desc-moved_displacement", phantom.paShiftVoxels, DataType::float32,
               displacementSidecar(first, second));
  }

  const Phantom& phantom;
  OutFolder out;
  bool alongY;
  std::vector<std::string> names;
};

// The projects alone, which are not compressed; before a long series is computed in vain.
void requireSpace(const PhantomOptions& options, const std::string& folder) {
  std::error_code error;
  const std::filesystem::space_info space = std::filesystem::space(folder, error);
  const glm::dvec3 size(options.size);
  const double wanted = size.x * size.y * size.z * (2.0 + options.volumes) * sizeof(std::int16_t);
  if (error || static_cast<double>(space.available) >= wanted) return;
  throw Error("the phantom needs " + text("%.3g", wanted * 1e-9) + " GB in " + folder + ", where " +
              text("%.3g", static_cast<double>(space.available) * 1e-9) + " GB are free");
}

}  // namespace

std::vector<std::string> writePhantom(const Phantom& phantom, const std::string& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) throw Error("cannot create the folder " + folder + ": " + error.message());
  requireSpace(phantom.options, folder);
  return PhantomWriter(phantom, folder).writeAll();
}

}  // namespace mirel
