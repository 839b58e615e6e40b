#include "picture/picture.h"

#include <charconv>
#include <cmath>
#include <iostream>
#include <memory>

#include "base/error.h"
#include "cli/command.h"
#include "cli/interrupt.h"
#include "cli/pictureinput.h"

namespace mirel {

namespace {

using namespace picture;

constexpr const char* pictureDescription =
    "Draw slices of images and maps side by side, as a PNG picture.\n"
    "\n"
    "One column per input, one row per slice; without --slice the middle axial, coronal and\n"
    "sagittal slice of the first input. The others are cut at the same place in the patient,\n"
    "whatever their grids. Right is the patient's right; up is front or head.\n"
    "\n"
    "Images are grey. Maps are coloured, blue below and red above 0, with one colour bar for\n"
    "each unit, and faded where no signal was measured: .map files, displacement fields (5-D),\n"
    "images with Units of Hz, rad/s, T, mm or voxels in their sidecars, those named _fieldmap,\n"
    "_vdm or _displacement, and what --map names.\n";

struct PictureCommandOptions {
  PictureFiles files;
  Style style;
  std::vector<std::string> slices;
  std::vector<std::string> limits;
  std::string warpAxis;
  std::string out;
  bool smooth = false;
  bool noFade = false;
};

/// A finite number that takes the whole of the text.
std::optional<double> numberIn(const std::string& text) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !(std::abs(value) < 1e30))
    return std::nullopt;
  return value;
}

SlicePlane parsePlane(const std::string& name, const std::string& text) {
  if (name == "axial" || name == "z") return SlicePlane::axial;
  if (name == "coronal" || name == "y") return SlicePlane::coronal;
  if (name == "sagittal" || name == "x") return SlicePlane::sagittal;
  throw Error("--slice " + text +
              " is not understood; write axial:30, coronal, sagittal:5 or axial:-12mm");
}

// "axial", "axial:30", "axial:-12.5mm", also "z:30" and so on.
SliceAt parseSlice(const std::string& text) {
  const std::size_t colon = text.find(':');
  SliceAt slice{parsePlane(text.substr(0, colon), text)};
  if (colon == std::string::npos) return slice;
  std::string place = text.substr(colon + 1);
  const bool inMm = place.ends_with("mm");
  if (inMm) place.resize(place.size() - 2);
  const std::optional<double> number = numberIn(place);
  if (inMm) {
    if (!number) throw Error("--slice " + text + ": " + place + " is not a number of mm");
    slice.mm = *number;
    return slice;
  }
  if (!number || place.size() > 6 || place.find_first_not_of("0123456789") != std::string::npos)
    throw Error("--slice " + text + ": " + place + " is not the number of a slice");
  slice.index = static_cast<int>(*number);
  return slice;
}

// "3" or "Hz=120".
void parseLimit(const std::string& text, Style& style) {
  const std::size_t equals = text.find_last_of('=');
  const std::string number = equals == std::string::npos ? text : text.substr(equals + 1);
  const std::optional<double> limit = numberIn(number);
  if (!limit || *limit <= 0)
    throw Error("--limit " + text + ": " + number + " is not a positive number");
  if (equals == std::string::npos)
    style.limit = *limit;
  else
    style.limitOfUnit[text.substr(0, equals)] = *limit;
}

int runPicture(PictureCommandOptions options) {
  const EndBySignal end({options.out});
  if (!options.out.ends_with(".png"))
    throw Error("the picture is a PNG file; " + options.out + " does not end with .png");
  Style& style = options.style;
  for (const std::string& text : options.slices) style.slices.push_back(parseSlice(text));
  for (const std::string& text : options.limits) parseLimit(text, style);
  if (!options.warpAxis.empty())
    options.files.warpAxis = static_cast<int>(std::string("ijk").find(options.warpAxis));
  style.sampling = options.smooth ? Sampling::linear : Sampling::nearest;
  style.fadeUnmeasured = !options.noFade;

  PictureScene read = readPictureScene(options.files, options.out);
  const Drawn drawn = drawPicture(std::move(read.scene), style);
  for (const auto& notes : {read.notes, drawn.notes})
    for (const std::string& note : notes) std::cerr << "Note: " << note << ".\n";
  writePng(options.out, drawn.image);
  std::cout << options.out << "\n";
  return exitSuccess;
}

Option* addRepeated(Command* command, const std::string& name, std::vector<std::string>& values,
                    const std::string& help, const std::string& type) {
  return command->add_option(name, values, help)->type_name(type)->expected(1)->take_all();
}

void addSourceOptions(Command* command, PictureCommandOptions& options) {
  addRepeated(command, "--map", options.files.maps, "Draw this image as a map", "FILE");
  command
      ->add_option("--anatomy", options.files.anatomy, "Lay the maps over this image, of any grid")
      ->type_name("FILE");
  addRepeated(command, "--limit", options.limits,
              "End of the colour scale, in the maps' unit; Hz=120 for the maps of one unit\n"
              "(default: the 99th percentile of what was measured, rounded up)",
              "[UNIT=]V");
  command
      ->add_option("--unit", options.files.unit, "Unit of maps whose sidecar does not say theirs")
      ->type_name("TEXT");
  command
      ->add_option("--measured", options.files.measured,
                   "Fade maps outside of this mask (default: outside of the heads of the images,\n"
                   "or of the anatomy)")
      ->type_name("FILE");
  command->add_flag("--no-fade", options.noFade, "Do not fade maps");
  command
      ->add_option("--warp-axis", options.warpAxis,
                   "Voxel axis along which displacement fields are drawn, in mm, positive\n"
                   "towards greater indices (default: the one with the largest displacements)")
      ->type_name("i|j|k")
      ->one_of({"i", "j", "k"});
}

void addPictureOptions(Command* command, PictureCommandOptions& options) {
  command->add_option("--volume", options.files.volume, "Volume of a series, counted from 0")
      ->type_name("N")
      ->not_negative()
      ->capture_default_str();
  command->add_flag("--overlay", options.style.overlay,
                    "Add the first image in red laid over the second in cyan");
  command->add_flag("--common-window", options.style.commonWindow,
                    "Draw every image with the grey values of the first (default: each from the\n"
                    "2nd to the 98th percentile of its own foreground)");
  addRepeated(command, "--contour", options.files.contours,
              "Draw the border of this mask, or of the head in this image, over every slice;\n"
              "\"head\" for the head in the first image. May be repeated",
              "FILE");
  addRepeated(command, "--contour-label", options.files.contourLabels,
              "Labels for the contours (default: names of their files)", "TEXT")
      ->may_be_empty();
}

void addLooks(Command* command, PictureCommandOptions& options) {
  addRepeated(command, "--slice", options.slices,
              "A slice: axial:30 (or z:30), coronal:50, sagittal:45, counted from 0 towards\n"
              "superior, anterior, right; axial:-12mm by its place in the scanner; without a\n"
              "number the middle one. May be repeated",
              "PLANE[:N]");
  addRepeated(command, "--label", options.files.labels, "Labels for the inputs, maps last", "TEXT")
      ->may_be_empty();
  command
      ->add_option("--pixels", options.style.pixelsPerVoxel,
                   "Pixels along the shorter side of a voxel of the first input")
      ->type_name("N")
      ->in_range(1, 16)
      ->capture_default_str();
  command->add_flag("--smooth", options.smooth,
                    "Interpolate between voxels (default: every pixel shows its voxel)");
  command->add_flag("--own-grids", options.style.ownGrids,
                    "Cut every input in its own grid, with slices counted there");
}

}  // namespace

void addPictureCommand(Command& app, Program& program) {
  Command* command = app.add_subcommand("picture", pictureDescription);
  const auto options = std::make_shared<PictureCommandOptions>();
  command
      ->add_option("IN", options->files.images,
                   "NIfTI images, projects (.fmr, .dmr) and maps (.map) on grids of their own")
      ->type_name("");
  command->add_option("-o,--out", options->out, "The picture to write; an older one is replaced")
      ->type_name("FILE.png")
      ->required();
  addLooks(command, *options);
  addPictureOptions(command, *options);
  addSourceOptions(command, *options);
  command->callback(
      [options, &program] { program.action = [options] { return runPicture(*options); }; });
}

}  // namespace mirel
