#include "convert/convert.h"

#include <filesystem>
#include <locale>
#include <new>
#include <sstream>

#include "base/dimensions.h"
#include "base/error.h"
#include "base/numbertext.h"
#include "base/outputfile.h"
#include "base/samefile.h"
#include "convert/geometryfile.h"
#include "convert/newproject.h"
#include "convert/positionblock.h"
#include "convert/projectgeometry.h"
#include "files/headerdoubts.h"
#include "files/project.h"
#include "nifti/filename.h"
#include "nifti/gradients.h"
#include "nifti/image.h"
#include "nifti/samples.h"

namespace mirel::convert {

namespace fs = std::filesystem;

namespace {

using Volumes = std::vector<Volume<float>>;

bool fitsType(const Volumes& volumes, nifti::DataType type) {
  for (const Volume<float>& volume : volumes)
    if (!nifti::allRepresentable(type, volume.data(), static_cast<std::size_t>(volume.size())))
      return false;
  return true;
}

std::uintmax_t dataBytes(const nifti::Header& image, SampleFormat format) {
  return std::uintmax_t(image.dims.x) * std::uintmax_t(image.dims.y) *
         std::uintmax_t(image.dims.z) * std::uintmax_t(image.volumes) * bytesPerSample(format);
}

Volumes readAll(nifti::Reader& image) {
  Volumes volumes;
  try {
    for (int t = 0; t < image.header().volumes; t++) volumes.push_back(image.readVolume(t));
  } catch (const std::bad_alloc&) {
    throw Error(image.fileName(), "does not fit into memory: " + text(image.header().dims) +
                                      " voxels in " + counted(image.header().volumes, "volume"));
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
  ConvertOptions beside{nifti::niftiStem(in) + ".bvec", nifti::niftiStem(in) + ".bval"};
  const bool bvec = fs::exists(beside.bvecFile);
  const bool bval = fs::exists(beside.bvalFile);
  if (bvec && bval) return beside;
  if (bvec || bval)
    throw Error((bvec ? beside.bvecFile : beside.bvalFile) + " has no " +
                (bvec ? beside.bvalFile : beside.bvecFile) + " beside it");
  return {};
}

void addGradients(Project& project, const std::string& in, const ConvertOptions& options,
                  ConvertReport& report) {
  const ConvertOptions files = gradientFiles(in, options);
  DMR* dmr = project.dmr();
  if (!dmr) {
    if (!files.bvecFile.empty())
      report.notes.push_back("the gradient directions in " + files.bvecFile +
                             " are not kept: an FMR has no place for them");
    return;
  }
  if (files.bvecFile.empty()) {
    report.notes.push_back("there are no .bvec and .bval files beside " + in +
                           ": the project has no gradient table");
    return;
  }
  const nifti::GradientTable table =
      nifti::readGradients(files.bvecFile, files.bvalFile, dmr->NrOfVolumes.value());
  dmr->gradientDirections = table.directions;
  dmr->gradientWeights = table.bValues;
  dmr->GradientInformationAvailable.updateValue(true);
}

bool hasBytes(const std::string& fileName, std::uintmax_t wanted) {
  std::error_code failure;
  return fs::file_size(fileName, failure) == wanted && !failure;
}

/// The project classes do not report a header that could not be created, so look.
void checkSaved(const Project& project, std::uintmax_t dataBytesWanted, const std::string& out) {
  if (!hasBytes(project.dataFileName(), dataBytesWanted))
    throw Error(out, "cannot be written: its data did not reach the disk");
  std::ostringstream text;
  text.imbue(std::locale::classic());
  project.printTo(text);
  if (!hasBytes(project.header().fileName, text.str().size()))
    throw Error(out, "cannot be written: its header did not reach the disk");
}

ConvertReport imageToProject(const std::string& in, const std::string& out, ProjectKind kind,
                             const ConvertOptions& options) {
  nifti::Reader image(in);
  const nifti::Header& header = image.header();
  const fs::path target(out);
  const std::string stem = target.stem().string();
  if (stem.empty()) throw Error(out, "is no name for a project");
  const std::string headerName = target.filename().string();
  const std::string dataName = stem + dataExtensionOf(kind);
  const std::string sidecar = fs::path(geometryFileName(headerName)).string();
  for (const std::string& name : {headerName, dataName, sidecar})
    for (const std::string& input : {in, options.bvecFile, options.bvalFile})
      refuseOverwrite((target.parent_path() / name).string(), input);

  Volumes volumes = readAll(image);
  const bool whole = nifti::isInteger(header.type) && !header.hasScaling() &&
                     fitsType(volumes, nifti::DataType::int16);
  const SampleFormat samples = whole ? SampleFormat::int16 : SampleFormat::float32;
  Project project = newProject(header, {kind, samples, stem, fs::path(in).filename().string()});

  ConvertReport report;
  OutFolder folder(target.parent_path());
  addGradients(project, in, options, report);
  project.header().fileName = folder.path(headerName);
  project.volumes() = std::move(volumes);
  project.save();
  checkSaved(project, dataBytes(header, samples), out);
  folder.write(sidecar, formatGeometry(header));
  report.written = folder.commit({dataName, sidecar, headerName});
  return report;
}

// From a project to an image

/// x.bvec belongs to x.nii as well as to x.nii.gz.
void refuseSharedGradients(const std::string& out) {
  const std::string stem = nifti::niftiStem(out);
  for (const char* ending : {".nii", ".nii.gz"})
    if (const std::string twin = stem + ending; twin != out && fs::exists(twin))
      throw Error(twin, "is there already, and the new " + stem + ".bvec and " + stem +
                            ".bval would be read as its gradients, too: name another output, or "
                            "move that image away");
}

/// Gradients that stand beside an image which has none of its own are read as its own.
void noteForeignGradients(const std::string& out, ConvertReport& report) {
  for (const char* ending : {".bvec", ".bval"})
    if (const std::string file = nifti::niftiStem(out) + ending; fs::exists(file))
      report.notes.push_back(file +
                             " was there already and is not of this conversion, but will be "
                             "read as the gradients of " +
                             out);
}

/// Writes the gradient files, if the project has a table; returns their names.
std::vector<std::string> writeGradients(const Project& project, const std::string& stem,
                                        const OutFolder& folder, ConvertReport& report) {
  const DMR* dmr = project.dmr();
  if (!dmr || !dmr->GradientInformationAvailable.value()) return {};
  const std::size_t volumes = static_cast<std::size_t>(dmr->NrOfVolumes.value());
  const std::size_t rows = dmr->gradientDirections.size();
  if (rows != volumes || dmr->gradientWeights.size() != volumes) {
    report.notes.push_back(dmr->fileName + " has a gradient table of " + counted(rows, "row") +
                           " for " + counted(volumes, "volume") +
                           ": no .bvec and .bval are written");
    return {};
  }
  const nifti::GradientTable table{dmr->gradientDirections, dmr->gradientWeights};
  folder.write(stem + ".bvec", nifti::formatDirections(table));
  folder.write(stem + ".bval", nifti::formatBValues(table));
  return {stem + ".bvec", stem + ".bval"};
}

void writeImage(const std::string& name, const nifti::Header& header, const Volumes& volumes) {
  nifti::Writer image(name, header);
  for (const Volume<float>& volume : volumes) image.write(volume);
  image.finish();
}

/// A data file that is too short would read as zeros.
std::string checkedDataFile(const Project& project, const nifti::Header& image) {
  std::string name = project.dataFileName();
  const std::string& header = project.header().fileName;
  std::error_code failure;
  const std::uintmax_t bytes = fs::file_size(name, failure);
  if (failure) throw Error(name + ", the data of " + header + ", cannot be read");
  const std::uintmax_t wanted = dataBytes(image, project.header().sampleFormat());
  if (bytes < wanted)
    throw Error(name, "is truncated: it has " + std::to_string(bytes) + " of the " +
                          std::to_string(wanted) + " bytes that " + header + " announces");
  return name;
}

ConvertReport projectToImage(const std::string& in, const std::string& out) {
  ConvertReport report;
  refuseUnknownDataType(in);
  for (const std::string& doubt : doubtsAboutHeader(in)) report.notes.push_back(doubt);
  Project project(in, ProjectContent::headerOnly);
  nifti::Header header = imageHeaderOf(project.header(), report.notes);
  const nifti::DataType ownType = sampleTypeOf(project.header());
  const std::string data = checkedDataFile(project, header);
  for (const std::string& input : {in, data}) refuseOverwrite(out, input);
  project.load();
  const Volumes& volumes = project.volumes();
  if (!nifti::isInteger(header.type) || !fitsType(volumes, header.type)) header.type = ownType;

  const fs::path target(out);
  const std::string name = target.filename().string();
  OutFolder folder(target.parent_path());
  try {
    std::vector<std::string> names =
        writeGradients(project, nifti::niftiStem(name), folder, report);
    if (names.empty())
      noteForeignGradients(out, report);
    else
      refuseSharedGradients(out);
    names.insert(names.begin(), name);
    writeImage(folder.path(name), header, volumes);
    report.written = folder.commit(names);
  } catch (const Error& error) {
    throw Error(folder.plain(error.what()), error.advice());
  }
  return report;
}

[[noreturn]] void refusePair(const std::string& in, const std::string& out) {
  throw Error("cannot convert " + in + " to " + out +
              ": one of them must be a NIfTI image (.nii, .nii.gz) and the other a project "
              "(.fmr, .dmr)");
}

}  // namespace

ConvertReport convert(const std::string& in, const std::string& out,
                      const ConvertOptions& options) {
  if (const auto kind = projectKindOf(out); kind && nifti::hasNiftiName(in))
    return imageToProject(in, out, *kind, options);
  if (!isProjectName(in) || !nifti::hasNiftiName(out)) refusePair(in, out);
  if (!options.bvecFile.empty() || !options.bvalFile.empty())
    throw Error("gradient files are read for an image that becomes a project; those of " + out +
                " are named after it");
  return projectToImage(in, out);
}

nifti::Header referenceHeader(const std::string& imageOrProject, std::vector<std::string>& notes) {
  if (nifti::hasNiftiName(imageOrProject)) return nifti::Reader(imageOrProject).header();
  if (isProjectName(imageOrProject))
    return imageHeaderOf(Project(imageOrProject, ProjectContent::headerOnly).header(), notes);
  throw Error(imageOrProject, "is no reference: it is neither a NIfTI image nor a project");
}

ConvertReport convertMap(const Volume<float>& map, const std::string& mapFile,
                         const std::string& reference, const std::string& out) {
  ConvertReport report;
  nifti::Header header = nifti::floatMapLike(referenceHeader(reference, report.notes));
  if (header.dims != map.dimensions())
    throw Error(mapFile, "has " + text(map.dimensions()) + " voxels, but " + reference + " has " +
                             text(header.dims));
  for (const std::string& input : {mapFile, reference}) refuseOverwrite(out, input);
  header.description = "map " + fs::path(mapFile).filename().string();
  nifti::Writer image(out, header);
  image.write(map);
  image.finish();
  report.written.push_back(out);
  return report;
}

}  // namespace mirel::convert
