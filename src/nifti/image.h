#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "base/outputfile.h"
#include "containers/volume.h"
#include "nifti/header.h"
#include "nifti/plainbytes.h"
#include "nifti/samples.h"

/// Reading and writing NIfTI files (.nii, .nii.gz) one volume at a time: memory holds a volume
/// and a block of samples, however many volumes the file has.
namespace mirel::nifti {

/// What a Reader takes: images of numbers only, 5-D images of vectors, too, or images of complex
/// numbers only.
enum class Contents { scalars, vectorsToo, complexNumbers };

/// An open image. Volumes are cheapest in ascending order: a compressed file is read from the
/// start again to go back.
///
///   nifti::Reader image("run1.nii.gz");
///   for (int t = 0; t < image.header().volumes; t++) use(image.readVolume(t));
///
/// Errors  Error with the file's name: no such file, a directory, not a NIfTI, impossible
///         sizes, vectors or complex numbers where they are not wanted, an unsupported type (see
///         parseHeader), truncated data. A file that is too small for the data that its header
///         claims (for a compressed one: could not inflate to as much) is refused by the
///         constructor, before anything of that size is allocated. A compressed file is checked to
///         its last byte when the last volume is read.
class Reader {
 public:
  explicit Reader(const std::string& fileName, Contents contents = Contents::scalars);

  const std::string& fileName() const { return name; }
  const Header& header() const { return stored.header; }
  /// Bytes of the data are in the other byte order.
  bool isSwapped() const { return stored.swapped; }

  /// How many volumes the file holds; those of an image of vectors are its components.
  int storedVolumes() const;
  /// Volume `t`, scaled by slope and intercept (see decodeSamples). x, y, z are i, j, k of the
  /// file. Throws std::out_of_range for a `t` outside 0 .. storedVolumes() - 1.
  Volume<float> readVolume(int t);
  /// The same into `volume`, whose storage is used again when its dimensions fit.
  void readVolume(int t, Volume<float>& volume);
  /// Volume `t` of complex numbers, whose parts are scaled alike. Throws as above.
  void readComplex(int t, Volume<float>& real, Volume<float>& imaginary);
  /// What 32-bit floats took from the values of all volumes read so far.
  const RoundingLoss& roundingLoss() const { return lost; }

 private:
  void readHeader();
  void checkSize(std::uintmax_t fileBytes) const;
  void readBytes(unsigned char* bytes, std::size_t count, const std::string& what);
  void readTail();
  std::size_t samplesOfVolume() const;
  std::size_t bytesOfVolume() const;
  void readSamples(int t, float* values);

  std::string name;
  std::unique_ptr<PlainBytes> file;
  StoredHeader stored;
  std::vector<unsigned char> block;
  RoundingLoss lost;
};

/// A volume as it stands in a file.
struct EncodedVolume {
  std::vector<unsigned char> bytes;  ///< compressed for a .nii.gz
  std::size_t plainBytes = 0;        ///< before compression
  unsigned long checksum = 0;        ///< CRC-32 of the bytes before compression
  ClampedSamples clamped;            ///< see encodeSamples
};

/// Writes an image volume by volume, compressed when the name ends with .nii.gz. The file appears
/// under its name when `finish` has returned; without it nothing stays behind. The same header
/// and volumes give the same bytes (no time stamp).
///
/// Errors  Error with the file's name: a name of another kind, a missing folder, sizes
///         that do not fit the format, a full disk; std::logic_error for a volume of other
///         dimensions, for too many and (in finish) for too few.
class Writer {
 public:
  Writer(const std::string& fileName, const Header& header);
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;
  ~Writer();

  const std::string& fileName() const { return out.target(); }
  /// Appends a volume; see encodeSamples for rounding and clamping. An image of vectors takes
  /// volumes * vectorComponents of them.
  void write(const Volume<float>& volume);
  /// The same in two steps, with the same bytes in the file: `encode` rounds and compresses, and
  /// may run in several threads at once; `write` appends.
  void encode(const Volume<float>& volume, EncodedVolume& result) const;
  void write(const EncodedVolume& volume);
  void finish();

 private:
  struct Close {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
  };
  void append(const unsigned char* bytes, std::size_t count);
  void append(const EncodedVolume& part);
  void startWriteback(std::size_t newBytes);
  [[noreturn]] void fail(int systemError);

  OutFile out;
  Header header;
  bool compressed;
  std::unique_ptr<std::FILE, Close> file;
  std::int64_t written = 0;
  std::size_t plainBytes = 0;
  std::size_t unsynchronised = 0;  // bytes since the system was told to write
  unsigned long checksum = 0;
  EncodedVolume own;
};

}  // namespace mirel::nifti
