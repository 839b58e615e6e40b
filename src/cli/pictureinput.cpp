#include "cli/pictureinput.h"

#include <algorithm>
#include <filesystem>

#include "base/error.h"
#include "base/numbertext.h"
#include "base/samefile.h"
#include "bids/inheritance.h"
#include "bids/name.h"
#include "cli/inputimage.h"
#include "convert/convert.h"
#include "nifti/filename.h"
#include "nifti/image.h"
#include "picture/headmask.h"
#include "picture/warp.h"

namespace mirel {

namespace {

using namespace picture;

std::string plainName(const std::string& file) {
  const std::string name = std::filesystem::path(file).filename().string();
  return nifti::hasNiftiName(name) ? nifti::niftiStem(name)
                                   : std::filesystem::path(name).stem().string();
}

bool isMapFile(const std::string& file) { return file.ends_with(".map"); }

/// Reads one scene; notes gather on the way.
class SceneReader {
 public:
  explicit SceneReader(const PictureFiles& pictureFiles) : files(pictureFiles) {}

  PictureScene read() {
    std::vector<Input> maps;
    for (const std::string& file : files.images) {
      Input input = inputOf(file, /*asMap=*/false);
      (input.isMap ? maps : result.scene.inputs).push_back(std::move(input));
    }
    for (const std::string& file : files.maps) maps.push_back(inputOf(file, /*asMap=*/true));
    std::move(maps.begin(), maps.end(), std::back_inserter(result.scene.inputs));
    if (result.scene.inputs.empty()) throw Error("name at least one image or map to draw");
    label();
    if (!files.anatomy.empty()) result.scene.anatomy = layerOf(files.anatomy, 0);
    if (!files.measured.empty()) result.scene.measured = layerOf(files.measured, 0);
    readOutlines();
    return std::move(result);
  }

 private:
  Layer layerOf(const std::string& file, int volume) const {
    Layer layer;
    layer.name = file;
    layer.volume = readInputVolume(file, volume);
    if (isMapFile(file)) return layer;
    std::vector<std::string> ignored;
    placeBy(nifti::hasNiftiName(file) ? nifti::Reader(file).header()
                                      : convert::referenceHeader(file, ignored),
            layer);
    return layer;
  }

  // What the image's sidecars say of its unit; empty when they do not.
  std::string unitInSidecar(const std::string& file) {
    try {
      if (const auto sidecar = bids::findSidecar(file)) return sidecar->json().textOf("Units");
    } catch (const std::exception& failure) {
      result.notes.push_back(std::string(failure.what()) + "; drawn without it");
    }
    return {};
  }

  Input inputOf(const std::string& file, bool asMap) {
    Input input;
    if (isMapFile(file)) {
      input.layer = layerOf(file, 0);
      input.isMap = true;
      input.unit = "voxels";
      return input;
    }
    if (nifti::hasNiftiName(file)) {
      const nifti::Header header = nifti::Reader(file, nifti::Contents::vectorsToo).header();
      if (header.vectorComponents > 1) return warpOf(file, header);
      const std::string unit = unitInSidecar(file), suffix = bids::Name::of(file).suffix;
      const std::vector<std::string> unitsOfMaps{"Hz", "rad/s", "T", "mm", "voxels"};
      input.isMap = asMap || suffix == "fieldmap" || suffix == "displacement" || suffix == "vdm" ||
                    std::find(unitsOfMaps.begin(), unitsOfMaps.end(), unit) != unitsOfMaps.end();
      if (input.isMap) input.unit = unit.empty() ? files.unit : unit;
      if (input.isMap && header.volumes > 1)
        result.notes.push_back(file + " has " + std::to_string(header.volumes) +
                               " volumes; the first is drawn");
    } else {
      input.isMap = asMap;
      input.unit = files.unit;
    }
    input.layer = layerOf(file, input.isMap ? 0 : files.volume);
    if (input.isMap && input.unit.empty())
      result.notes.push_back("no sidecar says the unit of " + file + "; --unit does");
    return input;
  }

  Input warpOf(const std::string& file, const nifti::Header& header) const {
    if (header.vectorComponents != 3 || header.volumes != 1)
      throw Error(file + " has " + counted(header.volumes, "volume") + " of vectors of " +
                  counted(header.vectorComponents, "component") +
                  "; a displacement field has one, of 3");
    nifti::Reader reader(file, nifti::Contents::vectorsToo);
    const VectorsLps vectors{reader.readVolume(0), reader.readVolume(1), reader.readVolume(2)};
    Input input;
    input.isMap = true;
    input.unit = "mm";
    placeBy(header, input.layer);
    input.layer.name = file;
    const int axis = files.warpAxis ? *files.warpAxis : principalAxis(vectors, input.layer.affine);
    input.layer.volume = alongAxis(vectors, input.layer.affine, axis);
    input.remark = directionText(input.layer.affine, axis);
    return input;
  }

  void label() {
    std::vector<Input>& inputs = result.scene.inputs;
    if (files.labels.size() > inputs.size())
      throw Error("there are " + counted(files.labels.size(), "label") + " for " +
                  std::to_string(inputs.size()) +
                  (inputs.size() == 1 ? " image or map" : " images and maps"));
    for (std::size_t i = 0; i < inputs.size(); ++i)
      inputs[i].label = i < files.labels.size() ? files.labels[i] : plainName(inputs[i].layer.name);
  }

  void readOutlines() {
    std::vector<Outline>& outlines = result.scene.outlines;
    for (const std::string& contour : files.contours) outlines.push_back(outlineOf(contour));
    if (files.contourLabels.size() > outlines.size())
      throw Error((files.contourLabels.size() == 1 ? "there is " : "there are ") +
                  counted(files.contourLabels.size(), "label") + " for " +
                  counted(outlines.size(), "contour"));
    for (std::size_t i = 0; i < files.contourLabels.size(); ++i)
      outlines[i].label = files.contourLabels[i];
  }

  Outline outlineOf(const std::string& contour) const {
    const bool ofFirst = contour == "head";
    Outline outline;
    outline.layer = ofFirst ? result.scene.inputs.front().layer : layerOf(contour, 0);
    if (ofFirst && result.scene.inputs.front().isMap)
      throw Error("--contour head needs an image in front of the maps: " + outline.layer.name +
                  " is a map");
    const std::string suffix = ofFirst ? "" : bids::Name::of(contour).suffix;
    const bool isMask = suffix == "mask" || suffix == "dseg" || suffix == "probseg" ||
                        isBinary(outline.layer.volume);
    if (isMask) {
      outline.level = maskLevel(outline.layer.volume);
      outline.label = plainName(outline.layer.name);
    } else {
      outline.layer.volume = headMask(outline.layer.volume);
      outline.label = "head in " +
                      (ofFirst ? result.scene.inputs.front().label : plainName(outline.layer.name));
    }
    return outline;
  }

  const PictureFiles& files;
  PictureScene result;
};

}  // namespace

PictureScene readPictureScene(const PictureFiles& files, const std::string& out) {
  for (const auto& group : {files.images, files.maps, files.contours,
                            std::vector<std::string>{files.anatomy, files.measured}})
    for (const std::string& file : group)
      if (!file.empty()) refuseOverwrite(out, file);
  return SceneReader(files).read();
}

}  // namespace mirel
