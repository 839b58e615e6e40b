#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <numbers>

#include "cli/fieldfiles.h"

namespace mirel {

// "mirel field --from-real", as a user runs it: complex images of two echoes made of the simulated
// head and its true field.

namespace {

using testing::AllOf;
using testing::HasSubstr;

class ComplexPartsCommand : public FieldFiles {
 protected:
  static std::string nameOf(int echo, const std::string& part) {
    return "sub-1_echo-" + std::to_string(echo) + "_part-" + part + "_MEGRE.nii.gz";
  }
  // Real and imaginary part at a time after the excitation; the name of the real one.
  std::string echo(int number, double seconds, double factor = 1) const {
    const Volume<float> hz = imageIn(field()), head = imageIn(truth("undistorted_epi.nii.gz"));
    for (const bool isReal : {true, false}) {
      int n = 0;
      changed(field(), nameOf(number, isReal ? "real" : "imag"), [&](float) {
        const double angle = 2 * std::numbers::pi * seconds * hz.data()[n] + 0.7;
        return static_cast<float>(factor * head.data()[n++] *
                                  (isReal ? std::cos(angle) : std::sin(angle)));
      });
    }
    sidecar("sub-1_echo-" + std::to_string(number) + "_part-real_MEGRE.json",
            {{"EchoTime", seconds}});
    return file(nameOf(number, "real"));
  }
  ProgramResult make(const std::vector<std::string>& from) const {
    std::vector<std::string> words = {"field"};
    words.insert(words.end(), from.begin(), from.end());
    words.insert(words.end(), {"-o", file("r.nii.gz")});
    return runMirel(words);
  }
};

TEST_F(ComplexPartsCommand, BecomeAField) {
  const std::string one = echo(1, 0.005), two = echo(2, 0.012);
  const ProgramResult result = make({"--from-real", one, two});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_LT(rmsInBrain(imageIn(file("r.nii.gz")), imageIn(field())), 1);
  EXPECT_THAT(result.err, AllOf(HasSubstr("the phases are those of " + one + " as real and " +
                                          file(nameOf(1, "imag")) + " as imaginary part"),
                                HasSubstr("the echoes at 5 and 12 ms"),
                                testing::Not(HasSubstr("could as well be"))));
  const auto record = nlohmann::json::parse(textOf(file("r.json")));
  EXPECT_EQ(record.at("Sources").size(), 6U);
  const auto& phases = record.at("Mirel").at("Phases");
  EXPECT_EQ(phases.at(1).at("File"), two);
  EXPECT_EQ(phases.at(1).at("ImaginaryPart").at("File"), file(nameOf(2, "imag")));
  EXPECT_EQ(phases.at(1).at("ImaginaryPart").at("SHA256").get<std::string>().size(), 64U);
}

// As by a slope of -1 in one of the headers: every difference is half a turn off.
TEST_F(ComplexPartsCommand, AnEchoOfTheOppositeSignIsDoubted) {
  const std::string one = echo(1, 0.005);
  const ProgramResult turned = make({"--from-real", one, echo(2, 0.012, -1)});
  EXPECT_EQ(turned.status, 0) << turned.err;
  EXPECT_THAT(turned.err, AllOf(HasSubstr("Warning: the median in the head could as well be "),
                                HasSubstr("off everywhere by a turn, 142.9 Hz")));
}

TEST_F(ComplexPartsCommand, OfOtherNamesAreGiven) {
  const std::string one = echo(1, 0.005), two = echo(2, 0.012);
  ASSERT_EQ(make({"--from-real", one, two}).status, 0);
  const std::string named = textOf(file("r.nii.gz"));
  std::filesystem::rename(one, file("a.nii.gz"));
  std::filesystem::rename(two, file("b.nii.gz"));
  std::filesystem::rename(file(nameOf(1, "imag")), file("c.nii.gz"));
  std::filesystem::rename(file(nameOf(2, "imag")), file("d.nii.gz"));
  const ProgramResult result =
      make({"--from-real", file("a.nii.gz"), file("b.nii.gz"), "--imaginary", file("c.nii.gz"),
            file("d.nii.gz"), "--echo-times", "0.005", "0.012"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(textOf(file("r.nii.gz")) == named);
}

TEST_F(ComplexPartsCommand, WhatIsNoPairOfPartsIsRefused) {
  const std::string one = echo(1, 0.005), two = echo(2, 0.012), imaginary = file(nameOf(1, "imag")),
                    other = file(nameOf(2, "imag"));
  EXPECT_THAT(refusal(make({"--from-real", one})), HasSubstr("is of one echo"));
  EXPECT_THAT(refusal(make({"--from-real", one, imaginary})),
              HasSubstr(imaginary + " is no real part by its name"));
  EXPECT_THAT(refusal(make({"--from-real", imaginary, two, "--imaginary", one, two})),
              HasSubstr(imaginary + " is an imaginary part by its name, not a real part"));
  EXPECT_THAT(refusal(make({"--from-real", one, two, "--imaginary", imaginary})),
              HasSubstr("1 imaginary part is given for 2 real ones"));
  const std::string head = bare(truth("undistorted_epi.nii.gz"), "head.nii.gz");
  EXPECT_THAT(refusal(make({"--from-real", one, head, "--imaginary", imaginary, other})),
              HasSubstr("head.nii.gz has no values below 0"));
  const std::string copy = bare(imaginary, "copy.nii.gz");
  EXPECT_THAT(refusal(make({"--from-real", copy, two, "--imaginary", imaginary, other})),
              HasSubstr("holds the same values as " + copy));
  sidecar("copy.json", {{"ImageType", {"ORIGINAL", "IMAGINARY"}}});
  EXPECT_THAT(refusal(make({"--from-real", copy, two, "--imaginary", imaginary, other})),
              HasSubstr("by the ImageType in " + file("copy.json")));
  EXPECT_THAT(refusal(make({"--from-real", one, two, "--imaginary", other, imaginary})),
              HasSubstr(other + " is of echo 2 by its name"));
  const std::string unnamed = bare(other, "unnamed.nii.gz");
  sidecar("unnamed.json", {{"EchoTime", 0.012}});
  EXPECT_THAT(refusal(make({"--from-real", one, two, "--imaginary", unnamed, other})),
              HasSubstr("unnamed.nii.gz has the EchoTime 0.012"));
  EXPECT_THAT(refusal(make({"--from-real", one, two, "--imaginary", imaginary, imaginary})),
              HasSubstr("is given for two echoes"));
  std::filesystem::remove(imaginary);
  EXPECT_THAT(refusal(make({"--from-real", one, two})),
              HasSubstr("has no imaginary part (sub-1_echo-1_part-imag_MEGRE) beside it"));
  EXPECT_EQ(make({"--from-phase", one, "--imaginary", two}).status, 2);
}

}  // namespace

}  // namespace mirel
