#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>

#include "cli/fieldfiles.h"

namespace mirel {

// "mirel field --complex", as a user runs it: two echoes of the simulated head in its true field,
// as complex numbers and as the same real and imaginary parts.

namespace {

using testing::AllOf;
using testing::HasSubstr;

class ComplexNumbersCommand : public FieldFiles {
 protected:
  static constexpr double seconds[] = {0.005, 0.012};

  static std::vector<Volume<float>> partsOf(int echo) {
    const Volume<float> hz = imageIn(field()), head = imageIn(truth("undistorted_epi.nii.gz"));
    std::vector<Volume<float>> parts(2, Volume<float>(hz.dimensions()));
    for (int n = 0; n < hz.size(); ++n) {
      const double angle = 2 * std::numbers::pi * seconds[echo] * hz.data()[n] + 0.7;
      parts[0].data()[n] = static_cast<float>(head.data()[n] * std::cos(angle));
      parts[1].data()[n] = static_cast<float>(head.data()[n] * std::sin(angle));
    }
    return parts;
  }
  std::string part(const std::string& name, const Volume<float>& values) const {
    int n = 0;
    return changed(field(), name, [&](float) { return values.data()[n++]; });
  }
  // The parts side by side along x as numbers of one part, whose header is then changed.
  std::string complexImage(const std::string& name, const std::vector<int>& echoes,
                           bool twice = false) const {
    nifti::Header header = nifti::Reader(field()).header();
    const auto side = static_cast<std::int16_t>(header.dims.x);
    header.dims.x *= 2;
    header.volumes = static_cast<int>(echoes.size());
    if (twice) header.type = nifti::DataType::float64;
    nifti::Writer writer(file(name), header);
    for (const int echo : echoes) {
      const std::vector<Volume<float>> parts = partsOf(echo);
      Volume<float> both(header.dims);
      for (int n = 0; n < both.size(); ++n)
        both.data()[n] = parts[static_cast<std::size_t>(n % 2)].data()[n / 2];
      writer.write(both);
    }
    writer.finish();
    const std::int16_t type = twice ? 1792 : 32, bits = twice ? 128 : 64;
    std::fstream bytes(file(name), std::ios::in | std::ios::out | std::ios::binary);
    for (const auto& [at, value] : {std::pair{42, side}, {70, type}, {72, bits}})
      bytes.seekp(at).write(reinterpret_cast<const char*>(&value), sizeof(value));
    return file(name);
  }
  ProgramResult make(std::vector<std::string> words, const std::string& name = "r.nii.gz") const {
    words.insert(words.begin(), "field");
    words.insert(words.end(), {"-o", file(name)});
    return runMirel(words);
  }
};

TEST_F(ComplexNumbersCommand, GiveTheFieldOfTheirPartsBitForBit) {
  std::vector<std::string> reals, imaginaries;
  for (const int echo : {0, 1}) {
    const std::vector<Volume<float>> parts = partsOf(echo);
    reals.push_back(part("re" + std::to_string(echo) + ".nii.gz", parts[0]));
    imaginaries.push_back(part("im" + std::to_string(echo) + ".nii.gz", parts[1]));
  }
  ASSERT_EQ(make({"--from-real", reals[0], reals[1], "--imaginary", imaginaries[0], imaginaries[1],
                  "--echo-times", "0.005", "0.012"},
                 "parts.nii.gz")
                .status,
            0);
  EXPECT_LT(rmsInBrain(imageIn(file("parts.nii.gz")), imageIn(field())), 1);
  const std::string parts = textOf(file("parts.nii.gz"));
  const std::string one = complexImage("one.nii", {0}), two = complexImage("two.nii", {1}, true),
                    both = complexImage("both.nii", {0, 1});
  sidecar("one.json", {{"EchoTime", 0.005}});
  sidecar("two.json", {{"EchoTime", 0.012}});
  const ProgramResult files = make({"--complex", one, two});
  ASSERT_EQ(files.status, 0) << files.err;
  EXPECT_TRUE(textOf(file("r.nii.gz")) == parts);
  EXPECT_THAT(files.err, AllOf(HasSubstr("those of the complex numbers in " + two),
                               HasSubstr("the echoes at 5 and 12 ms")));
  sidecar("both.json", {{"EchoTime", {0.005, 0.012}}});
  const ProgramResult volumes = make({"--complex", both}, "s.nii.gz");
  ASSERT_EQ(volumes.status, 0) << volumes.err;
  EXPECT_TRUE(textOf(file("s.nii.gz")) == parts);
  const auto record = nlohmann::json::parse(textOf(file("s.json")));
  EXPECT_EQ(record.at("Sources").size(), 2U);
  EXPECT_EQ(record.at("Mirel").at("Phases").at(0).at("ComplexEchoes"), 2);
  ASSERT_EQ(make({"--complex", both, "--echo-times", "0.005", "0.012"}, "t.nii.gz").status, 0);
  EXPECT_TRUE(textOf(file("t.nii.gz")) == parts);
}

TEST_F(ComplexNumbersCommand, VoxelsThatAreNotFiniteAreCounted) {
  const std::string two = complexImage("two.nii", {0, 1});
  sidecar("two.json", {{"EchoTime", {0.005, 0.012}}});
  EXPECT_THAT(make({"--complex", two}).err, testing::Not(HasSubstr("NaN or infinite")));
  // Real parts of two voxels of the second echo, and an imaginary one of them, too.
  const nifti::Header header = nifti::Reader(field()).header();
  const auto voxels = static_cast<std::streamoff>(header.dims.x) * header.dims.y * header.dims.z;
  const float bad[] = {std::numeric_limits<float>::quiet_NaN(),
                       std::numeric_limits<float>::infinity()};
  std::fstream bytes(file("two.nii"), std::ios::in | std::ios::out | std::ios::binary);
  bytes.seekp(352 + 8 * (voxels + 100)).write(reinterpret_cast<const char*>(bad), 8);
  bytes.seekp(352 + 8 * (voxels + 200)).write(reinterpret_cast<const char*>(bad), 4);
  bytes.close();
  const ProgramResult result = make({"--complex", two});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.err, HasSubstr("Warning: " + two +
                                    ", echo 2, has 2 voxels that are NaN or "
                                    "infinite; they count as no phase"));
}

TEST_F(ComplexNumbersCommand, FaultsAreOneSentence) {
  const std::string one = complexImage("one.nii", {0}), both = complexImage("both.nii", {0, 1});
  EXPECT_THAT(refusal(make({"--complex", one})), HasSubstr("is of one echo"));
  EXPECT_THAT(refusal(make({"--complex", both})), HasSubstr("has no sidecar"));
  sidecar("both.json", {{"EchoTime", 0.005}});
  EXPECT_THAT(refusal(make({"--complex", both})), HasSubstr("no list of 2 times, one per volume"));
  EXPECT_THAT(refusal(make({"--complex", one, one})), HasSubstr("is given for two echoes"));
  EXPECT_THAT(refusal(make({"--complex", field()})), HasSubstr("no complex numbers"));
  EXPECT_EQ(make({"--complex", both, "--from-phase", one}).status, 2);
  const std::string end = " s, between which no phase grows; give them in seconds with";
  sidecar("both.json", {{"EchoTime", {0.005, 0.005}}});
  EXPECT_THAT(refusal(make({"--complex", both})),
              HasSubstr(file("both.json") + " has the echo times 0.005 s and 0.005" + end));
  sidecar("one.json", {{"EchoTime", 0.012}});
  sidecar("both.json", {{"EchoTime", {0.005, 0.012}}});
  EXPECT_THAT(refusal(make({"--complex", both, one})),
              HasSubstr(file("both.json") + " and " + file("one.json") +
                        " have the echo times 0.005 s, 0.012 s and 0.012" + end));
}

TEST_F(ComplexNumbersCommand, AreRefusedByAllOthers) {
  const std::string one = complexImage("one.nii", {0});
  const std::string sentence = "one.nii has the data type 32 (COMPLEX64), which is supported only";
  EXPECT_THAT(refusal(make({"--from-phase", one, "--echo-times", "0.01", "0.02"})),
              HasSubstr(sentence));
  EXPECT_THAT(correct({"--apply", one}).err, HasSubstr(sentence));
  EXPECT_THAT(apply("--field", field(), one).err, HasSubstr(sentence));
  EXPECT_THAT(apply("--field", one, ap()).err, HasSubstr(sentence));
  EXPECT_THAT(runMirel({"info", one}).err, HasSubstr(sentence));
}

}  // namespace

}  // namespace mirel
