#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "cli/correctpair.h"
#include "nifti/image.h"

// What mirel correct says of images whose brightness differs otherwise than by one factor.

namespace mirel {

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

class CorrectRatio : public CorrectPair {
 protected:
  /// The first image with every value v at row y of slice z replaced by change(v, y, z), y and z
  /// from 0 to 1.
  template <typename Change>
  ProgramResult correctWith(Change change) const {
    const nifti::Header header = nifti::Reader(ap()).header();
    Volume<float> image = imageIn(ap());
    for (int z = 0; z < image.nz(); ++z)
      for (int y = 0; y < image.ny(); ++y)
        for (int x = 0; x < image.nx(); ++x)
          image.at(x, y, z) = change(
              image.at(x, y, z), (static_cast<float>(y) + 0.5F) / static_cast<float>(image.ny()),
              (static_cast<float>(z) + 0.5F) / static_cast<float>(image.nz()));
    nifti::Writer writer(file("changed.nii.gz"), nifti::floatMapLike(header));
    writer.write(image);
    writer.finish();
    return runMirel(
        {"correct", file("changed.nii.gz"), pa(), "--pe-a", "j-", "--json", "-o", out()});
  }
};

TEST_F(CorrectRatio, NothingIsSaidOfAPairThatDiffersByOneFactor) {
  const ProgramResult result = correctWith([](float v, float, float) { return 1.3F * v; });
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(json::parse(result.out)["intensityRatioVaries"].is_null());
  EXPECT_THAT(result.out, AllOf(Not(HasSubstr("contrast")), Not(HasSubstr("from place to place"))));
}

TEST_F(CorrectRatio, ShadingIsNoted) {
  const ProgramResult result =
      correctWith([](float v, float y, float) { return v * (0.8F + 0.4F * y); });
  ASSERT_EQ(result.status, 0) << result.err;
  const json summary = json::parse(result.out);
  EXPECT_EQ(summary["intensityRatioVaries"]["Shading"], true);
  EXPECT_GT(summary["intensityRatioVaries"]["Spread"], 0.03);
  EXPECT_THAT(summary["notes"].dump(), HasSubstr("differs from place to place"));
}

TEST_F(CorrectRatio, LostSignalIsNotTakenForContrast) {
  const ProgramResult result =
      correctWith([](float v, float, float z) { return z < 0.5F ? v : 0.2F * v; });
  ASSERT_EQ(result.status, 0) << result.err;
  const json summary = json::parse(result.out);
  EXPECT_GT(summary["intensityRatioVaries"]["Spread"], 0.4);
  EXPECT_THAT(summary["warnings"].dump(),
              AllOf(ContainsRegex("differ from place to place by a factor of [1-9]"),
                    HasSubstr("may have lost its signal"), Not(HasSubstr("differ in contrast")),
                    Not(HasSubstr("e+"))));
}

}  // namespace

}  // namespace mirel
