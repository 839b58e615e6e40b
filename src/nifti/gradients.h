#pragma once

#include <glm/vec3.hpp>
#include <string>
#include <vector>

/// Diffusion gradient tables as they stand beside a NIfTI image: a .bvec and a .bval text file.
namespace mirel::nifti {

/// Up to this b-value (s/mm^2) a volume counts as unweighted: scanners give small values to those
/// that are meant as b = 0.
inline constexpr float greatestUnweighted = 100;

/// One direction and one b-value (s/mm^2) per volume. The directions are given in the image's
/// own axes and taken over as they stand, as are project axes.
struct GradientTable {
  std::vector<glm::vec3> directions;
  std::vector<float> bValues;
};

/// Reads both files.
///
///   .bvec   three lines x, y, z of one number per volume (or one line of three per volume)
///   .bval   one number per volume, on one line or several
///
/// Numbers are separated by blanks, tabs or commas. Errors: Error, naming the file: it
/// cannot be opened, a word that is no finite number, another shape, or another number of
/// volumes than `volumes`. For three volumes a 3 x 3 .bvec is read as three lines x, y, z.
GradientTable readGradients(const std::string& bvecFile, const std::string& bvalFile, int volumes);

/// The directions of a .bvec file, one per volume. Errors: as above.
std::vector<glm::vec3> readDirections(const std::string& bvecFile, int volumes);

/// The entries of some volumes of a table, of which either part may be empty.
GradientTable gradientsOf(const GradientTable& table, const std::vector<int>& volumes);

/// The file of the image's name with `ending`, ".bval" or ".bvec", beside the image or, if there is
/// none and the image is a link, beside what it leads to; empty when there is none either.
std::string gradientFileOf(const std::string& imageFile, const std::string& ending);

/// The numbers of a .bval file, one per volume. Errors: as above.
std::vector<float> readBValues(const std::string& bvalFile, int volumes);

/// Which volumes count as unweighted, counted from 0.
std::vector<int> unweightedVolumes(const std::vector<float>& bValues);

/// Counts the entries of a .bval or a .bvec file, by its name, without asking that they be finite
/// (some programs write "nan" where there is no direction). Errors: Error, naming the file: it
/// cannot be opened, another number than `volumes`, a .bvec of another shape.
void checkGradientCount(const std::string& fileName, int volumes);

/// The texts of the two files, in 6 significant digits, as the project files have them.
std::string formatDirections(const GradientTable& table);
std::string formatBValues(const GradientTable& table);

}  // namespace mirel::nifti
