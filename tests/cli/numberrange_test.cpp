// Numbers that a type does not hold: those of the input in 32-bit floats, those of the result in
// the input's own type.
#include <gmock/gmock.h>

#include <cmath>
#include <cstring>

#include "cli/fieldfiles.h"
#include "support/niftifiles.h"

namespace mirel {

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class NumberRange : public FieldFiles {
 protected:
  // AP with other values in a file of another type, which has a direction and a readout time.
  std::string series(nifti::DataType type, const std::function<float(float)>& value) const {
    sidecar("run.json", {{"PhaseEncodingDirection", "j-"}, {"TotalReadoutTime", 0.04}});
    return changed(ap(), "run.nii", value, [&](nifti::Header& header) {
      header.type = type;
      header.slope = 1;
      header.inter = 0;
    });
  }

  ProgramResult apply(const std::string& image, const std::vector<std::string>& more = {}) const {
    std::vector<std::string> words = {"apply", "--field", field(), image, "-o", file("out.nii")};
    words.insert(words.end(), more.begin(), more.end());
    return runMirel(words);
  }

  /// What it says besides the names of the files.
  std::string applied(const std::string& image) const {
    const ProgramResult result = apply(image);
    EXPECT_EQ(result.status, 0) << result.err;
    return result.err;
  }

  void expectRefused(const ProgramResult& result, const std::string& name,
                     const std::string& fault) const {
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, AllOf(HasSubstr("Error: "), HasSubstr(name), HasSubstr(fault)));
    EXPECT_FALSE(fileExists(file("out.nii")));
    EXPECT_FALSE(fileExists(file("out.json")));
  }

  // Puts a number into the header of an uncompressed file, or one among its samples.
  template <typename T>
  static void poke(const std::string& name, std::size_t at, T value) {
    std::vector<unsigned char> bytes = niftifiles::readBytes(name);
    std::memcpy(bytes.data() + at, &value, sizeof value);
    niftifiles::writeBytes(name, bytes);
  }
  template <typename T>
  static void pokeSample(const std::string& name, std::size_t index, T value) {
    poke(name, 352 + index * sizeof value, value);
  }
};

TEST_F(NumberRange, LargeIntegersThatAreRoundedAreToldOf) {
  for (const nifti::DataType type : {nifti::DataType::int32, nifti::DataType::uint32,
                                     nifti::DataType::int64, nifti::DataType::uint64}) {
    const auto small = [](float v) { return std::round(std::abs(v)); };
    EXPECT_THAT(applied(series(type, small)), Not(HasSubstr("Warning"))) << nameOf(type);
  }
  // No 32-bit float is one of these.
  const std::string image = series(nifti::DataType::int64, [](float v) { return std::round(v); });
  pokeSample<std::int64_t>(image, 5, (1 << 24) + 1);
  pokeSample<std::int64_t>(image, 6, -(std::int64_t{1} << 25) - 1);
  EXPECT_THAT(applied(image),
              AllOf(HasSubstr("Warning: " + image), HasSubstr("digits of its int64"),
                    HasSubstr("2 are rounded, by 1 at most")));
}

TEST_F(NumberRange, DoublesThatAreRoundedAreToldOf) {
  const auto whole = [](float v) { return std::round(v); };
  EXPECT_THAT(applied(series(nifti::DataType::float64, whole)), Not(HasSubstr("Warning")));
  const std::string image = series(nifti::DataType::float64, whole);
  pokeSample<double>(image, 7, 0.1);
  EXPECT_THAT(applied(image), AllOf(HasSubstr("Warning: " + image),
                                    HasSubstr("digits of its float64"), HasSubstr("1 is rounded")));
}

TEST_F(NumberRange, BothEndsOfATypeAreCounted) {
  const auto full = [](float v) { return v > 500 ? 32767.0f : -32768.0f; };
  EXPECT_THAT(applied(series(nifti::DataType::int16, full)),
              AllOf(HasSubstr("exceed the largest value that int16 holds"),
                    HasSubstr("fall below the least value that int16 holds")));
  // Beside air interpolation falls below 0: a note, as it happens to every such image.
  const std::string run =
      applied(series(nifti::DataType::uint16, [](float v) { return v > 500 ? 900.0f : 0.0f; }));
  EXPECT_THAT(run, Not(HasSubstr("Warning")));
  EXPECT_THAT(run, HasSubstr("fall below the least value that uint16 holds"));
}

TEST_F(NumberRange, ResultsBeyondAllFloatsAreRefused) {
  const auto huge = [](float v) { return v > 500 ? 3.4e38f : -3.4e38f; };
  const std::string image = series(nifti::DataType::float32, huge);
  for (const std::vector<std::string>& more : {std::vector<std::string>{}, {"--modulate"}})
    expectRefused(apply(image, more), "out.nii", "range of 32-bit floats");
  const std::string map =
      changed(truth("truth_displacement.nii.gz"), "map.nii", [](float) { return -3e38f; });
  expectRefused(runMirel({"field", "--from-map", map, "--reference", ap(), "--pe", "j-",
                          "--readout", "0.04", "-o", file("out.nii")}),
                "out.nii", "range of 32-bit floats");
}

TEST_F(NumberRange, OrientationsThatAreNoNumbersAreRefused) {
  const std::string image = series(nifti::DataType::int16, [](float v) { return v; });
  for (const float bad : {std::nanf(""), INFINITY}) {
    poke(image, 280 + 4, bad);  // srow_x[1]
    expectRefused(apply(image), image, "orientation (sform) has values that are NaN or infinite");
    expectRefused(runMirel({"field", "--from-map", truth("truth_displacement.nii.gz"),
                            "--reference", image, "-o", file("out.nii")}),
                  image, "orientation (sform)");
  }
  poke(image, 280 + 4, 0.0f);
  poke(image, 256, std::nanf(""));  // quatern_b
  expectRefused(apply(image), image, "orientation (qform) has values that are NaN or infinite");
}

}  // namespace

}  // namespace mirel
