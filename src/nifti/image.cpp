#include "nifti/image.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "nifti/error.h"
#include "nifti/samples.h"

namespace nifti {

namespace {

/// Samples that are converted at a time: 64 K of them stay in the second-level cache.
constexpr std::size_t blockSamples = 1 << 16;
constexpr unsigned streamBuffer = 1 << 18;

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::size_t voxelsOf(const Header& h) {
  return static_cast<std::size_t>(h.dims.x) * static_cast<std::size_t>(h.dims.y) *
         static_cast<std::size_t>(h.dims.z);
}

std::size_t volumeBytes(const Header& h) {
  return voxelsOf(h) * static_cast<std::size_t>(bytesPerSample(h.type));
}

/// Size of a regular file; anything else is named for what it is.
std::uintmax_t regularFileSize(const std::string& name) {
  std::error_code failure;
  const std::filesystem::file_status status = std::filesystem::status(name, failure);
  if (!std::filesystem::exists(status)) throw Error(name + " does not exist");
  if (std::filesystem::is_directory(status))
    throw Error(name + " is a directory, not a NIfTI image");
  if (!std::filesystem::is_regular_file(status)) throw Error(name + " is not a regular file");
  const std::uintmax_t size = std::filesystem::file_size(name, failure);
  if (failure) throw Error(name + " cannot be read: " + failure.message());
  return size;
}

}  // namespace

bool hasNiftiName(const std::string& fileName) {
  return endsWith(fileName, ".nii") || endsWith(fileName, ".nii.gz");
}

std::string niftiStem(const std::string& fileName) {
  for (const char* end : {".nii.gz", ".nii"})
    if (endsWith(fileName, end)) return fileName.substr(0, fileName.size() - std::strlen(end));
  return fileName;
}

Reader::Reader(const std::string& fileName) : name(fileName) {
  const std::uintmax_t fileBytes = regularFileSize(name);
  file.reset(gzopen(name.c_str(), "rb"));
  if (!file) throw Error(name + " cannot be opened: " + std::strerror(errno));
  gzbuffer(file.get(), streamBuffer);
  readHeader();
  checkSize(fileBytes);
}

void Reader::readHeader() {
  unsigned char bytes[headerBytes2];
  const int got = gzread(file.get(), bytes, headerBytes2);
  int code = Z_OK;
  gzerror(file.get(), &code);
  if (got < 0 || (got < static_cast<int>(headerBytes1) && code == Z_DATA_ERROR))
    throw Error(name + " is damaged: its header cannot be decompressed");
  if (got < static_cast<int>(headerBytes1) && code == Z_BUF_ERROR)
    throw Error(name + " is truncated: the compressed file ends within the header");
  stored = parseHeader(bytes, static_cast<std::size_t>(got), name);
}

void Reader::checkSize(std::uintmax_t fileBytes) const {
  // 4 * 2^62 is the largest product that parseHeader lets through: no overflow in 128 bits.
  __extension__ using Wide = unsigned __int128;
  const Wide wanted =
      static_cast<Wide>(volumeBytes(header())) * static_cast<Wide>(header().volumes) +
      static_cast<Wide>(stored.dataOffset);
  // No deflate stream grows by more than a factor of 1032.
  const Wide most = gzdirect(file.get()) != 0 ? Wide{fileBytes} : Wide{fileBytes} * 1032 + 1024;
  if (wanted > most)
    throw Error(name + " is truncated or damaged: its header claims " +
                std::to_string(header().dims.x) + " x " + std::to_string(header().dims.y) + " x " +
                std::to_string(header().dims.z) + " voxels in " + std::to_string(header().volumes) +
                " volumes, more than a file of " + std::to_string(fileBytes) + " bytes can hold");
}

void Reader::readBytes(unsigned char* bytes, std::size_t count, const std::string& what) {
  while (count > 0) {
    const unsigned part = static_cast<unsigned>(std::min<std::size_t>(count, 1 << 20));
    const int got = gzread(file.get(), bytes, part);
    if (got == static_cast<int>(part)) {
      bytes += part;
      count -= part;
      continue;
    }
    int code = Z_OK;
    gzerror(file.get(), &code);
    if (code == Z_DATA_ERROR || code == Z_STREAM_ERROR)
      throw Error(name + " is damaged: " + what + " cannot be decompressed");
    if (code == Z_ERRNO) throw Error(name + " cannot be read: " + std::strerror(errno));
    throw Error(name + " is truncated: it ends within " + what);
  }
}

void Reader::readTail() {
  // The checksum of a compressed stream is compared only when its end is reached.
  unsigned char rest[4096];
  int got;
  while ((got = gzread(file.get(), rest, sizeof(rest))) > 0) continue;
  int code = Z_OK;
  gzerror(file.get(), &code);
  if (code == Z_BUF_ERROR)
    throw Error(name + " is truncated: the compressed file ends before its checksum");
  if (got < 0) throw Error(name + " is damaged: its checksum does not match its data");
}

Volume<float> Reader::readVolume(int t) {
  Volume<float> volume;
  readVolume(t, volume);
  return volume;
}

void Reader::readVolume(int t, Volume<float>& volume) {
  const Header& h = header();
  if (t < 0 || t >= h.volumes)
    throw std::out_of_range(name + " has no volume " + std::to_string(t) + " (it has " +
                            std::to_string(h.volumes) + ")");
  if (volume.dimensions() != h.dims || volume.data() == nullptr) volume = Volume<float>(h.dims);
  const std::string what =
      "the data of volume " + std::to_string(t + 1) + " of " + std::to_string(h.volumes);
  const z_off_t start = static_cast<z_off_t>(stored.dataOffset) +
                        static_cast<z_off_t>(volumeBytes(h)) * static_cast<z_off_t>(t);
  if (gztell(file.get()) != start && gzseek(file.get(), start, SEEK_SET) != start)
    throw Error(name + " is truncated or damaged: " + what + " cannot be reached");
  const std::size_t size = static_cast<std::size_t>(bytesPerSample(h.type));
  block.resize(blockSamples * size);
  const std::size_t voxels = voxelsOf(h);
  for (std::size_t done = 0; done < voxels;) {
    const std::size_t count = std::min(blockSamples, voxels - done);
    readBytes(block.data(), count * size, what);
    if (stored.swapped) swapSamples(block.data(), count, bytesPerSample(h.type));
    decodeSamples(h, block.data(), count, volume.data() + done);
    done += count;
  }
  if (t == h.volumes - 1 && gzdirect(file.get()) == 0) readTail();
}

Writer::Writer(const std::string& fileName, const Header& what) : out(fileName), header(what) {
  if (!hasNiftiName(fileName))
    throw Error(fileName + " is no name for a NIfTI image: it ends with neither .nii nor .nii.gz");
  const std::vector<unsigned char> bytes = formatHeader(header, fileName);
  // "T" writes plain bytes: one path for both kinds of file.
  file = gzopen(out.temporary().c_str(), endsWith(fileName, ".gz") ? "wb" : "wbT");
  if (file == nullptr) throw Error(fileName + " cannot be written: " + std::strerror(errno));
  gzbuffer(file, streamBuffer);
  writeBytes(bytes.data(), bytes.size());
}

Writer::~Writer() {
  if (file != nullptr) gzclose_w(file);
}

void Writer::writeBytes(const unsigned char* bytes, std::size_t count) {
  if (gzwrite(file, bytes, static_cast<unsigned>(count)) == static_cast<int>(count)) return;
  const int cause = errno;
  gzclose_w(file);
  file = nullptr;
  throw Error(out.target() + " cannot be written: " + std::strerror(cause));
}

void Writer::write(const Volume<float>& volume) {
  if (file == nullptr || written >= header.volumes || volume.dimensions() != header.dims)
    throw std::logic_error(out.target() + ": a volume that the header does not announce");
  const std::size_t size = static_cast<std::size_t>(bytesPerSample(header.type));
  block.resize(blockSamples * size);
  const std::size_t voxels = voxelsOf(header);
  for (std::size_t done = 0; done < voxels;) {
    const std::size_t count = std::min(blockSamples, voxels - done);
    encodeSamples(header, volume.data() + done, count, block.data());
    writeBytes(block.data(), count * size);
    done += count;
  }
  written++;
}

void Writer::finish() {
  if (file == nullptr || written != header.volumes)
    throw std::logic_error(out.target() + ": fewer volumes than the header announces");
  const int code = gzclose_w(file);
  const int cause = errno;
  file = nullptr;
  if (code != Z_OK) throw Error(out.target() + " cannot be written: " + std::strerror(cause));
  out.commit();
}

}  // namespace nifti
