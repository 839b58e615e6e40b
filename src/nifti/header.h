#pragma once

#include <cstddef>
#include <cstdint>
#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>
#include <string>
#include <vector>

/// The NIfTI header as a value: what an image says about itself, in mm and seconds.
namespace mirel::nifti {

/// The sample types that are read and written; the numbers are those of the format. Colour, one-bit
/// and 128-bit types are refused, and complex ones, whose parts are of a type here, are only read.
enum class DataType {
  uint8 = 2,
  int16 = 4,
  int32 = 8,
  float32 = 16,
  float64 = 64,
  int8 = 256,
  uint16 = 512,
  uint32 = 768,
  int64 = 1024,
  uint64 = 1280
};

/// Bytes of one sample.
int bytesPerSample(DataType type);
bool isInteger(DataType type);
/// "int16", "float32", ... and back; `dataTypeNamed` throws Error for any other name.
std::string nameOf(DataType type);
DataType dataTypeNamed(const std::string& name);

/// The quaternion form of an orientation as the format stores it. Its matrix is made with the
/// voxel sizes of the header: R(b, c, d) * diag(dx, dy, qfac * dz), then the offset in mm.
struct Quaternion {
  double b = 0, c = 0, d = 0;
  double x = 0, y = 0, z = 0;
  double qfac = 1;
  bool operator==(const Quaternion&) const = default;
};

/// How the format itself describes the acquisition of slices; carried from image to image as it is.
struct SliceOrder {
  /// Frequency, phase and slice axis: 1, 2, 3, or 0 where it is not said.
  int frequencyAxis = 0, phaseAxis = 0, sliceAxis = 0;
  /// 1 sequential up, 2 down, 3 alternating up, ...; 0 where it is not said.
  int code = 0;
  std::int64_t first = 0, last = 0;
  double durationSeconds = 0;
  bool operator==(const SliceOrder&) const = default;
};

struct Header {
  /// 1 or 2. A grid with a side beyond 32767 is written as 2 whatever is asked for.
  int version = 1;
  glm::ivec3 dims{0, 0, 0};
  int volumes = 1;
  /// Above 1 for an image of vectors: the fifth dimension. The components of all volumes follow
  /// one another, each as if it were an image of its own. A Reader takes such an image only when
  /// it is asked to.
  int vectorComponents = 1;
  /// What the values mean, as the format numbers it (1007: vectors); 0 for nothing in particular.
  int intentCode = 0;
  /// The header's own voxel sizes (all positive); the columns of `affine` may differ from them
  /// in a file that contradicts itself.
  glm::dvec3 voxelSizeMm{1, 1, 1};
  double repetitionTimeSeconds = 0;
  SliceOrder slices;
  /// 0: the form is absent; 1: scanner, 2: aligned, 3 and 4: template coordinates.
  int qformCode = 0;
  int sformCode = 0;
  Quaternion qform;
  /// Column-major as in glm: sform[0] is the step along i, sform[3] the position of voxel 0.
  glm::dmat4 sform{1.0};
  DataType type = DataType::float32;
  /// value = slope * sample + inter. A slope of 0 (or not a number) means that there is no
  /// scaling and reads as 1 and 0.
  double slope = 1;
  double inter = 0;
  std::string description;

  bool hasScaling() const { return slope != 1 || inter != 0; }
  /// Voxel (i, j, k) to mm, x towards right, y towards anterior, z towards superior: the sform
  /// when its code is positive, else the qform when its code is positive, else the voxel sizes
  /// alone with voxel 0 at the origin.
  glm::dmat4 affine() const;
  /// The matrix of the quaternion form, whatever its code.
  glm::dmat4 qformMatrix() const;
  /// Makes `matrix` the affine: sform and, where its columns are orthogonal to within 1e-4 (a
  /// quaternion carries no shear), qform get the code; the voxel sizes are the column lengths.
  void setAffine(const glm::dmat4& matrix, int code);
};

/// The header of a map on the grid of `reference`: its orientation, codes and description, one
/// volume of 32-bit floats without scaling and without a repetition time.
Header floatMapLike(const Header& reference);

/// A header read from a file, and how its data are stored.
struct StoredHeader {
  Header header;
  std::int64_t dataOffset = 0;
  bool swapped = false;
  /// Each voxel is two samples of the header's type, its real and its imaginary part.
  bool complexValues = false;
};

/// Bytes that `parseHeader` wants of a version 1 and of a version 2 file.
inline constexpr std::size_t headerBytes1 = 348;
inline constexpr std::size_t headerBytes2 = 540;

/// Reads the header from the first `count` bytes of a file, either byte order.
///
///   version 1: int32 348 at byte 0, "n+1\0" at byte 344
///   version 2: int32 540 at byte 0, "n+2\0" at byte 4, then "\r\n\032\n" or four zeros
///
/// Errors  Error, naming `fileName`: not a NIfTI, a two-file NIfTI, a count of dimensions
///         outside 1 .. 7, a size below 1, a size above 1 beyond the fifth, more than one volume
///         of vectors, a volume of
///         more than 2^31 - 1 voxels, data of more than 2^62 bytes, an unsupported data type,
///         a data offset inside the header or not a number. Nothing is allocated by size.
StoredHeader parseHeader(const unsigned char* bytes, std::size_t count,
                         const std::string& fileName);

/// The bytes in front of the data (352 or 544, the empty extension mark included), in the
/// machine's byte order; the same for the same header. Throws Error for sizes below 1.
std::vector<unsigned char> formatHeader(const Header& header, const std::string& fileName);

}  // namespace mirel::nifti
