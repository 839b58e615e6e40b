// Prints the error of the mass-preserving estimate on pairs that break its model, with the ratio to
// the unspoiled pair of the same head:
//
//   mirel_robustness [--size NX NY NZ] [--shift VOXELS] [--seeds N N ...] [--measured] [--row TEXT]
//                    [--details] [--no-local-ratio] [--uncertainty]
//                    [--bound] [--write FOLDER]
//
// Heads are simulated, with one seed each; with --measured they are made from the magnitude and
// field in MIREL_TEST_DATA. --row takes the rows whose name holds the text, and the first.
// --uncertainty prints the errors over the deviations that the estimate tells, --bound the errors
// over the least that the images allow, of the rows whose model holds.
// --write FOLDER writes maps and images of the first seed (writtenmaps.h).

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "accuracy/bound.h"
#include "accuracy/spoiledpairs.h"
#include "accuracy/writtenmaps.h"
#include "masspreserving/masspreserving.h"

using namespace mirel;

namespace {

struct Wanted {
  glm::ivec3 size{64, 74, 44};
  double shift = 4.3;
  std::vector<std::uint64_t> seeds{1, 2, 3};
  bool measured = false;
  bool details = false;
  bool bound = false;
  std::string folder;  // of the maps; empty: none are written
  MassPreservingOptions options;
  std::string row;
};

Wanted parse(int argc, char** argv) {
  Wanted wanted;
  const std::vector<std::string> words(argv + 1, argv + argc);
  for (std::size_t i = 0; i < words.size(); ++i) {
    const auto next = [&] {
      if (i + 1 >= words.size()) throw std::runtime_error(words[i] + " needs a value");
      return words[++i];
    };
    const std::string option = words[i];
    if (option == "--size") {
      for (int axis = 0; axis < 3; ++axis) wanted.size[axis] = std::stoi(next());
    } else if (option == "--shift") {
      wanted.shift = std::stod(next());
    } else if (option == "--seeds") {
      wanted.seeds.clear();
      while (i + 1 < words.size() && words[i + 1].rfind("--", 0) != 0)
        wanted.seeds.push_back(std::stoull(next()));
    } else if (option == "--measured") {
      wanted.measured = true;
    } else if (option == "--details") {
      wanted.details = true;
    } else if (option == "--no-local-ratio") {
      wanted.options.localRatio = false;
    } else if (option == "--uncertainty") {
      wanted.options.uncertainty = true;
    } else if (option == "--bound") {
      wanted.bound = true;
    } else if (option == "--write") {
      wanted.folder = next();
    } else if (option == "--row") {
      wanted.row = next();
    } else {
      throw std::runtime_error("there is no option " + option);
    }
  }
  return wanted;
}

// Deviations that the estimate tells against its errors, in quarters of the scored voxels by the
// deviation told.
struct ToldErrors {
  static constexpr std::size_t bins = 4;
  std::array<double, bins> told{}, errors{};

  void add(const MassPreservingResult& found, const SpoiledPair& pair) {
    std::vector<std::pair<double, double>> all;
    for (int i = 0; i < pair.scored.size(); ++i)
      if (pair.scored.data()[i] != 0)
        all.emplace_back(found.deviationVoxels.data()[i],
                         found.shiftVoxels.data()[i] - pair.shiftVoxels.data()[i]);
    std::sort(all.begin(), all.end());
    for (std::size_t i = 0; i < all.size(); ++i) {
      told[i * bins / all.size()] += all[i].first * all[i].first;
      errors[i * bins / all.size()] += all[i].second * all[i].second;
    }
  }
};

struct Score {
  ToldErrors deviations;
  double squares = 0.0, spoiledSquares = 0.0, largest = 0.0, seconds = 0.0;
  double voxels = 0.0;  // scored, of a pair
  int pairs = 0, spoiledPairs = 0;

  double rms() const { return std::sqrt(squares / pairs); }
};

bool folds(const Volume<float>& map) {
  for (int z = 0; z < map.nz(); ++z)
    for (int y = 0; y + 1 < map.ny(); ++y)
      for (int x = 0; x < map.nx(); ++x)
        if (!(std::abs(map.at(x, y + 1, z) - map.at(x, y, z)) < 1.0F)) return true;
  return false;
}

void add(Score& score, const SpoiledPair& pair, const SpoilableHead& head, const Wanted& wanted) {
  const std::clock_t start = std::clock();
  const MassPreservingResult found =
      estimateMassPreserving(pair.first, pair.second, head.voxelMm, wanted.options);
  score.seconds += static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
  if (folds(found.shiftVoxels)) throw std::runtime_error("a map folds");
  const double rms = rmsDifference(found.shiftVoxels, pair.shiftVoxels, pair.scored);
  score.squares += rms * rms;
  ++score.pairs;
  score.voxels = count(pair.scored);
  if (wanted.options.uncertainty) score.deviations.add(found, pair);
  if (count(pair.spoiled) > 0) {
    const double inside = rmsDifference(found.shiftVoxels, pair.shiftVoxels, pair.spoiled);
    score.spoiledSquares += inside * inside;
    ++score.spoiledPairs;
  }
  if (wanted.details)
    std::printf(
        "  seed %d: rms %.4f noise %.1f nu %.0f alpha %.3g dof %.0f motion %.2f mm it %d+%d\n",
        static_cast<int>(head.seed), rms, found.noiseSigma, found.noiseTails, found.roughnessWeight,
        found.degreesOfFreedom, found.motionMm, found.iterations, found.solverIterations);
}

void run(const Wanted& wanted) {
  std::vector<SpoilableHead> heads;
  if (wanted.measured) {
    const char* folder = std::getenv("MIREL_TEST_DATA");
    if (folder == nullptr) {
      std::printf("skipped: MIREL_TEST_DATA does not name the folder of the data\n");
      return;
    }
    for (const std::uint64_t seed : wanted.seeds)
      heads.push_back(
          measuredHead(std::string(folder) + "/siemens_prisma_dwi_bold_fmap", wanted.shift, seed));
  } else {
    for (const std::uint64_t seed : wanted.seeds)
      heads.push_back(simulatedHead(wanted.size, wanted.shift, seed));
  }
  if (wanted.bound) return printBounds(heads, wanted.row, wanted.options);
  std::printf(
      "| pair | rms voxels | times the unspoiled | in the spoiled region | times | s |\n"
      "|---|---|---|---|---|---|\n");
  double unspoiled = 0.0;
  std::vector<double> unspoiledThere;
  WrittenMaps maps(wanted.folder, wanted.options);
  for (const Spoiling& spoiling : spoilings()) {
    const bool first = unspoiled == 0.0;
    if (!first && spoiling.name.find(wanted.row) == std::string::npos) continue;
    Score score;
    for (const SpoilableHead& head : heads)
      if (!spoiling.needsContrast || head.withContrast)
        add(score, spoiling.make(head), head, wanted);
    if (score.pairs == 0) continue;
    if (!wanted.folder.empty())
      maps.add(spoiling.name, spoiling.make(heads.front()), heads.front().voxelMm);
    if (first) unspoiled = score.rms();
    std::printf("| %s | %.4f | %.2f |", spoiling.name.c_str(), score.rms(),
                score.rms() / unspoiled);
    if (score.spoiledPairs > 0) {
      const double inside = std::sqrt(score.spoiledSquares / score.spoiledPairs);
      std::printf(" %.4f | %.2f |", inside, inside / unspoiled);
    } else {
      std::printf(" | |");
    }
    std::printf(" %.2f |\n", score.seconds / score.pairs);
    for (std::size_t k = 0; k < ToldErrors::bins && wanted.options.uncertainty; ++k)
      std::printf(
          "  told %.4f, error over it %.2f\n",
          std::sqrt(score.deviations.told[k] * ToldErrors::bins / score.pairs / score.voxels),
          std::sqrt(score.deviations.errors[k] / score.deviations.told[k]));
    std::fflush(stdout);
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    run(parse(argc, argv));
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "Error: %s\n", failure.what());
    return 1;
  }
}
