#pragma once

#include <string>
#include <vector>

namespace mirel {

/// Infinite where one has more values.
double largestDifference(const std::vector<float>& a, const std::vector<float>& b);

/// A little-endian NIfTI-1 file, read and written by the format's own offsets: what the tests of
/// the program say about an image shares no code with the program.
class PlainImage {
 public:
  /// @throws std::runtime_error where there is no such image.
  explicit PlainImage(const std::string& fileName);

  /// Compressed, whatever the name says.
  void write(const std::string& fileName) const;

  /// dim[n] of the header: dim(1) to dim(3) voxels, dim(4) volumes, dim(5) components.
  int dim(int n) const { return shortAt(40 + 2 * n); }
  int intent() const { return shortAt(68); }
  int dataType() const { return shortAt(70); }
  /// Voxel size along axis 0, 1 or 2 in mm.
  float size(int axis) const { return floatAt(80 + 4 * axis); }
  /// Column `axis` (3: the offset) of the orientation matrix, row x, y or z.
  float sform(int row, int axis) const { return floatAt(280 + 16 * row + 4 * axis); }
  /// With the orientation matrix, whose axes are those of space in some order.
  void setSize(int axis, float mm);

  /// The factor of all samples.
  void setSlope(float slope) { put(112, slope); }

  /// All samples, x fastest, scaled.
  std::vector<float> values() const;

  /// The same image in space with two of its axes exchanged.
  PlainImage withExchanged(int one, int other) const;

  /// The same image in space, stored the other way round along an axis.
  PlainImage withReversed(int axis) const;

  /// The volumes of another image of the same grid and type behind those of this one.
  PlainImage withAppended(const PlainImage& other) const;

  /// Without orientation: both codes 0.
  PlainImage withoutOrientation() const;

  /// Volume t alone, counted from 0.
  PlainImage onlyVolume(int t) const;

 private:
  short shortAt(int offset) const;
  float floatAt(int offset) const;
  void put(int offset, short value);
  void put(int offset, float value);
  int bytesPerSample() const { return shortAt(72) / 8; }
  int voxels() const { return dim(1) * dim(2) * dim(3); }

  std::vector<unsigned char> header, data;
};

}  // namespace mirel
