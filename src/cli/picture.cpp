#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>

#include "cli/command.h"
#include "cli/inputimage.h"
#include "host/hosterror.h"
#include "nifti/convert.h"
#include "nifti/geometry.h"
#include "nifti/image.h"
#include "nifti/outfile.h"
#include "picture/orient.h"
#include "picture/slice.h"

namespace {

using namespace mirel::picture;

constexpr const char* description =
    "Draw slices of images and displacement maps side by side, as a PNG picture.\n"
    "\n"
    "One column per input, one row per slice; without --slice the middle axial, coronal and\n"
    "sagittal slice. Right is the patient's right; up is front or head. Maps (.map, --map) are\n"
    "drawn in colours, blue below and red above 0.\n";

struct Options {
  std::vector<std::string> images;
  std::vector<std::string> maps;
  std::vector<std::string> labels;
  std::vector<std::string> slices;
  std::string out;
  int volume = 0;
  int pixels = 3;
  bool overlay = false;
  bool commonWindow = false;
  double limit = 0.0;
};

// An input with its axes turned to the patient's.
struct Input {
  std::string label;
  Volume<float> volume;
  glm::dvec3 voxelMm{1.0};
  bool isMap = false;
  Window window;
};

struct Geometry {
  glm::ivec3 dims;
  PatientAxes axes;
  glm::dvec3 voxelMm;  // of the array's axes
};

std::string plainName(const std::string& file) {
  const std::string name = std::filesystem::path(file).filename().string();
  return nifti::hasNiftiName(name) ? nifti::niftiStem(name)
                                   : std::filesystem::path(name).stem().string();
}

// An image or a project, and the geometry that a map on the same grid may share.
Input readImage(const std::string& file, int index, std::optional<Geometry>& geometry) {
  Input input;
  const Volume<float> volume = readInputVolume(file, index);
  std::vector<std::string> notes;
  const nifti::Header header = nifti::hasNiftiName(file) ? nifti::Reader(file).header()
                                                         : nifti::referenceHeader(file, notes);
  const Geometry own{volume.dimensions(), patientAxes(header.affine()),
                     nifti::columnLengths(header.affine())};
  if (!geometry) geometry = own;
  input.volume = turned(volume, own.axes);
  input.voxelMm = turned(own.voxelMm, own.axes);
  input.window = robustWindow(input.volume);
  return input;
}

Input readMap(const std::string& file, const std::optional<Geometry>& geometry) {
  Input input;
  const Volume<float> volume = readInputVolume(file, 0);
  const bool shared = geometry && geometry->dims == volume.dimensions();
  input.volume = shared ? turned(volume, geometry->axes) : volume;
  if (shared) input.voxelMm = turned(geometry->voxelMm, geometry->axes);
  return input;
}

std::vector<Input> readInputs(const Options& options) {
  std::vector<Input> inputs;
  std::optional<Geometry> geometry;
  std::vector<std::string> maps = options.maps, names;
  for (const std::string& file : options.images) {
    if (file.ends_with(".map")) {
      maps.push_back(file);
      continue;
    }
    nifti::refuseOverwrite(options.out, file);
    inputs.push_back(readImage(file, options.volume, geometry));
    names.push_back(file);
  }
  for (const std::string& file : maps) {
    nifti::refuseOverwrite(options.out, file);
    inputs.push_back(file.ends_with(".map") ? readMap(file, geometry)
                                            : readImage(file, 0, geometry));
    inputs.back().isMap = true;
    names.push_back(file);
  }
  if (inputs.empty()) throw HostError("name at least one image or map to draw");
  for (std::size_t i = 0; i < inputs.size(); ++i)
    inputs[i].label = i < options.labels.size() ? options.labels[i] : plainName(names[i]);
  return inputs;
}

struct Slice {
  SlicePlane plane;
  int index;  // -1: the middle
};

// "axial", "axial:30", also "z:30" and so on.
Slice parseSlice(const std::string& text) {
  const std::size_t colon = text.find(':');
  const std::string plane = text.substr(0, colon);
  Slice slice{SlicePlane::axial, -1};
  if (plane == "coronal" || plane == "y")
    slice.plane = SlicePlane::coronal;
  else if (plane == "sagittal" || plane == "x")
    slice.plane = SlicePlane::sagittal;
  else if (plane != "axial" && plane != "z")
    throw HostError("--slice " + text +
                    " is not understood; write axial:30, coronal or sagittal:5");
  if (colon == std::string::npos) return slice;
  const std::string number = text.substr(colon + 1);
  if (number.empty() || number.size() > 6 ||
      number.find_first_not_of("0123456789") != std::string::npos)
    throw HostError("--slice " + text + ": " + number + " is not the number of a slice");
  slice.index = std::stoi(number);
  return slice;
}

RgbImage drawInput(const Input& input, const SliceView& view, float limit) {
  return input.isMap ? drawDiverging(input.volume, view, limit)
                     : drawGrey(input.volume, view, input.window);
}

float mapLimit(const std::vector<Input>& inputs, double wanted) {
  if (wanted > 0.0) return static_cast<float>(wanted);
  float limit = 0.0F;
  for (const Input& input : inputs)
    if (input.isMap) limit = std::max(limit, robustLimit(input.volume));
  return limit;
}

int runPicture(const Options& options) {
  if (!options.out.ends_with(".png"))
    throw HostError("the picture is a PNG file; " + options.out + " does not end with .png");
  std::vector<Slice> slices;
  for (const std::string& text : options.slices) slices.push_back(parseSlice(text));
  if (slices.empty())
    slices = {{SlicePlane::axial, -1}, {SlicePlane::coronal, -1}, {SlicePlane::sagittal, -1}};

  std::vector<Input> inputs = readInputs(options);
  if (options.commonWindow)
    for (Input& input : inputs) input.window = inputs.front().window;
  if (options.overlay && (inputs.size() < 2 || inputs[0].isMap || inputs[1].isMap))
    throw HostError("--overlay needs two images to lay over one another");
  const float limit = mapLimit(inputs, options.limit);
  std::vector<Panel> panels;
  for (std::size_t row = 0; row < slices.size(); ++row) {
    const auto viewOf = [&](const Input& input) {
      const int count = sliceCount(input.volume.dimensions(), slices[row].plane);
      return SliceView{slices[row].plane, slices[row].index < 0 ? count / 2 : slices[row].index,
                       glm::vec3(input.voxelMm), options.pixels};
    };
    for (const Input& input : inputs) {
      char scale[32] = "";
      if (input.isMap) std::snprintf(scale, sizeof scale, " +-%.3g", static_cast<double>(limit));
      panels.push_back(
          {drawInput(input, viewOf(input), limit), row == 0 ? input.label + scale : ""});
    }
    if (options.overlay)
      panels.push_back({drawOverlay(inputs[0].volume, inputs[0].window, inputs[1].volume,
                                    inputs[1].window, viewOf(inputs[0])),
                        row == 0 ? "red/cyan" : ""});
  }
  writePng(options.out, sideBySide(panels, static_cast<int>(inputs.size()) + options.overlay));
  std::cout << options.out << "\n";
  return exitSuccess;
}

void addLooks(CLI::App* command, Options& options) {
  command
      ->add_option("--slice", options.slices,
                   "A slice: axial:30 (or z:30), coronal:50, sagittal:45, counted from 0 in\n"
                   "patient axes; without a number the middle one. May be repeated")
      ->type_name("PLANE[:N]")
      ->expected(1)
      ->take_all();
  command->add_flag("--overlay", options.overlay,
                    "Add the first image in red laid over the second in cyan");
  command->add_option("--label", options.labels, "Labels for the inputs, maps last")
      ->type_name("TEXT")
      ->expected(1)
      ->take_all();
  command->add_option("--volume", options.volume, "Volume of a series, counted from 0")
      ->type_name("N")
      ->check(CLI::NonNegativeNumber)
      ->capture_default_str();
  command->add_option("--pixels", options.pixels, "Pixels along the shorter side of a voxel")
      ->type_name("N")
      ->check(CLI::Range(1, 16))
      ->capture_default_str();
  command->add_flag("--common-window", options.commonWindow,
                    "Draw every image with the grey values of the first (default: each from the\n"
                    "2nd to the 98th percentile of its own foreground)");
  command
      ->add_option("--limit", options.limit,
                   "End of the colour scale of maps, in their unit (default: 99th percentile)")
      ->type_name("V")
      ->check(CLI::PositiveNumber);
}

}  // namespace

void addPictureCommand(CLI::App& app, Program& program) {
  CLI::App* command = app.add_subcommand("picture", description);
  const auto options = std::make_shared<Options>();
  command
      ->add_option("IN", options->images,
                   "NIfTI images, projects (.fmr, .dmr) and maps (.map) on grids of their own")
      ->type_name("");
  command->add_option("-o,--out", options->out, "The picture to write; an older one is replaced")
      ->type_name("FILE.png")
      ->required();
  command->add_option("--map", options->maps, "NIfTI images that are drawn as maps")
      ->type_name("FILE")
      ->expected(1)
      ->take_all();
  addLooks(command, *options);
  command->callback(
      [options, &program] { program.action = [options] { return runPicture(*options); }; });
}
