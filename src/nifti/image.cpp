#include "nifti/image.h"

#include <fcntl.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <stdexcept>

#include "base/dimensions.h"
#include "base/error.h"
#include "base/numbertext.h"
#include "nifti/deflater.h"
#include "nifti/filename.h"
#include "nifti/samples.h"

namespace mirel::nifti {

namespace {

// Masks and label images may be compressed this much; a volume larger than that which says so was
// made to fill the memory of whoever reads it.
constexpr unsigned largestCompression = 200;
constexpr unsigned largestDenseVolume = 1U << 28U;

/// Samples that are converted at a time: 64 K of them stay in the second-level cache.
constexpr std::size_t blockSamples = 1 << 16;

/// So much of a long series is written to the disk while the rest is made, not all at the end.
constexpr std::size_t writebackBytes = 8 << 20;

std::size_t voxelsOf(const Header& h) {
  return static_cast<std::size_t>(h.dims.x) * static_cast<std::size_t>(h.dims.y) *
         static_cast<std::size_t>(h.dims.z);
}

std::size_t volumeBytes(const Header& h) {
  return voxelsOf(h) * static_cast<std::size_t>(bytesPerSample(h.type));
}

const char* complexOf(DataType parts) {
  return parts == DataType::float32 ? "32 (COMPLEX64)" : "1792 (COMPLEX128)";
}

std::int64_t wantedVolumes(const Header& h) { return std::int64_t{h.volumes} * h.vectorComponents; }

// A gzip file is a head, deflate blocks and a tail. Parts that are compressed on their own and
// end on a byte boundary (a "sync flush") can stand one behind the other in one such stream.

/// Deflate, no flags, no time, no extra, Unix.
constexpr std::array<unsigned char, 10> gzipHead = {0x1f, 0x8b, 8, 0, 0, 0, 0, 0, 0, 3};

/// An empty last block, the checksum and the size modulo 2^32, lowest byte first.
std::array<unsigned char, 10> gzipTail(unsigned long checksum, std::size_t plainBytes) {
  std::array<unsigned char, 10> tail = {3, 0};
  for (std::size_t b = 0; b < 4; b++) {
    tail[2 + b] = static_cast<unsigned char>(checksum >> (8 * b));
    tail[6 + b] = static_cast<unsigned char>(plainBytes >> (8 * b));
  }
  return tail;
}

/// Fills an EncodedVolume piece by piece.
class Encoder {
 public:
  Encoder(EncodedVolume& target, bool compress) : result(target) {
    result.bytes.clear();
    result.plainBytes = 0;
    result.clamped = {};
    result.checksum = 0;
    if (compress) deflater.emplace(result.bytes);
  }

  void add(const unsigned char* bytes, std::size_t count) {
    result.plainBytes += count;
    if (deflater)
      deflater->add(bytes, count);
    else
      result.bytes.insert(result.bytes.end(), bytes, bytes + count);
  }

  void finish() {
    if (!deflater) return;
    deflater->finish();
    result.checksum = deflater->checksum();
  }

 private:
  EncodedVolume& result;
  std::optional<Deflater> deflater;
};

/// Size of a regular file; anything else is named for what it is.
std::uintmax_t regularFileSize(const std::string& name) {
  std::error_code failure;
  const std::filesystem::file_status status = std::filesystem::status(name, failure);
  if (!std::filesystem::exists(status)) throw Error(name, "does not exist");
  if (std::filesystem::is_directory(status)) throw Error(name, "is a directory, not a NIfTI image");
  if (!std::filesystem::is_regular_file(status)) throw Error(name, "is not a regular file");
  const std::uintmax_t size = std::filesystem::file_size(name, failure);
  if (failure) throw Error(name, "cannot be read: " + failure.message());
  return size;
}

Error unreadable(const std::string& name) {
  return {name, std::string("cannot be read: ") + std::strerror(errno)};
}

}  // namespace

Reader::Reader(const std::string& fileName, Contents contents) : name(fileName) {
  const std::uintmax_t fileBytes = regularFileSize(name);
  file = std::make_unique<PlainBytes>(name);
  readHeader();
  if (header().vectorComponents > 1 && contents != Contents::vectorsToo)
    throw Error(name, "has a dimension 5 of size " + std::to_string(header().vectorComponents) +
                          "; only 3-D and 4-D images are supported");
  const bool wanted = contents == Contents::complexNumbers;
  if (stored.complexValues && !wanted)
    throw Error(name, std::string("has the data type ") + complexOf(header().type) +
                          ", which is supported only where a field is made of complex numbers");
  if (wanted && !stored.complexValues)
    throw Error(name, "has the data type " + nameOf(header().type) + ", no complex numbers");
  checkSize(fileBytes);
}

std::size_t Reader::samplesOfVolume() const {
  return voxelsOf(header()) * (stored.complexValues ? 2 : 1);
}

std::size_t Reader::bytesOfVolume() const {
  return samplesOfVolume() * static_cast<std::size_t>(bytesPerSample(header().type));
}

int Reader::storedVolumes() const { return header().volumes * header().vectorComponents; }

void Reader::readHeader() {
  unsigned char bytes[headerBytes2];
  const std::size_t got = file->read(bytes, headerBytes2);
  using Fault = PlainBytes::Fault;
  if (got < headerBytes1 && file->fault() == Fault::damaged)
    throw Error(name, "is damaged: its header cannot be decompressed");
  if (got < headerBytes1 && file->fault() == Fault::truncated)
    throw Error(name, "is truncated: the compressed file ends within the header");
  if (file->fault() == Fault::unreadable) throw unreadable(name);
  stored = parseHeader(bytes, got, name);
}

void Reader::checkSize(std::uintmax_t fileBytes) const {
  // 4 * 2^62 is the largest product that parseHeader lets through: no overflow in 128 bits.
  __extension__ using Wide = unsigned __int128;
  const Wide wanted = static_cast<Wide>(bytesOfVolume()) * static_cast<Wide>(storedVolumes()) +
                      static_cast<Wide>(stored.dataOffset);
  // No deflate stream grows by more than a factor of 1032.
  const Wide most = file->isCompressed() ? Wide{fileBytes} * 1032 + 1024 : Wide{fileBytes};
  if (wanted > most)
    throw Error(name, "is truncated or damaged: its header claims " + text(header().dims) +
                          " voxels in " + counted(storedVolumes(), "volume") +
                          ", more than a file of " + std::to_string(fileBytes) + " bytes can hold");
  if (static_cast<Wide>(bytesOfVolume()) > largestDenseVolume &&
      wanted > Wide{fileBytes} * largestCompression)
    throw Error(name, "is no image: its header claims " + text(header().dims) +
                          " voxels a volume, which are compressed more than " +
                          std::to_string(largestCompression) + "-fold in its " +
                          std::to_string(fileBytes) + " bytes");
}

void Reader::readBytes(unsigned char* bytes, std::size_t count, const std::string& what) {
  if (file->read(bytes, count) == count) return;
  if (file->fault() == PlainBytes::Fault::damaged)
    throw Error(name, "is damaged: " + what + " cannot be decompressed");
  if (file->fault() == PlainBytes::Fault::unreadable) throw unreadable(name);
  throw Error(name, "is truncated: it ends within " + what);
}

void Reader::readTail() {
  // The checksum of a compressed stream is compared only when its end is reached.
  unsigned char rest[4096];
  while (file->read(rest, sizeof(rest)) > 0) continue;
  switch (file->fault()) {
    case PlainBytes::Fault::none:
      return;
    case PlainBytes::Fault::truncated:
      throw Error(name, "is truncated: the compressed file ends before its checksum");
    case PlainBytes::Fault::unreadable:
      throw unreadable(name);
    case PlainBytes::Fault::damaged:
      throw Error(name, "is damaged: its checksum does not match its data");
  }
}

Volume<float> Reader::readVolume(int t) {
  Volume<float> volume;
  readVolume(t, volume);
  return volume;
}

void Reader::readVolume(int t, Volume<float>& volume) {
  if (stored.complexValues) throw std::logic_error(name + " is read as complex numbers");
  if (volume.dimensions() != header().dims || volume.data() == nullptr)
    volume = Volume<float>(header().dims);
  readSamples(t, volume.data());
}

void Reader::readComplex(int t, Volume<float>& real, Volume<float>& imaginary) {
  if (!stored.complexValues) throw std::logic_error(name + " holds no complex numbers");
  std::vector<float> samples(samplesOfVolume());
  readSamples(t, samples.data());
  real = imaginary = Volume<float>(header().dims);
  for (std::size_t n = 0; n < samples.size(); n += 2) {
    real.data()[n / 2] = samples[n];
    imaginary.data()[n / 2] = samples[n + 1];
  }
}

void Reader::readSamples(int t, float* values) {
  const Header& h = header();
  const int volumes = storedVolumes();
  if (t < 0 || t >= volumes)
    throw std::out_of_range(name + " has no volume " + std::to_string(t) + " (it has " +
                            std::to_string(volumes) + ")");
  const std::string what =
      "the data of volume " + std::to_string(t + 1) + " of " + std::to_string(volumes);
  if (!file->seek(static_cast<std::uint64_t>(stored.dataOffset) +
                  std::uint64_t{bytesOfVolume()} * static_cast<std::uint64_t>(t)))
    throw Error(name, "is truncated or damaged: " + what + " cannot be reached");
  const std::size_t size = static_cast<std::size_t>(bytesPerSample(h.type));
  block.resize(blockSamples * size);
  const std::size_t all = samplesOfVolume();
  for (std::size_t done = 0; done < all;) {
    const std::size_t count = std::min(blockSamples, all - done);
    readBytes(block.data(), count * size, what);
    if (stored.swapped) swapSamples(block.data(), count, bytesPerSample(h.type));
    const RoundingLoss loss = decodeSamples(h, block.data(), count, values + done);
    lost.values += loss.values;
    lost.largest = std::max(lost.largest, loss.largest);
    lost.beyond += loss.beyond;
    done += count;
  }
  if (t == volumes - 1 && file->isCompressed()) readTail();
}

Writer::Writer(const std::string& fileName, const Header& what)
    : out(fileName), header(what), compressed(fileName.ends_with(".gz")) {
  if (!hasNiftiName(fileName))
    throw Error(fileName, "is no name for a NIfTI image: it ends with neither .nii nor .nii.gz");
  const std::vector<unsigned char> bytes = formatHeader(header, fileName);
  file.reset(std::fopen(out.temporary().c_str(), "wb"));
  if (!file) fail(errno);
  if (compressed) append(gzipHead.data(), gzipHead.size());
  Encoder encoder(own, compressed);
  encoder.add(bytes.data(), bytes.size());
  encoder.finish();
  append(own);
}

Writer::~Writer() = default;

void Writer::fail(int systemError) {
  file.reset();
  throw Error(out.target(), std::string("cannot be written: ") + std::strerror(systemError));
}

void Writer::append(const unsigned char* bytes, std::size_t count) {
  if (std::fwrite(bytes, 1, count, file.get()) != count) fail(errno);
}

void Writer::startWriteback(std::size_t newBytes) {
  unsynchronised += newBytes;
  if (unsynchronised < writebackBytes) return;
  unsynchronised = 0;
#ifdef SYNC_FILE_RANGE_WRITE
  // Only begun, not waited for; what fails is found by fsync.
  sync_file_range(fileno(file.get()), 0, 0, SYNC_FILE_RANGE_WRITE);
#endif
}

void Writer::append(const EncodedVolume& part) {
  append(part.bytes.data(), part.bytes.size());
  checksum = crc32_combine(checksum, part.checksum, static_cast<z_off_t>(part.plainBytes));
  plainBytes += part.plainBytes;
}

void Writer::encode(const Volume<float>& volume, EncodedVolume& result) const {
  if (volume.dimensions() != header.dims)
    throw std::logic_error(out.target() + ": a volume that the header does not announce");
  const std::size_t size = static_cast<std::size_t>(bytesPerSample(header.type));
  std::vector<unsigned char> block(blockSamples * size);
  Encoder encoder(result, compressed);
  const std::size_t voxels = voxelsOf(header);
  for (std::size_t done = 0; done < voxels;) {
    const std::size_t count = std::min(blockSamples, voxels - done);
    const ClampedSamples clamped = encodeSamples(header, volume.data() + done, count, block.data());
    result.clamped.above += clamped.above;
    result.clamped.below += clamped.below;
    encoder.add(block.data(), count * size);
    done += count;
  }
  encoder.finish();
}

void Writer::write(const EncodedVolume& volume) {
  if (!file || written >= wantedVolumes(header) || volume.plainBytes != volumeBytes(header))
    throw std::logic_error(out.target() + ": a volume that the header does not announce");
  append(volume);
  written++;
  startWriteback(volume.bytes.size());
}

void Writer::write(const Volume<float>& volume) {
  encode(volume, own);
  write(own);
}

void Writer::finish() {
  if (!file || written != wantedVolumes(header))
    throw std::logic_error(out.target() + ": fewer volumes than the header announces");
  if (compressed) {
    const std::array<unsigned char, 10> tail = gzipTail(checksum, plainBytes);
    append(tail.data(), tail.size());
  }
  if (std::fclose(file.release()) != 0) fail(errno);
  out.commit();
}

}  // namespace mirel::nifti
