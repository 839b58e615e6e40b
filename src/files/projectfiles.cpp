// The part of ProjectHeader that deals with sizes, volumes and the writing of files.
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <limits>
#include <locale>
#include <new>

#include "base/dimensions.h"
#include "files/filenames.h"
#include "files/ioerror.h"
#include "files/projectheader.h"
#include "files/replacedfile.h"

namespace mirel {

namespace {

// What a volume takes in memory apart from its voxels: so many empty volumes count as well.
constexpr std::ptrdiff_t volumeOverhead = sizeof(Volume<float>);
// Missing voxels count as 0, but a header that promises this many bytes more than its data file
// holds, and many times what it holds, is damaged.
constexpr std::ptrdiff_t largestShortfall = std::ptrdiff_t{1} << 28;
constexpr std::ptrdiff_t largestMultiple = 16;

std::ptrdiff_t bytesPerVolume(glm::ivec3 dims) {
  return std::ptrdiff_t{dims.x} * dims.y * dims.z * std::ptrdiff_t{sizeof(float)} + volumeOverhead;
}

bool isPossible(glm::ivec3 dims, int volumes) {
  constexpr std::ptrdiff_t most = std::numeric_limits<int>::max();
  if (dims.x < 0 || dims.y < 0 || dims.z < 0 || volumes < 0) return false;
  if (std::ptrdiff_t{dims.x} * dims.y > most) return false;
  if (std::ptrdiff_t{dims.x} * dims.y * dims.z > most) return false;
  return volumes <= std::numeric_limits<std::ptrdiff_t>::max() / bytesPerVolume(dims);
}

std::uintmax_t fileBytes(const std::string& name) {
  std::error_code error;
  const std::uintmax_t bytes = std::filesystem::file_size(name, error);
  return error ? 0 : bytes;
}

void commit(ReplacedFile& file, const std::string& name) {
  try {
    file.commit();
  } catch (const Error&) {
    throw WriteFileError("Failed writing: " + name);
  }
}

}  // namespace

std::string ProjectHeader::describeSizes() const {
  return "ResolutionX " + std::to_string(ResolutionX.value()) + ", ResolutionY " +
         std::to_string(ResolutionY.value()) + ", NrOfSlices " +
         std::to_string(NrOfSlices.value()) + ", NrOfVolumes " +
         std::to_string(NrOfVolumes.value());
}

void ProjectHeader::checkSizes() const {
  if (!isPossible(dimensions(), NrOfVolumes))
    throw ReadFileError("Impossible sizes in " + fileName + ": " + describeSizes());
}

SampleFormat ProjectHeader::sampleFormat() const {
  return DataType.isSet() && DataType.value() == 2 ? SampleFormat::float32 : SampleFormat::int16;
}

std::string ProjectHeader::dataFileName(const std::string& extension) const {
  return getPath(fileName) + Prefix.value() + extension;
}

std::ifstream ProjectHeader::openData(const std::string& name, const std::string& errorPrefix) {
  std::ifstream is;
  std::error_code ignored;
  if (!std::filesystem::is_directory(name, ignored)) is.open(name, std::ios::binary);
  if (!is.is_open()) throw OpenFileError(errorPrefix + name);
  return is;
}

void ProjectHeader::checkRead(const std::istream& is, const std::string& name) {
  if (is.bad())
    throw ReadFileError("Failed reading " + name + ": " +
                        (errno != 0 ? std::strerror(errno) : "the system gives no reason"));
}

void ProjectHeader::allocate(std::vector<Volume<float>>& volumes,
                             const std::string& dataName) const {
  checkSizes();
  const std::ptrdiff_t promised = bytesPerVolume(dimensions()) * NrOfVolumes.value();
  const std::uintmax_t heldSamples = fileBytes(dataName) / bytesPerSample(sampleFormat());
  const auto held = static_cast<std::ptrdiff_t>(heldSamples * sizeof(float));
  if (promised - held > largestShortfall && promised / largestMultiple > held)
    throw ReadFileError("Too little data in " + dataName + " for the sizes in " + fileName + ": " +
                        describeSizes());
  volumes.clear();
  try {
    volumes.reserve(static_cast<std::size_t>(NrOfVolumes.value()));
    for (int t = 0; t < NrOfVolumes.value(); ++t) volumes.emplace_back(dimensions());
  } catch (const std::bad_alloc&) {
    volumes.clear();
    throw ReadFileError("Not enough memory for " + dataName + ": " + describeSizes());
  }
}

void ProjectHeader::checkVolumes(const std::vector<Volume<float>>& volumes) const {
  for (std::size_t t = 0; t < volumes.size(); ++t) {
    const Volume<float>& volume = volumes[t];
    const bool hasStorage = volume.size() == 0 || volume.data() != nullptr;
    if (volume.dimensions() == dimensions() && hasStorage) continue;
    throw WriteFileError("Cannot save " + fileName + ": volume " + std::to_string(t) + " has " +
                         (hasStorage ? text(volume.dimensions()) : "no") +
                         " voxels, the header says " + text(dimensions()));
  }
}

void ProjectHeader::writeHeader(const std::function<void(std::ostream&)>& print) const {
  ReplacedFile file(fileName);
  std::ofstream os(file.path());
  os.imbue(std::locale::classic());
  // Only the bad state counts: a failed opening sets the fail state, and stays unreported.
  if (os.bad()) throw WriteFileError("Cannot Create file: " + fileName);
  print(os);
  if (!os.is_open()) return;
  os.close();
  if (!os) throw WriteFileError("Failed writing: " + fileName);
  commit(file, fileName);
}

void ProjectHeader::writeData(const std::string& name, const std::string& openErrorPrefix,
                              const std::function<void(std::ostream&)>& write) {
  ReplacedFile file(name);
  std::ofstream os(file.path(), std::ios::binary);
  if (!os) throw WriteFileError(openErrorPrefix + name);
  write(os);
  os.close();
  if (os) return commit(file, name);
  file.discard();
  throw WriteFileError("Failed writing: " + name);
}

std::uintmax_t ProjectHeader::headerBytes() const { return fileBytes(fileName); }

}  // namespace mirel
