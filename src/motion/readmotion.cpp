#include "motion/readmotion.h"

#include <cmath>
#include <filesystem>
#include <numbers>

#include "base/error.h"
#include "base/numbertext.h"
#include "motion/credible.h"
#include "motion/fslreference.h"
#include "motion/fsltransforms.h"
#include "motion/namedcolumns.h"
#include "motion/numberrows.h"
#include "motion/scannertransforms.h"
#include "numerics/rigidmotion.h"

namespace mirel {

namespace {

using Words = std::vector<std::vector<std::string>>;

MotionForm formOfRows(const GivenMotion& given, std::size_t columns) {
  if (columns == 12) return MotionForm::afniMatrices;
  if (columns != 6)
    throw Error(given.file, "holds rows of " + counted(columns, "number") +
                                ", which is no form of rigid transforms that is known");
  const bool named = std::filesystem::path(given.file).extension() == ".par";
  const auto program = given.program ? given.program
                       : named       ? std::optional(MotionProgram::fsl)
                                     : std::nullopt;
  if (!program)
    throw Error(given.file, "holds rows of six numbers, which programs mean differently",
                {Advice::Kind::giveMotionForm});
  if (*program == MotionProgram::fsl) return MotionForm::fslParameters;
  if (*program == MotionProgram::spm) return MotionForm::spmParameters;
  throw Error(given.file,
              "holds rows of six numbers, which do not tell their direction: give matrices "
              "(.aff12.1D, -1Dmatrix_save)");
}

MotionForm formOf(const GivenMotion& given, const Words& words) {
  const bool itk = !words.empty() && words.front().front() == "Transform:";
  if (!itk) refuseNamedColumns(words, given.file);
  const MotionForm form =
      itk ? MotionForm::itkText : formOfRows(given, numbersOf(words, given.file).front().size());
  if (given.program && programOf(form) != *given.program)
    throw Error(given.file, "holds transforms in the form of " + nameOf(programOf(form)) +
                                ", not of " + nameOf(*given.program));
  return form;
}

void requireCount(const GivenMotion& given, std::size_t count, const MovedSeries& series) {
  if (count == static_cast<std::size_t>(series.header.volumes)) return;
  throw Error(given.file, "holds " + counted(count, "transform") + ", but " + series.file +
                              " has " + counted(series.header.volumes, "volume"));
}

void readFolder(const GivenMotion& given, const MovedSeries& series, SeriesMotion& motion) {
  if (given.program && *given.program != MotionProgram::fsl)
    throw Error(given.file, "is a folder, as only FSL has its matrices");
  motion.form = MotionForm::fslMatrices;
  const std::vector<std::string> files = fslMatrixFiles(given.file);
  requireCount(given, files.size(), series);
  std::vector<glm::dmat4> matrices;
  for (const std::string& file : files) {
    motion.stamps.emplace_back(file);
    matrices.push_back(readFslMatrix(file));
  }
  motion.fromReference = fslFromReference(matrices, given, series);
}

// A turn in degrees could be about a whole one in radians, and pass for none.
void requireRadians(const std::vector<std::vector<double>>& rows, std::size_t firstAngle,
                    const std::string& file) {
  constexpr double largest = farthestHeadDegrees * std::numbers::pi / 180.0;
  for (std::size_t t = 0; t < rows.size(); ++t)
    for (std::size_t n = firstAngle; n < firstAngle + 3; ++n)
      if (std::fabs(rows[t][n]) > largest)
        throw Error(file, "has in row " + std::to_string(t + 1) + " an angle of " +
                              text(rows[t][n]) +
                              ": are its angles in degrees, where radians are expected?");
}

void readFile(const GivenMotion& given, const MovedSeries& series, SeriesMotion& motion) {
  motion.stamps.emplace_back(given.file);
  const Words words = readTransformWords(given.file);
  motion.form = formOf(given, words);
  if (motion.form == MotionForm::itkText) {
    motion.fromReference = readItkTransforms(given.file);
    return requireCount(given, motion.fromReference.size(), series);
  }
  const std::vector<std::vector<double>> rows = numbersOf(words, given.file);
  requireCount(given, rows.size(), series);
  if (motion.form == MotionForm::fslParameters) requireRadians(rows, 0, given.file);
  if (motion.form == MotionForm::spmParameters) requireRadians(rows, 3, given.file);
  if (motion.form == MotionForm::fslParameters) {
    const glm::dvec3 centre = fslCentre(rows, given, series);
    std::vector<glm::dmat4> matrices;
    for (const std::vector<double>& row : rows) matrices.push_back(fslMatrixOf(row, centre));
    motion.fromReference = fslFromReference(matrices, given, series);
    return;
  }
  for (const std::vector<double>& row : rows)
    motion.fromReference.push_back(motion.form == MotionForm::spmParameters ? spmMatrixOf(row)
                                                                            : afniMatrixOf(row));
}

void settleReference(const GivenMotion& given, const MovedSeries& series, SeriesMotion& motion) {
  if (given.referenceVolume) {
    const auto t = static_cast<std::size_t>(*given.referenceVolume);
    const double mm = displacementMm(motion.fromReference[t], gridOf(series.header));
    if (mm >= inPlaceMm)
      throw Error(given.file, "displaces volume " + std::to_string(t) + " by " + text("%.2g", mm) +
                                  " mm: it is not the reference");
    motion.referenceVolume = given.referenceVolume;
    return;
  }
  for (std::size_t t = 0; t < motion.fromReference.size() && !motion.referenceVolume; ++t)
    if (displacementMm(motion.fromReference[t], gridOf(series.header)) < inPlaceMm)
      motion.referenceVolume = static_cast<int>(t);
}

}  // namespace

SeriesMotion readSeriesMotion(const GivenMotion& given, const std::string& series,
                              const nifti::Header& header) {
  if (given.referenceVolume &&
      (*given.referenceVolume < 0 || *given.referenceVolume >= header.volumes))
    throw Error(series, "has no volume " + std::to_string(*given.referenceVolume) +
                            " that could be the reference of its motion: it has " +
                            std::to_string(header.volumes));
  const MovedSeries what{series, header};
  SeriesMotion motion;
  motion.file = given.file;
  motion.referenceImage = given.referenceImage;
  std::error_code ignored;
  if (std::filesystem::is_directory(given.file, ignored))
    readFolder(given, what, motion);
  else
    readFile(given, what, motion);
  requireHeadMotion(motion, gridOf(header));
  settleReference(given, what, motion);
  return motion;
}

}  // namespace mirel
