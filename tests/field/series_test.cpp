#include "field/series.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <atomic>

#include "field/seriesfiles.h"

namespace mirel {

using namespace seriesfiles;
using niftifiles::failure;
using niftifiles::readBytes;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr glm::ivec3 dims{10, 12, 7};

struct Series : testing::Test {
  TemporaryFolder folder;
  nifti::Header header = headerOf(dims, affineOf({3, 3, 4}, 10, {-30, -40, 5}), 5);
  Volume<float> shift = smoothShift(dims);

  std::string write(const std::string& name) const {
    writeImage(folder.file(name), header, [](int t) { return smoothImage(dims, t); });
    return folder.file(name);
  }
  SeriesReport correct(const std::string& in, const SeriesOptions& options = {},
                       const std::string& out = "out.nii.gz") const {
    return correctSeries(in, shift, options, folder.file(out));
  }
};

/// Smallest and largest sample; beyond the reach of these images for the wide types.
std::pair<double, double> range(nifti::DataType type) {
  if (type == nifti::DataType::int8) return {-128, 127};
  if (type == nifti::DataType::uint8) return {0, 255};
  if (type == nifti::DataType::uint16) return {0, 65535};
  return {-1e9, 1e9};
}

}  // namespace

TEST_F(Series, EachVolumeAsIfItWereAlone) {
  const std::string in = write("in.nii");
  for (int axis = 0; axis < 3; ++axis)
    for (const Modulation modulation : {Modulation::off, Modulation::on}) {
      SeriesOptions options;
      options.axis = axis;
      options.modulation = modulation;
      EXPECT_EQ(correct(in, options).volumes, 5);
      nifti::Reader out(folder.file("out.nii.gz"));
      for (int t = 0; t < 5; ++t)
        EXPECT_TRUE(out.readVolume(t) ==
                    correctVolume(smoothImage(dims, t), shift, axis, modulation));
    }
}

TEST_F(Series, OnlyTheVolumesAskedForInTheirOrder) {
  const std::string in = write("in.nii.gz");
  SeriesOptions options;
  options.volumes = {3, 0};
  EXPECT_EQ(correct(in, options).volumes, 2);
  nifti::Reader out(folder.file("out.nii.gz"));
  ASSERT_EQ(out.header().volumes, 2);
  for (const int t : {0, 1})
    EXPECT_TRUE(out.readVolume(t) ==
                correctVolume(smoothImage(dims, t == 0 ? 3 : 0), shift, 1, Modulation::off));
  options.volumes = {5};
  EXPECT_THROW(correct(in, options, "other.nii"), std::out_of_range);
  EXPECT_FALSE(std::filesystem::exists(folder.file("other.nii")));
}

TEST_F(Series, AThreeDimensionalImageIsASeriesOfOne) {
  header.volumes = 1;
  correct(write("in.nii"));
  nifti::Reader out(folder.file("out.nii.gz"));
  EXPECT_EQ(out.header().volumes, 1);
  EXPECT_TRUE(out.readVolume(0) == correctVolume(smoothImage(dims), shift, 1, Modulation::off));
}

TEST_F(Series, DataTypesAndScalingArePreserved) {
  for (const nifti::DataType type :
       {nifti::DataType::uint8, nifti::DataType::int8, nifti::DataType::int16,
        nifti::DataType::uint16, nifti::DataType::int32, nifti::DataType::float32,
        nifti::DataType::float64})
    for (const double slope : {1.0, 0.25}) {
      SCOPED_TRACE(nifti::nameOf(type) + " slope " + std::to_string(slope));
      header.type = type;
      header.slope = slope;
      header.inter = slope == 1 ? 0 : 400;
      const std::string in = write("in.nii.gz");
      const SeriesReport report = correct(in);
      nifti::Reader before(in), after(folder.file("out.nii.gz"));
      EXPECT_EQ(after.header().type, type);
      EXPECT_EQ(after.header().slope, slope);
      EXPECT_EQ(after.header().inter, header.inter);
      EXPECT_EQ(after.header().affine(), before.header().affine());
      EXPECT_EQ(after.header().sformCode, before.header().sformCode);
      EXPECT_EQ(after.header().repetitionTimeSeconds, 2.5);
      const Volume<float> exact = correctVolume(before.readVolume(3), shift, 1, Modulation::off);
      const Volume<float> stored = after.readVolume(3);
      const double step = nifti::isInteger(type) ? slope / 2 : 1e-4;
      const double bottom = range(type).first * slope + header.inter;
      const double top = range(type).second * slope + header.inter;
      for (int n = 0; n < exact.size(); ++n)
        ASSERT_NEAR(stored.data()[n], std::clamp(static_cast<double>(exact.data()[n]), bottom, top),
                    step + 1e-3);
    }
}

TEST_F(Series, FloatOutputHasNoScalingAndNoRounding) {
  header.type = nifti::DataType::int16;
  header.slope = 0.5;
  header.inter = 10;
  const std::string in = write("in.nii");
  SeriesOptions options;
  options.floatOutput = true;
  const SeriesReport report = correct(in, options);
  EXPECT_EQ(report.header.type, nifti::DataType::float32);
  nifti::Reader after(folder.file("out.nii.gz"));
  EXPECT_EQ(after.header().type, nifti::DataType::float32);
  EXPECT_FALSE(after.header().hasScaling());
  EXPECT_TRUE(after.readVolume(2) ==
              correctVolume(nifti::Reader(in).readVolume(2), shift, 1, Modulation::off));
}

TEST_F(Series, TheNumberOfThreadsDoesNotShow) {
  header.type = nifti::DataType::int16;
  header.volumes = 13;
  const std::string in = write("in.nii.gz");
  std::vector<unsigned char> first;
  Volume<float> mean;
  for (const int threads : {1, 2, 3, 16}) {
    SeriesOptions options;
    options.threads = threads;
    options.modulation = Modulation::on;
    const SeriesReport report = correct(in, options);
    if (threads == 1) {
      first = readBytes(folder.file("out.nii.gz"));
      mean = report.meanAfter;
    }
    EXPECT_TRUE(readBytes(folder.file("out.nii.gz")) == first) << threads;
    EXPECT_TRUE(report.meanAfter == mean) << threads;
  }
}

TEST_F(Series, MeansBeforeAndAfter) {
  const std::string in = write("in.nii");
  SeriesOptions options;
  options.meanVolumes = 3;
  const SeriesReport report = correct(in, options);
  Volume<float> before(dims, 0.0f), after(dims, 0.0f);
  for (int t = 0; t < 3; ++t) {
    before += smoothImage(dims, t) / 3.0f;
    after += correctVolume(smoothImage(dims, t), shift, 1, Modulation::off) / 3.0f;
  }
  EXPECT_LT(largestDifference(report.meanBefore, before), 1e-3);
  EXPECT_LT(largestDifference(report.meanAfter, after), 1e-3);
  EXPECT_TRUE(meanOfSeries(in, 3) == report.meanBefore);
  EXPECT_GT(largestDifference(meanOfSeries(in), before), 1);
  EXPECT_TRUE(meanOfSeries(in, 99) == meanOfSeries(in)) << "no more than there are";
  // Resampling is linear in the image: the mean may be corrected instead of the series.
  EXPECT_LT(largestDifference(correctVolume(before, shift, 1, Modulation::off), after), 1e-3);
}

TEST_F(Series, ProgressIsInOrder) {
  header.volumes = 9;
  const std::string in = write("in.nii");
  std::vector<long> seen;
  SeriesOptions options;
  options.threads = 3;
  options.done = [&](double done) { seen.push_back(std::lround(9 * done)); };
  correct(in, options);
  EXPECT_THAT(seen, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9));
}

TEST_F(Series, AnEndFromOutsideLeavesNothing) {
  const std::string in = write("in.nii");
  SeriesOptions options;
  options.threads = 2;
  options.done = [volumes = header.volumes](double done) {
    if (done * volumes > 1.5) throw Cancelled();
  };
  EXPECT_THROW(correct(in, options), Cancelled);
  EXPECT_THAT(folder.names(), ElementsAre("in.nii"));
}

TEST_F(Series, NonFiniteVoxelsCountAsZeroWithAWarning) {
  writeImage(folder.file("in.nii"), header, [](int t) {
    Volume<float> image = smoothImage(dims, t);
    if (t == 1) image.at(3, 4, 5) = NAN;
    if (t == 3) image.at(6, 7, 2) = -INFINITY;
    return image;
  });
  const SeriesReport report = correct(folder.file("in.nii"));
  EXPECT_EQ(report.nonFinite, 2);
  EXPECT_THAT(report.warnings, ElementsAre(HasSubstr("in.nii has 2 values that are NaN")));
  Volume<float> replaced = smoothImage(dims, 1);
  replaced.at(3, 4, 5) = 0;
  nifti::Reader out(folder.file("out.nii.gz"));
  EXPECT_TRUE(out.readVolume(1) == correctVolume(replaced, shift, 1, Modulation::off));
  EXPECT_TRUE(out.readVolume(2) == correctVolume(smoothImage(dims, 2), shift, 1, Modulation::off));
}

TEST_F(Series, ValuesBeyondTheTypeAreCountedWithAWarning) {
  header.type = nifti::DataType::uint8;
  header.volumes = 2;
  writeImage(folder.file("in.nii"), header, [](int t) {
    return filled(dims, [=](int, int y, int) { return y == 6 && t == 1 ? 255 : 200; });
  });
  shift = Volume<float>(dims, 0.0f);
  EXPECT_THAT(correct(folder.file("in.nii")).warnings, ElementsAre());
  // Every voxel of a column that comes closer together grows by the Jacobian.
  shift = filled(dims, [](int, int y, int) { return 0.5 * y - 2; });
  SeriesOptions options;
  options.modulation = Modulation::on;
  const SeriesReport report = correct(folder.file("in.nii"), options);
  EXPECT_GT(report.clamped, 0);
  EXPECT_THAT(report.warnings,
              ElementsAre(AllOf(HasSubstr(std::to_string(report.clamped) + " voxels of "),
                                HasSubstr("in.nii"), HasSubstr("uint8"))));
  options.floatOutput = true;
  const Volume<float> exact = (correct(folder.file("in.nii"), options),
                               nifti::Reader(folder.file("out.nii.gz")).readVolume(0));
  EXPECT_GT(exact.max(), 255.5f);
  EXPECT_THAT(correct(folder.file("in.nii"), options).warnings, ElementsAre());
}

TEST_F(Series, FoldsAreSaidWhereTheyShow) {
  shift = Volume<float>(dims, 0.0f);
  shift.at(4, 6, 3) = 4;
  const std::string in = write("in.nii");
  EXPECT_THAT(correct(in).warnings, ElementsAre());
  SeriesOptions options;
  options.modulation = Modulation::on;
  const SeriesReport report = correct(in, options);
  EXPECT_EQ(report.folded, 1);
  EXPECT_THAT(report.warnings, ElementsAre(HasSubstr("folds at 1 voxel of each volume of " + in)));
  EXPECT_EQ(nifti::Reader(folder.file("out.nii.gz")).readVolume(2).at(4, 7, 3), 0.0f);
}

TEST_F(Series, BadInputsAreOneSentenceAndNoFile) {
  const std::string in = write("in.nii.gz");
  writeImage(folder.file("nan.nii"), header, [](int) { return Volume<float>(dims, NAN); });
  std::vector<unsigned char> bytes = readBytes(in);
  bytes.resize(bytes.size() / 2);
  niftifiles::writeBytes(folder.file("short.nii.gz"), bytes);
  nifti::Header flat = headerOf({10, 1, 7}, header.affine(), 2);
  writeImage(folder.file("flat.nii"), flat, [](int) { return Volume<float>(10, 1, 7, 1.0f); });
  const std::vector<std::string> before = folder.names();

  SeriesOptions options;
  options.threads = 3;
  const auto sentence = [&](const std::string& name, const Volume<float>& map) {
    return failure([&] { correctSeries(folder.file(name), map, options, folder.file("out.nii")); });
  };
  EXPECT_THAT(sentence("none.nii", shift), HasSubstr("none.nii does not exist"));
  EXPECT_THAT(sentence("short.nii.gz", shift), HasSubstr("short.nii.gz is truncated"));
  EXPECT_THAT(sentence("nan.nii", shift), HasSubstr("nan.nii holds no image"));
  EXPECT_THAT(sentence("in.nii.gz", Volume<float>(2, 2, 2, 0.0f)),
              HasSubstr("in.nii.gz has 10 x 12 x 7 voxels, but its map has 2 x 2 x 2"));
  EXPECT_THAT(sentence("flat.nii", Volume<float>(10, 1, 7, 0.0f)),
              HasSubstr("flat.nii has one voxel along its phase-encoding axis"));
  Volume<float> wild = shift;
  wild.at(0, 0, 0) = NAN;
  EXPECT_THAT(sentence("in.nii.gz", wild), HasSubstr("NaN"));
  EXPECT_EQ(folder.names(), before);
  EXPECT_THAT(failure([&] { correct(in, {}, "in.nii.gz"); }), HasSubstr("in.nii.gz"));
  EXPECT_EQ(folder.names(), before);
  EXPECT_THAT(failure([&] { correct(in, {}, "no/out.nii.gz"); }), HasSubstr("out.nii.gz"));
  EXPECT_THAT(failure([&] { correct(in, {}, "out.txt"); }), HasSubstr("out.txt"));
  EXPECT_EQ(folder.names(), before);
}

TEST_F(Series, AFullDiskLeavesNothing) {
  header.volumes = 60;
  const std::string in = write("in.nii");
  SeriesOptions options;
  options.threads = 2;
  {
    const niftifiles::FileSizeLimit limit(50000);
    EXPECT_THAT(failure([&] { correct(in, options); }), HasSubstr("out.nii.gz cannot be written"));
    EXPECT_THAT(failure([&] { correct(in, options, "out.nii"); }),
                HasSubstr("out.nii cannot be written"));
  }
  EXPECT_THAT(folder.names(), ElementsAre("in.nii"));
}

// The high-water mark of the process after a long series is hardly above that after a short one.
TEST(SeriesMemory, DoesNotGrowWithTheVolumes) {
#ifdef MIREL_SANITIZED
  GTEST_SKIP() << "freed memory stays in quarantine";
#endif
  TemporaryFolder folder;
  constexpr glm::ivec3 large{40, 40, 40};
  const auto run = [&](int volumes) {
    nifti::Header header = headerOf(large, affineOf({3, 3, 3}), volumes);
    header.type = nifti::DataType::int16;
    writeImage(folder.file("in.nii"), header, [=](int t) { return smoothImage(large, t % 3); });
    SeriesOptions options;
    options.threads = 2;
    correctSeries(folder.file("in.nii"), smoothShift(large), options, folder.file("out.nii"));
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;  // kilobytes
  };
  const long few = run(10);
  const long many = run(250);
  EXPECT_LT(many - few, 8 * 1024) << "240 volumes of 256 KB in floats are 60 MB";
}

}  // namespace mirel
