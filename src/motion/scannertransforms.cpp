#include "motion/scannertransforms.h"

#include <cmath>
#include <glm/matrix.hpp>

#include "base/error.h"
#include "base/numbertext.h"
#include "motion/numberrows.h"

namespace mirel {

namespace {

// What a transform of ITK's text form says of itself.
struct ItkTransform {
  std::string type;
  std::vector<double> parameters, centre;
};

bool isAffine(const std::string& type) {
  for (const char* kind : {"AffineTransform", "MatrixOffsetTransformBase"})
    for (const char* number : {"_double_3_3", "_float_3_3"})
      if (type == std::string(kind) + number) return true;
  return false;
}

std::string placeOf(std::size_t number) { return "transform " + std::to_string(number); }

glm::dmat4 matrixOf(const std::vector<double>& rotation, glm::dvec3 offset) {
  glm::dmat4 m(1.0);
  auto number = rotation.begin();
  for (int row = 0; row < 3; ++row)
    for (int column = 0; column < 3; ++column) m[column][row] = *number++;
  m[3] = glm::dvec4(offset, 1.0);
  return m;
}

glm::dmat4 matrixOf(const ItkTransform& transform, const std::string& fileName,
                    std::size_t number) {
  const std::string which = placeOf(number);
  if (!isAffine(transform.type))
    throw Error(fileName, "has as " + which + " one of the kind \"" + transform.type +
                              "\"; affine ones are read (AffineTransform_double_3_3)");
  if (transform.parameters.size() != 12 || transform.centre.size() != 3)
    throw Error(fileName, "has " + counted(transform.parameters.size(), "parameter") + " and " +
                              counted(transform.centre.size(), "fixed one") + " for " + which +
                              ", where 12 and 3 are expected");
  const std::vector<double>& p = transform.parameters;
  const glm::dvec3 centre(transform.centre[0], transform.centre[1], transform.centre[2]);
  glm::dmat4 m = matrixOf(p, {p[9], p[10], p[11]});
  m[3] += glm::dvec4(centre - glm::dmat3(m) * centre, 0.0);
  return withXAndYReversed(m);
}

}  // namespace

glm::dmat4 withXAndYReversed(const glm::dmat4& m) {
  glm::dmat4 reversed(1.0);
  reversed[0][0] = reversed[1][1] = -1.0;
  return reversed * m * reversed;
}

glm::dmat4 afniMatrixOf(const std::vector<double>& row) {
  const std::vector<double> rotation = {row[0], row[1], row[2], row[4], row[5],
                                        row[6], row[8], row[9], row[10]};
  return withXAndYReversed(matrixOf(rotation, {row[3], row[7], row[11]}));
}

glm::dmat4 spmMatrixOf(const std::vector<double>& row) {
  const auto cosine = [&](std::size_t n) { return std::cos(row[n]); };
  const auto sine = [&](std::size_t n) { return std::sin(row[n]); };
  // By columns.
  const glm::dmat3 rx(1, 0, 0, 0, cosine(3), -sine(3), 0, sine(3), cosine(3));
  const glm::dmat3 ry(cosine(4), 0, -sine(4), 0, 1, 0, sine(4), 0, cosine(4));
  const glm::dmat3 rz(cosine(5), -sine(5), 0, sine(5), cosine(5), 0, 0, 0, 1);
  glm::dmat4 toReference(rx * ry * rz);
  toReference[3] = glm::dvec4(row[0], row[1], row[2], 1.0);
  return glm::inverse(toReference);
}

std::vector<glm::dmat4> readItkTransforms(const std::string& fileName) {
  std::vector<glm::dmat4> transforms;
  ItkTransform transform;
  for (const std::vector<std::string>& words : readTransformWords(fileName)) {
    const auto numbers = [&] {
      return numbersIn(std::span(words).subspan(1), placeOf(transforms.size()), fileName);
    };
    if (words[0] == "Transform:") {
      transform = {words.size() > 1 ? words[1] : "", {}, {}};
    } else if (words[0] == "Parameters:") {
      transform.parameters = numbers();
    } else if (words[0] == "FixedParameters:") {
      // The last line of a transform.
      transform.centre = numbers();
      transforms.push_back(matrixOf(transform, fileName, transforms.size()));
      transform = {};
    }
  }
  if (!transform.type.empty()) matrixOf(transform, fileName, transforms.size());
  if (transforms.empty()) throw Error(fileName, "holds no transform");
  return transforms;
}

std::string formatItkTransforms(const std::vector<glm::dmat4>& transforms) {
  std::string all = "#Insight Transform File V1.0\n";
  // Without the sign that reversed axes give to 0.
  const auto number = [](double v) { return " " + text("%.17g", v == 0 ? 0.0 : v); };
  for (std::size_t t = 0; t < transforms.size(); ++t) {
    const glm::dmat4 m = withXAndYReversed(transforms[t]);
    all +=
        "#Transform " + std::to_string(t) + "\nTransform: AffineTransform_double_3_3\nParameters:";
    for (int row = 0; row < 3; ++row)
      for (int column = 0; column < 3; ++column) all += number(m[column][row]);
    for (int row = 0; row < 3; ++row) all += number(m[3][row]);
    all += "\nFixedParameters: 0 0 0\n";
  }
  return all;
}

}  // namespace mirel
