// Prints the tables of docs/accuracy.md: each variant of the estimate against a field that was
// measured on its own, against itself along another axis, and against a simulated truth.
//
//   MIREL_TEST_DATA=folder mirel_accuracy [brain|series|sphere|phantom|simulated|small ...]
//   [--scale F] [--only VARIANT]

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <vector>

#include "accuracy/measure.h"
#include "accuracy/series.h"
#include "accuracy/simulated.h"
#include "convert/positionblock.h"
#include "masspreserving/masspreserving.h"
#include "nifti/orientation.h"
#include "numerics/fft/fftw.h"
#include "pair/foreground.h"
#include "phantom/phantom.h"
#include "support/niftifiles.h"
#include "vdm/estimatepair.h"
#include "vdm/vdm.h"

using namespace mirel;

namespace {

struct Variant {
  const char* name;
  EstimateOptions options;
  bool massPreserving = false;
};

const std::vector<Variant> variants = {
    {"fast", {.fast = true}},
    {"SSD", {.useSsd = true}},
    {"SSD, intensity correction", {.useSsd = true, .intensityCorrection = true}},
    {"NCC", {}},
    {"NCC, intensity correction", {.intensityCorrection = true}},
    {"mass-preserving", {}, true},
};

/// Phase encoding along y, `first` phase encoded towards negative y.
struct Pair {
  Placed first, second;
  double readoutSeconds = 0;
  glm::dvec3 voxelMm{1};
};

double fixedScale = 0;    // --scale, 0: automatic
std::string onlyVariant;  // --only, empty: all

bool isWanted(const Variant& variant) { return onlyVariant.empty() || variant.name == onlyVariant; }

std::string dataFolder() {
  const std::string folder = niftifiles::dataFolder();
  if (folder.empty()) throw std::runtime_error("MIREL_TEST_DATA names the folder of the data");
  return folder;
}

double readoutOf(const std::string& stem) {
  return nlohmann::json::parse(std::ifstream(stem + ".json")).at("TotalReadoutTime").get<double>();
}

Pair readPair(const std::string& firstStem, const std::string& secondStem) {
  Pair pair{readPlaced(firstStem + ".nii.gz"),
            readPlaced(secondStem + ".nii.gz"),
            readoutOf(firstStem),
            {}};
  pair.voxelMm = nifti::columnLengths(pair.first.affine);
  return pair;
}

// Both images on the estimators' scale.
double scaleOf(const Pair& pair) {
  if (fixedScale > 0) return fixedScale;
  return estimatorThreshold / headThreshold(meanOf(pair.first.image, pair.second.image));
}

Volume<float> massPreservingMap(const Pair& pair) {
  const MassPreservingResult result =
      estimateMassPreserving(pair.first.image, pair.second.image, pair.voxelMm);
  const glm::dvec3 t = result.motion.translationMm, r = result.motion.rotationDegrees;
  std::fprintf(stderr,
               "mass-preserving: motion %.3f %.3f %.3f mm, %.3f %.3f %.3f degrees (%.3f mm, chi^2 "
               "%.0f, variance ratio %.3f); scale %.4f\n",
               t.x, t.y, t.z, r.x, r.y, r.z, result.motionMm, result.motionChiSquare,
               result.motionVarianceRatio, result.scale);
  return result.shiftVoxels;
}

struct Estimated {
  Volume<float> vdm;
  double seconds;
};

Estimated estimate(const Pair& pair, const Variant& variant) {
  const float scale = static_cast<float>(scaleOf(pair));
  std::ostringstream log;
  const auto start = std::chrono::steady_clock::now();
  Volume<float> vdm = variant.massPreserving
                          ? massPreservingMap(pair)
                          : estimatePair(pair.first.image * scale, pair.second.image * scale,
                                         pair.voxelMm, variant.options, log);
  return {std::move(vdm),
          std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count()};
}

double correctedCorrelation(const Pair& pair, const Volume<float>& vdm, bool modulate,
                            const Mask& mask) {
  return correlation(applyVdm(vdm, pair.first.image, false, modulate),
                     applyVdm(vdm * -1.0f, pair.second.image, false, modulate), mask);
}

void printScale(const Pair& pair) {
  const Volume<float> mean = meanOf(pair.first.image, pair.second.image);
  const double scale = scaleOf(pair);
  std::printf("intensity scale %.4g (threshold %.4g, %.1f %% of the voxels above)\n", scale,
              estimatorThreshold / scale, 100 * fractionAbove(mean, estimatorThreshold / scale));
}

void brain() {
  const std::string folder = dataFolder() + "/siemens_prisma_dwi_bold_fmap";
  const Pair pair = readPair(folder + "/dwi/sub-01_dir-AP_b0", folder + "/dwi/sub-01_dir-PA_b0");
  const Placed field = readPlaced(folder + "/derived/sub-01_fieldmap_Hz.nii.gz");
  const Volume<float> measured = resampledTo(pair.first, field);
  const Placed inside = readPlaced(folder + "/derived/sub-01_approx_brainmask.nii.gz");
  const Placed magnitude = readPlaced(folder + "/fmap/sub-01_magnitude1.nii.gz");
  const Mask brainMask = eroded(maskAbove(resampledTo(pair.first, inside), 0.5), 1);
  const Mask head = maskAbove(resampledTo(pair.first, magnitude), headThreshold(magnitude.image));
  Mask headWithField = head;
  for (int i = 0; i < head.size(); ++i) headWithField.data()[i] &= measured.data()[i] != 0.0f;
  const float readout = static_cast<float>(pair.readoutSeconds);
  std::printf("brain: %d voxels in the brain, %d in the head, %d of them with a measured field; ",
              count(brainMask), count(head), count(headWithField));
  printScale(pair);
  std::printf(
      "| variant | pair in the head | with modulation | in the brain | rms Hz | rms voxels |"
      " r with the measured field | rms Hz in the head | rms voxels | s |\n"
      "|---|---|---|---|---|---|---|---|---|---|\n");
  const auto print = [&](const char* name, const Volume<float>& vdm, double seconds) {
    const Volume<float> hz = vdm * (-1.0f / readout);
    const double rms = rmsDifference(hz, measured, brainMask);
    const double inHead = rmsDifference(hz, measured, headWithField);
    std::printf("| %s | %.3f | %.3f | %.3f | %.2f | %.3f | %.3f | %.2f | %.3f | %.1f |\n", name,
                correctedCorrelation(pair, vdm, false, head),
                correctedCorrelation(pair, vdm, true, head),
                correctedCorrelation(pair, vdm, true, brainMask), rms, rms * readout,
                correlation(hz, measured, brainMask), inHead, inHead * readout, seconds);
    std::fflush(stdout);
  };
  print("uncorrected", Volume<float>(measured.dimensions(), 0.0f), 0);
  print("measured field", measured * -readout, 0);
  for (const Variant& variant : variants) {
    if (!isWanted(variant)) continue;
    const Estimated result = estimate(pair, variant);
    print(variant.name, result.vdm, result.seconds);
  }
}

// x and y exchanged, as for phase encoding along x.
Pair transposed(const Pair& pair) {
  Pair result = pair;
  for (Placed* placed : {&result.first, &result.second}) {
    placed->image = placed->image.transposeXY();
    std::swap(placed->affine[0], placed->affine[1]);
  }
  std::swap(result.voxelMm.x, result.voxelMm.y);
  return result;
}

void sphere() {
  const std::string folder = dataFolder() + "/phantom_prisma_4way";
  const Pair base = readPair(folder + "/acq-base_dir-AP_epi", folder + "/acq-base_dir-PA_epi");
  const Pair across =
      transposed(readPair(folder + "/acq-lr_dir-LR_epi", folder + "/acq-lr_dir-RL_epi"));
  std::printf("sphere: ");
  printScale(base);
  printScale(across);
  std::printf(
      "| variant | pair AP/PA before | after | pair LR/RL before | after | voxels | rms Hz |"
      " rms voxels | median Hz AP/PA | LR/RL | r |\n|---|---|---|---|---|---|---|---|---|---"
      "|---|\n");
  const Volume<float> zero(base.first.image.dimensions(), 0.0f);
  const Volume<float> zeroAcross(across.first.image.dimensions(), 0.0f);
  for (const Variant& variant : variants) {
    if (!isWanted(variant)) continue;
    const Volume<float> vdm = estimate(base, variant).vdm;
    const Volume<float> vdmAcross = estimate(across, variant).vdm;
    // Corrected images of both pairs say where the sphere is; its rim is left out.
    const auto insideOf = [](const Pair& pair, const Volume<float>& map) {
      const Volume<float> mean = meanOf(applyVdm(map, pair.first.image, false, false),
                                        applyVdm(map * -1.0f, pair.second.image, false, false));
      return maskAbove(mean, 2 * headThreshold(mean));
    };
    const Mask inBase = insideOf(base, vdm);
    const Mask inAcross = insideOf(across, vdmAcross);
    Volume<float> acrossInside(inAcross.dimensions());
    std::copy_n(inAcross.data(), inAcross.size(), acrossInside.data());
    Mask both = maskAbove(resampledTo(base.first, {acrossInside, across.first.affine}), 0.5);
    for (int i = 0; i < both.size(); ++i) both.data()[i] &= inBase.data()[i];
    both = eroded(both, 2);
    const Volume<float> hz = vdm * static_cast<float>(-1 / base.readoutSeconds);
    const Volume<float> hzAcross = resampledTo(
        base.first,
        {vdmAcross * static_cast<float>(-1 / across.readoutSeconds), across.first.affine});
    const double rms = rmsDifference(hz, hzAcross, both);
    std::printf("| %s | %.4f | %.4f | %.4f | %.4f | %d | %.2f | %.3f | %.1f | %.1f | %.3f |\n",
                variant.name, correctedCorrelation(base, zero, true, inBase),
                correctedCorrelation(base, vdm, true, inBase),
                correctedCorrelation(across, zeroAcross, true, inAcross),
                correctedCorrelation(across, vdmAcross, true, inAcross), count(both), rms,
                rms * base.readoutSeconds, median(hz, both), median(hzAcross, both),
                correlation(hz, hzAcross, both));
    std::fflush(stdout);
  }
}

void phantom() {
  const Phantom made = makePhantom({});
  Pair pair{{made.ap, {}}, {made.pa, {}}, made.options.readoutSeconds, made.options.voxelMm};
  const Mask brainMask = eroded(made.brainMask, 1);
  std::printf("phantom: ");
  printScale(pair);
  std::printf(
      "| variant | pair in the head | with modulation | rms voxels in the head |"
      " in the brain | r in the head | s |\n|---|---|---|---|---|---|---|\n");
  const auto print = [&](const char* name, const Volume<float>& vdm, double seconds) {
    std::printf("| %s | %.3f | %.3f | %.3f | %.3f | %.3f | %.1f |\n", name,
                correctedCorrelation(pair, vdm, false, made.headMask),
                correctedCorrelation(pair, vdm, true, made.headMask),
                rmsDifference(vdm, made.shiftVoxels, made.headMask),
                rmsDifference(vdm, made.shiftVoxels, brainMask),
                correlation(vdm, made.shiftVoxels, made.headMask), seconds);
    std::fflush(stdout);
  };
  print("uncorrected", Volume<float>(made.ap.dimensions(), 0.0f), 0);
  print("truth", made.shiftVoxels, 0);
  for (const Variant& variant : variants) {
    if (!isWanted(variant)) continue;
    const Estimated result = estimate(pair, variant);
    print(variant.name, result.vdm, result.seconds);
  }
}

// Truth that looks like a measured field.
void simulated() {
  const std::string folder = dataFolder() + "/siemens_prisma_dwi_bold_fmap";
  const Placed field = readPlaced(folder + "/derived/sub-01_fieldmap_Hz.nii.gz");
  const Placed magnitude = readPlaced(folder + "/fmap/sub-01_magnitude1.nii.gz");
  const Placed inside = readPlaced(folder + "/derived/sub-01_approx_brainmask.nii.gz");
  const Mask brain = maskAbove(resampledTo(magnitude, inside), 0.5), inner = eroded(brain, 1);
  std::printf("simulated from a measured magnitude and field\n");
  std::printf(
      "| variant | seed | smoothing, voxels | rms voxels in the brain | eroded once | s |\n"
      "|---|---|---|---|---|---|\n");
  for (std::uint64_t seed = 1; seed <= 3; ++seed) {
    const SimulatedPair made = simulatePair(magnitude.image, resampledTo(magnitude, field),
                                            headThreshold(magnitude.image), 6.0, brain, seed);
    const Pair pair{{made.first, magnitude.affine},
                    {made.second, magnitude.affine},
                    1.0,
                    nifti::columnLengths(magnitude.affine)};
    const auto print = [&](const char* name, const Volume<float>& vdm, double seconds) {
      std::printf("| %s | %d | %.2f | %.3f | %.3f | %.1f |\n", name, static_cast<int>(seed),
                  made.smoothingVoxels, rmsDifference(vdm, made.shiftVoxels, brain),
                  rmsDifference(vdm, made.shiftVoxels, inner), seconds);
      std::fflush(stdout);
    };
    print("uncorrected", Volume<float>(made.first.dimensions(), 0.0f), 0);
    for (const Variant& variant : variants) {
      if (!isWanted(variant)) continue;
      const Estimated result = estimate(pair, variant);
      print(variant.name, result.vdm, result.seconds);
    }
  }
}

// A pair without a second opinion: only how well its images agree.
void small() {
  const std::string folder = dataFolder() + "/uih_umr770_dwi/dwi";
  const Pair pair = readPair(folder + "/sub-01_dir-AP_b0", folder + "/sub-01_dir-PA_b0");
  std::printf("small: ");
  printScale(pair);
  const Volume<float> mean = meanOf(pair.first.image, pair.second.image);
  const Mask head = maskAbove(mean, headThreshold(mean));
  std::printf("| variant | pair in the head | with modulation | s |\n|---|---|---|---|\n");
  const Volume<float> zero(mean.dimensions(), 0.0f);
  std::printf("| uncorrected | %.3f | %.3f | |\n", correctedCorrelation(pair, zero, false, head),
              correctedCorrelation(pair, zero, true, head));
  for (const Variant& variant : variants) {
    if (!isWanted(variant)) continue;
    const Estimated result = estimate(pair, variant);
    std::printf("| %s | %.3f | %.3f | %.1f |\n", variant.name,
                correctedCorrelation(pair, result.vdm, false, head),
                correctedCorrelation(pair, result.vdm, true, head), result.seconds);
    std::fflush(stdout);
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    bindEngine();
    std::vector<std::string> parts;
    for (int i = 1; i < argc; ++i) {
      const std::string word = argv[i];
      if (word == "--scale" && i + 1 < argc)
        fixedScale = std::stod(argv[++i]);
      else if (word == "--only" && i + 1 < argc)
        onlyVariant = argv[++i];
      else
        parts.push_back(word);
    }
    if (parts.empty()) parts = {"brain", "series", "sphere", "phantom", "simulated", "small"};
    for (const std::string& part : parts) {
      if (part == "brain")
        brain();
      else if (part == "series")
        printSeriesAccuracy(dataFolder() + "/siemens_prisma_dwi_bold_fmap");
      else if (part == "sphere")
        sphere();
      else if (part == "phantom")
        phantom();
      else if (part == "simulated")
        simulated();
      else if (part == "small")
        small();
      else
        throw std::runtime_error("there is no part " + part);
    }
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "Error: %s\n", failure.what());
    return 1;
  }
}
