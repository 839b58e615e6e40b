// Prints the table of docs/accuracy.md on heads that moved between the two images of a pair: the
// error of the field against that of the same head without motion, and of the motion found.
//
//   mirel_headmotion [--coarse] [--noise FRACTION] [--seeds N N ...] [--row TEXT] [--details]
//                    [--motion X Y Z X Y Z]
//
// Heads have 90 x 104 x 60 voxels of 2.4 mm, with --coarse 48 x 56 x 32 of 4.5 mm. --row takes the
// motions whose name holds the text, --motion one of these mm and degrees. --details prints each
// seed.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <glm/geometric.hpp>
#include <glm/matrix.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "masspreserving/masspreserving.h"
#include "numerics/interpolation.h"
#include "phantom/phantom.h"

using namespace mirel;

namespace {

struct NamedMotion {
  std::string name;
  RigidMotion motion;
};

struct WantedHeads {
  bool coarse = false;
  bool details = false;
  double noise = 0.03;
  std::vector<std::uint64_t> seeds{2, 3, 4};
  std::string row;
  std::optional<RigidMotion> motion;
};

WantedHeads parse(int argc, char** argv) {
  WantedHeads wanted;
  const std::vector<std::string> words(argv + 1, argv + argc);
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::string& option = words[i];
    const auto next = [&] {
      if (i + 1 >= words.size()) throw std::runtime_error(option + " needs a value");
      return words[++i];
    };
    if (option == "--coarse") {
      wanted.coarse = true;
    } else if (option == "--details") {
      wanted.details = true;
    } else if (option == "--noise") {
      wanted.noise = std::stod(next());
    } else if (option == "--motion") {
      RigidMotion motion;
      for (int axis = 0; axis < 3; ++axis) motion.translationMm[axis] = std::stod(next());
      for (int axis = 0; axis < 3; ++axis) motion.rotationDegrees[axis] = std::stod(next());
      wanted.motion = motion;
    } else if (option == "--row") {
      wanted.row = next();
    } else if (option == "--seeds") {
      wanted.seeds.clear();
      while (i + 1 < words.size() && words[i + 1].rfind("--", 0) != 0)
        wanted.seeds.push_back(std::stoull(next()));
    } else {
      throw std::runtime_error("there is no option " + option);
    }
  }
  return wanted;
}

// Each axis and sign alone, then pairs, then all together.
std::vector<NamedMotion> motions() {
  std::vector<NamedMotion> all;
  const std::array<const char*, 3> axes{"x", "y", "z"};
  const auto add = [&](const std::string& name, glm::dvec3 mm, glm::dvec3 degrees) {
    all.push_back({name, {mm, degrees}});
  };
  for (int axis = 0; axis < 3; ++axis)
    for (const double sign : {1.0, -1.0}) {
      glm::dvec3 along(0.0);
      along[axis] = 2.0 * sign;
      const std::string name = axes[static_cast<std::size_t>(axis)];
      add((sign > 0 ? "2 mm along " : "-2 mm along ") + name, along, {});
      add((sign > 0 ? "2 degrees about " : "-2 degrees about ") + name, {}, along);
    }
  add("1 degree about x", {}, {1, 0, 0});
  add("2 mm along x and z", {2, 0, 2}, {});
  add("2 mm along y, -2 along z", {0, 2, -2}, {});
  add("2 degrees about x and y", {}, {2, 2, 0});
  add("2 degrees about x, -2 about z", {}, {2, 0, -2});
  add("2 mm along z, -2 degrees about x", {0, 0, 2}, {-2, 0, 0});
  add("2 mm along y, 2 degrees about x", {0, 2, 0}, {2, 0, 0});
  add("2 mm and 2 degrees, all axes", {2, 2, 2}, {2, 2, 2});
  add("(1 -2 -1) mm, (-2 1 -1) degrees", {1, -2, -1}, {-2, 1, -1});
  return all;
}

Phantom headOf(const WantedHeads& wanted, std::uint64_t seed, const RigidMotion& motion) {
  PhantomOptions options;
  options.size = wanted.coarse ? glm::ivec3(48, 56, 32) : glm::ivec3(90, 104, 60);
  options.voxelMm = glm::dvec3(wanted.coarse ? 4.5 : 2.4);
  options.maxShiftVoxels = wanted.coarse ? 3.0 : 6.0;
  options.noise = wanted.noise;
  options.seed = seed;
  options.volumes = 0;
  options.paMotion = motion;
  return makePhantom(options);
}

// Of one head, or mean squares over several.
struct FieldError {
  double square = 0.0, free = 0.0, aboutSlopes = 0.0, seconds = 0.0;
  glm::dvec3 millimetres{0.0}, degrees{0.0};  // squared errors of the motion

  void add(const FieldError& one, double share) {
    square += share * one.square;
    free += share * one.free;
    aboutSlopes += share * one.aboutSlopes;
    seconds += share * one.seconds;
    millimetres += share * one.millimetres;
    degrees += share * one.degrees;
  }
};

// Moments of the error in the brain, with e = found(y) - truth(y - offset) + offset: a head that
// moved along y by -2 offset voxels less has the map truth(y - offset) - offset.
struct Moments {
  glm::dmat4 places{0.0};
  glm::dvec4 sums{0.0};
  double squares = 0.0;

  Moments(const Phantom& head, const Volume<float>& found, double offset) {
    const glm::dvec3 middle = 0.5 * (glm::dvec3(found.dimensions()) - 1.0);
    for (int z = 0; z < found.nz(); ++z)
      for (int y = 0; y < found.ny(); ++y)
        for (int x = 0; x < found.nx(); ++x) {
          if (head.brainMask.at(x, y, z) == 0) continue;
          const double e = found.at(x, y, z) - alongY(head.shiftVoxels, x, y - offset, z) + offset;
          const glm::dvec4 p(glm::dvec3(x, y, z) - middle, 1.0);
          places += glm::outerProduct(p, p);
          sums += e * p;
          squares += e * e;
        }
  }
  double count() const { return places[3][3]; }
  double mean() const { return sums.w / count(); }

 private:
  static double alongY(const Volume<float>& image, int x, double y, int z) {
    const double base = std::floor(y);
    const auto at = [&](int i) {
      const int row = std::clamp(static_cast<int>(base) + i, 0, image.ny() - 1);
      return static_cast<double>(image.at(x, row, z));
    };
    return cubicConvolution(at(-1), at(0), at(1), at(2), y - base);
  }
};

// The error in the brain as it is, without what is a convention of the motion along y, and without
// slopes along the three axes besides.
void scoreField(const Phantom& head, const Volume<float>& found, FieldError& error) {
  const Moments plain(head, found, 0.0);
  error.square = plain.squares / plain.count();
  double offset = -plain.mean();
  for (int i = 0; i < 3; ++i) offset -= Moments(head, found, offset).mean();
  const Moments free(head, found, offset);
  error.free = free.squares / free.count();
  error.aboutSlopes =
      (free.squares - glm::dot(free.sums, glm::inverse(free.places) * free.sums)) / free.count();
}

FieldError errorOf(const Phantom& head) {
  FieldError error;
  const std::clock_t start = std::clock();
  const MassPreservingResult found = estimateMassPreserving(head.ap, head.pa, head.options.voxelMm);
  error.seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
  scoreField(head, found.shiftVoxels, error);
  const glm::dvec3 mm = found.motion.translationMm - head.options.paMotion.translationMm,
                   degrees = found.motion.rotationDegrees - head.options.paMotion.rotationDegrees;
  error.millimetres = mm * mm;
  error.degrees = degrees * degrees;
  return error;
}

void printRow(const std::string& name, const FieldError& mean, const FieldError& still) {
  std::printf("| %s | %.4f | %.2f | %.2f | %.2f | %.3f %.3f %.3f | %.3f %.3f %.3f | %.2f |\n",
              name.c_str(), std::sqrt(mean.square), std::sqrt(mean.square / still.square),
              std::sqrt(mean.free / still.free), std::sqrt(mean.aboutSlopes / still.aboutSlopes),
              std::sqrt(mean.millimetres.x), std::sqrt(mean.millimetres.y),
              std::sqrt(mean.millimetres.z), std::sqrt(mean.degrees.x), std::sqrt(mean.degrees.y),
              std::sqrt(mean.degrees.z), mean.seconds);
  std::fflush(stdout);
}

void run(const WantedHeads& wanted) {
  std::printf(
      "| motion | rms voxels | times the still head | without the convention | and slopes | mm "
      "off, x y z "
      "| "
      "degrees off, x y z | s |\n|---|---|---|---|---|---|---|---|\n");
  const auto meanOf = [&](const RigidMotion& motion) {
    FieldError mean;
    for (const std::uint64_t seed : wanted.seeds) {
      const FieldError one = errorOf(headOf(wanted, seed, motion));
      if (wanted.details) printRow("seed " + std::to_string(seed), one, one);
      mean.add(one, 1.0 / static_cast<double>(wanted.seeds.size()));
    }
    return mean;
  };
  const FieldError still = meanOf({});
  printRow("none", still, still);
  if (wanted.motion) {
    printRow("that asked for", meanOf(*wanted.motion), still);
    return;
  }
  for (const NamedMotion& row : motions())
    if (row.name.find(wanted.row) != std::string::npos)
      printRow(row.name, meanOf(row.motion), still);
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
