#include "convert/convert.h"

#include <filesystem>
#include <memory>
#include <new>

#include "base/dimensions.h"
#include "base/error.h"
#include "base/outputfile.h"
#include "base/samefile.h"
#include "convert/geometryfile.h"
#include "convert/newproject.h"
#include "convert/positionblock.h"
#include "convert/projectgeometry.h"
#include "files/filenames.h"
#include "files/mydmr.h"
#include "files/myfmr.h"
#include "nifti/filename.h"
#include "nifti/gradients.h"
#include "nifti/image.h"
#include "nifti/samples.h"

namespace mirel::convert {

namespace fs = std::filesystem;

namespace {

using Volumes = std::vector<Volume<float>>;

/// What the two kinds of project call their data.
struct Functional {
  using Project = FMR;
  static constexpr ProjectKind kind = ProjectKind::fmr;
  static constexpr const char* dataExtension = ".stc";
  static Volumes& volumes(FMR& p) { return p.stcData; }
  static void load(FMR& p) { p.LoadSTC(); }
};

struct Diffusion {
  using Project = DMR;
  static constexpr ProjectKind kind = ProjectKind::dmr;
  static constexpr const char* dataExtension = ".dwi";
  static Volumes& volumes(DMR& p) { return p.dwiData; }
  static void load(DMR& p) { p.LoadDWI(); }
};

bool fitsType(const Volumes& volumes, nifti::DataType type) {
  for (const Volume<float>& volume : volumes)
    if (!nifti::allRepresentable(type, volume.data(), static_cast<std::size_t>(volume.size())))
      return false;
  return true;
}

std::uintmax_t dataBytes(const nifti::Header& image, bool floats) {
  return std::uintmax_t(image.dims.x) * std::uintmax_t(image.dims.y) *
         std::uintmax_t(image.dims.z) * std::uintmax_t(image.volumes) * (floats ? 4 : 2);
}

Volumes readAll(nifti::Reader& image) {
  Volumes volumes;
  try {
    for (int t = 0; t < image.header().volumes; t++) volumes.push_back(image.readVolume(t));
  } catch (const std::bad_alloc&) {
    throw Error(image.fileName() + " does not fit into memory: " + text(image.header().dims) +
                " voxels in " + std::to_string(image.header().volumes) + " volumes");
  }
  return volumes;
}

// From an image to a project

/// The gradient files to read: both names, or none.
ConvertOptions gradientFiles(const std::string& in, const ConvertOptions& options) {
  const bool bvecNamed = !options.bvecFile.empty();
  if (bvecNamed != !options.bvalFile.empty())
    throw Error("gradient directions and b-values come as two files: the " +
                std::string(bvecNamed ? "b-values" : "directions") + " for " + in + " are missing");
  if (bvecNamed) return options;
  const ConvertOptions beside{nifti::niftiStem(in) + ".bvec", nifti::niftiStem(in) + ".bval"};
  const bool bvec = fs::exists(beside.bvecFile);
  const bool bval = fs::exists(beside.bvalFile);
  if (bvec && bval) return beside;
  if (bvec || bval)
    throw Error((bvec ? beside.bvecFile : beside.bvalFile) + " has no " +
                (bvec ? beside.bvalFile : beside.bvecFile) + " beside it");
  return {};
}

void addGradients(FMR&, const std::string& in, const ConvertOptions& options,
                  ConvertReport& report) {
  const ConvertOptions files = gradientFiles(in, options);
  if (!files.bvecFile.empty())
    report.notes.push_back("the gradient directions in " + files.bvecFile +
                           " are not kept: an FMR has no place for them");
}

void addGradients(DMR& project, const std::string& in, const ConvertOptions& options,
                  ConvertReport& report) {
  const ConvertOptions files = gradientFiles(in, options);
  if (files.bvecFile.empty()) {
    report.notes.push_back("there are no .bvec and .bval files beside " + in +
                           ": the project has no gradient table");
    return;
  }
  const nifti::GradientTable table =
      nifti::readGradients(files.bvecFile, files.bvalFile, project.NrOfVolumes.value());
  project.gradientDirections = table.directions;
  project.gradientWeights = table.bValues;
  project.GradientInformationAvailable.updateValue(true);
}

/// The project classes do not report a header that could not be filled, so look.
template <typename Kind>
void checkSaved(const std::string& headerName, const std::string& dataName, std::uintmax_t wanted,
                const std::string& out) {
  std::error_code failure;
  const std::uintmax_t bytes = fs::file_size(dataName, failure);
  if (failure || bytes != wanted || !fs::exists(headerName))
    throw Error(out + " cannot be written: its data did not reach the disk");
  const typename Kind::Project saved(headerName, /*loadData=*/false);
  if (!saved.GapThickness.isSet() || !saved.FirstDataSourceFile.isSet())
    throw Error(out + " cannot be written: its header did not reach the disk");
}

template <typename Kind>
ConvertReport imageToProject(const std::string& in, const std::string& out,
                             const ConvertOptions& options) {
  nifti::Reader image(in);
  const nifti::Header& header = image.header();
  const fs::path target(out);
  const std::string stem = target.stem().string();
  if (stem.empty()) throw Error(out + " is no name for a project");
  const std::string headerName = target.filename().string();
  const std::string dataName = stem + Kind::dataExtension;
  const std::string sidecar = fs::path(geometryFileName(headerName)).string();
  for (const std::string& name : {headerName, dataName, sidecar})
    for (const std::string& input : {in, options.bvecFile, options.bvalFile})
      refuseOverwrite((target.parent_path() / name).string(), input);

  Volumes volumes = readAll(image);
  const bool whole = nifti::isInteger(header.type) && !header.hasScaling() &&
                     fitsType(volumes, nifti::DataType::int16);
  const NewProject description{Kind::kind, whole ? ProjectSamples::int16 : ProjectSamples::float32,
                               stem, fs::path(in).filename().string()};
  const std::string text = newProjectHeader(header, description);

  ConvertReport report;
  OutFolder folder(target.parent_path());
  const std::string hidden = folder.path(headerName);
  const auto writeText = [](const std::string& name, const std::string& content) {
    OutFile file(name);
    file.write(content);
    file.commit();
  };
  writeText(hidden, text);
  typename Kind::Project project(hidden, /*loadData=*/false);
  addGradients(project, in, options, report);
  Kind::volumes(project) = std::move(volumes);
  project.Save();
  checkSaved<Kind>(hidden, folder.path(dataName), dataBytes(header, !whole), out);
  writeText(folder.path(sidecar), formatGeometry(header));
  report.written = folder.commit({dataName, sidecar, headerName});
  return report;
}

// From a project to an image

using PendingFiles = std::vector<std::unique_ptr<OutFile>>;

void addFile(PendingFiles& files, const std::string& name, const std::string& text) {
  files.push_back(std::make_unique<OutFile>(name));
  files.back()->write(text);
}

void writeGradients(const FMR&, const std::string&, PendingFiles&, ConvertReport&) {}

void writeGradients(const DMR& project, const std::string& out, PendingFiles& files,
                    ConvertReport& report) {
  if (!project.GradientInformationAvailable.value()) return;
  const std::size_t volumes = static_cast<std::size_t>(project.NrOfVolumes.value());
  const std::size_t rows = project.gradientDirections.size();
  if (rows != volumes || project.gradientWeights.size() != volumes) {
    report.notes.push_back(project.fileName + " has a gradient table of " + std::to_string(rows) +
                           " rows for " + std::to_string(volumes) +
                           " volumes: no .bvec and .bval are written");
    return;
  }
  const nifti::GradientTable table{project.gradientDirections, project.gradientWeights};
  addFile(files, nifti::niftiStem(out) + ".bvec", nifti::formatDirections(table));
  addFile(files, nifti::niftiStem(out) + ".bval", nifti::formatBValues(table));
}

/// A data file that is too short would read as zeros.
std::string checkedDataFile(const ProjectHeader& project, const char* extension,
                            const nifti::Header& image) {
  const std::string name = getPath(project.fileName) + project.Prefix.value() + extension;
  std::error_code failure;
  const std::uintmax_t bytes = fs::file_size(name, failure);
  if (failure) throw Error(name + ", the data of " + project.fileName + ", cannot be read");
  const bool floats = project.DataType.isSet() && project.DataType.value() == 2;
  const std::uintmax_t wanted = dataBytes(image, floats);
  if (bytes < wanted)
    throw Error(name + " is truncated: it has " + std::to_string(bytes) + " of the " +
                std::to_string(wanted) + " bytes that " + project.fileName + " announces");
  return name;
}

template <typename Kind>
ConvertReport projectToImage(const std::string& in, const std::string& out) {
  ConvertReport report;
  typename Kind::Project project(in, /*loadData=*/false);
  nifti::Header header = imageHeaderOf(project, report.notes);
  const std::string data = checkedDataFile(project, Kind::dataExtension, header);
  for (const std::string& input : {in, data}) refuseOverwrite(out, input);
  Kind::load(project);
  const Volumes& volumes = Kind::volumes(project);
  const bool floats = project.DataType.isSet() && project.DataType.value() == 2;
  if (!nifti::isInteger(header.type) || !fitsType(volumes, header.type))
    header.type = floats ? nifti::DataType::float32 : nifti::DataType::int16;

  nifti::Writer image(out, header);
  PendingFiles gradients;
  writeGradients(project, out, gradients, report);
  for (const Volume<float>& volume : volumes) image.write(volume);
  image.finish();
  report.written.push_back(out);
  for (const std::unique_ptr<OutFile>& file : gradients) {
    file->commit();
    report.written.push_back(file->target());
  }
  return report;
}

[[noreturn]] void refusePair(const std::string& in, const std::string& out) {
  throw Error("cannot convert " + in + " to " + out +
              ": one of them must be a NIfTI image (.nii, .nii.gz) and the other a project "
              "(.fmr, .dmr)");
}

}  // namespace

bool hasProjectName(const std::string& fileName) {
  return hasExtension(fileName, "fmr") || hasExtension(fileName, "dmr");
}

ConvertReport convert(const std::string& in, const std::string& out,
                      const ConvertOptions& options) {
  if (nifti::hasNiftiName(in) && hasExtension(out, "fmr"))
    return imageToProject<Functional>(in, out, options);
  if (nifti::hasNiftiName(in) && hasExtension(out, "dmr"))
    return imageToProject<Diffusion>(in, out, options);
  if (!hasProjectName(in) || !nifti::hasNiftiName(out)) refusePair(in, out);
  if (!options.bvecFile.empty() || !options.bvalFile.empty())
    throw Error("gradient files are read for an image that becomes a project; those of " + out +
                " are named after it");
  return hasExtension(in, "fmr") ? projectToImage<Functional>(in, out)
                                 : projectToImage<Diffusion>(in, out);
}

nifti::Header referenceHeader(const std::string& imageOrProject, std::vector<std::string>& notes) {
  if (nifti::hasNiftiName(imageOrProject)) return nifti::Reader(imageOrProject).header();
  if (hasExtension(imageOrProject, "fmr"))
    return imageHeaderOf(FMR(imageOrProject, /*loadData=*/false), notes);
  if (hasExtension(imageOrProject, "dmr"))
    return imageHeaderOf(DMR(imageOrProject, /*loadData=*/false), notes);
  throw Error(imageOrProject + " is no reference: it is neither a NIfTI image nor a project");
}

ConvertReport convertMap(const Volume<float>& map, const std::string& mapFile,
                         const std::string& reference, const std::string& out) {
  ConvertReport report;
  nifti::Header header = referenceHeader(reference, report.notes);
  if (header.dims != map.dimensions())
    throw Error(mapFile + " has " + text(map.dimensions()) + " voxels, but " + reference + " has " +
                text(header.dims));
  for (const std::string& input : {mapFile, reference}) refuseOverwrite(out, input);
  header.volumes = 1;
  header.repetitionTimeSeconds = 0;
  header.type = nifti::DataType::float32;
  header.slope = 1;
  header.inter = 0;
  header.description = "map " + fs::path(mapFile).filename().string();
  nifti::Writer image(out, header);
  image.write(map);
  image.finish();
  report.written.push_back(out);
  return report;
}

}  // namespace mirel::convert
