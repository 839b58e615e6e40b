#include <cmath>
#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>

#include "base/dimensions.h"
#include "base/error.h"
#include "base/json.h"
#include "base/numbertext.h"
#include "cli/command.h"
#include "cli/inputimage.h"
#include "field/grid.h"
#include "host/session.h"
#include "nifti/filename.h"
#include "nifti/image.h"
#include "numerics/statistics.h"

namespace mirel {

namespace {

constexpr double placeTolerance = 0.05;  // voxels

constexpr const char* compareDescription =
    "Tell how alike two images or displacement maps of the same size are.\n"
    "\n"
    "Prints their correlation (1 for images that differ by scale and offset only) and the\n"
    "root-mean-square difference in the unit of the images (voxels for displacement maps).\n"
    "Voxels of equal indices are compared; a warning says when they lie at different places.\n";

struct CompareCommandOptions {
  std::string a, b, mask;
  int volumeA = 0, volumeB = 0;
  bool json = false;
};

struct Comparison {
  long long voxels = 0;
  double correlation = 0, rmsDifference = 0;
};

// Voxel by voxel is not place by place where the headers say otherwise.
std::optional<double> placesApart(const std::string& fileA, const std::string& fileB) {
  if (!nifti::hasNiftiName(fileA) || !nifti::hasNiftiName(fileB)) return std::nullopt;
  const nifti::Reader a(fileA), b(fileB);
  if (!hasOrientation(a.header()) || !hasOrientation(b.header())) return std::nullopt;
  return cornersApart(gridOf(a.header()), gridOf(b.header()), fileB);
}

void doubtPlaces(const std::string& fileA, const std::string& fileB, std::optional<double> apart) {
  if (!apart || *apart <= placeTolerance) return;
  hostSession().console.warn(fileA + " and " + fileB +
                             " lie at different places by their orientations, up to " +
                             counted("%.3g", *apart, "voxel") +
                             " apart: voxels of equal indices are compared all the same");
}

void requireSameSize(const Volume<float>& a, const Volume<float>& b, const std::string& fileA,
                     const std::string& fileB) {
  if (a.dimensions() == b.dimensions()) return;
  throw Error(fileA, "(" + text(a.dimensions()) + ") and " + fileB + " (" + text(b.dimensions()) +
                         ") are not of the same size");
}

Comparison compareVolumes(const Volume<float>& a, const Volume<float>& b,
                          const std::optional<Volume<float>>& mask) {
  Comparison result;
  double squares = 0;
  for (int i = 0; i < a.size(); ++i) {
    if (mask && mask->data()[i] == 0) continue;
    const double difference = static_cast<double>(a.data()[i]) - static_cast<double>(b.data()[i]);
    ++result.voxels;
    squares += difference * difference;
  }
  result.correlation = mask ? correlation(a, b, *mask) : correlation(a, b);
  result.rmsDifference = std::sqrt(squares / static_cast<double>(result.voxels));
  return result;
}

int runCompare(const CompareCommandOptions& options) {
  const Volume<float> a = readInputVolume(options.a, options.volumeA);
  const Volume<float> b = readInputVolume(options.b, options.volumeB);
  requireSameSize(a, b, options.a, options.b);
  std::optional<Volume<float>> mask;
  if (!options.mask.empty()) {
    mask = readInputVolume(options.mask, 0);
    requireSameSize(a, *mask, options.a, options.mask);
  }
  const std::optional<double> apart = placesApart(options.a, options.b);
  doubtPlaces(options.a, options.b, apart);
  if (mask) doubtPlaces(options.a, options.mask, placesApart(options.a, options.mask));
  const Comparison result = compareVolumes(a, b, mask);
  if (result.voxels == 0) throw Error(options.mask, "marks no voxel");
  if (options.json) {
    Json json = {{"correlation", result.correlation},
                 {"rootMeanSquareDifference", result.rmsDifference},
                 {"voxels", result.voxels}};
    if (apart) json["voxelsApart"] = *apart;
    std::cout << json.dump(2) << "\n";
  } else {
    std::cout << text("correlation %.4f", result.correlation)
              << text(", rms difference %.4g (", result.rmsDifference)
              << counted(result.voxels, "voxel") << ")\n";
  }
  return exitSuccess;
}

}  // namespace

void addCompareCommand(Command& app, Program& program) {
  Command* command = app.add_subcommand("compare", compareDescription);
  const auto options = std::make_shared<CompareCommandOptions>();
  command->add_option("A", options->a, "An image (.nii, .nii.gz), a project or a map")
      ->type_name("")
      ->required();
  command->add_option("B", options->b, "Another one of the same size")->type_name("")->required();
  command->add_option("--mask", options->mask, "Compare only where this image is not 0")
      ->type_name("FILE");
  command->add_option("--volume-a", options->volumeA, "Volume of A, counted from 0 (default: 0)")
      ->type_name("N");
  command->add_option("--volume-b", options->volumeB, "Volume of B, counted from 0 (default: 0)")
      ->type_name("N");
  command->add_flag("--json", options->json, "As JSON");
  command->callback(
      [options, &program] { program.action = [options] { return runCompare(*options); }; });
}

}  // namespace mirel
