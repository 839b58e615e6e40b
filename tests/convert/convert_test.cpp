#include "convert/convert.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <glm/gtc/matrix_transform.hpp>
#include <numeric>

#include "convert/geometryfile.h"
#include "files/mydmr.h"
#include "files/myfmr.h"
#include "nifti/image.h"
#include "support/niftifiles.h"

namespace mirel {

using namespace niftifiles;
using nifti::DataType;
using testing::Contains;
using testing::HasSubstr;

namespace {

/// Two volumes of 2 x 3 x 4 samples.
template <typename T>
Raw image(DataType type, const std::vector<T>& values) {
  Raw raw;
  raw.dim = {4, 2, 3, 4, 2};
  raw.datatype = static_cast<int>(type);
  raw.sampleBytes = sizeof(T);
  raw.data = samples(values);
  return raw;
}

template <typename T>
std::vector<T> ramp(T first) {
  std::vector<T> values(48);
  std::iota(values.begin(), values.end(), first);
  return values;
}

void expectSameImage(const std::string& a, const std::string& b) {
  nifti::Reader left(a);
  nifti::Reader right(b);
  const nifti::Header& h = left.header();
  const nifti::Header& k = right.header();
  ASSERT_EQ(h.dims, k.dims);
  ASSERT_EQ(h.volumes, k.volumes);
  EXPECT_EQ(h.affine(), k.affine());
  EXPECT_EQ(h.voxelSizeMm, k.voxelSizeMm);
  EXPECT_EQ(h.qformCode, k.qformCode);
  EXPECT_EQ(h.sformCode, k.sformCode);
  EXPECT_EQ(h.qform, k.qform);
  EXPECT_EQ(h.repetitionTimeSeconds, k.repetitionTimeSeconds);
  EXPECT_EQ(h.description, k.description);
  EXPECT_EQ(h.version, k.version);
  for (int t = 0; t < h.volumes; t++)
    EXPECT_TRUE(left.readVolume(t) == right.readVolume(t)) << "volume " << t;
}

struct Convert : testing::TestWithParam<const char*> {
  TemporaryFolder folder;
  std::string in = folder.file("in.nii.gz");
  std::string project = folder.file(std::string("run.1.") + GetParam());
  std::string out = folder.file("out.nii");

  void roundTrip(const Raw& raw) {
    writeBytes(in, gzipped(bytesOf(raw)));
    convert::convert(in, project);
    convert::convert(project, out);
    expectSameImage(in, out);
  }
  int dataType() const {
    return hasFmr() ? FMR(project, false).DataType.value() : DMR(project, false).DataType.value();
  }
  bool hasFmr() const { return std::string(GetParam()) == "fmr"; }
  DataType typeBack() const { return nifti::Reader(out).header().type; }
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Projects, Convert, testing::Values("fmr", "dmr"),
                         [](const auto& test) { return std::string(test.param); });

TEST_P(Convert, Int16StaysInteger) {
  roundTrip(image(DataType::int16, ramp<std::int16_t>(-20)));
  EXPECT_EQ(dataType(), 1);
  EXPECT_EQ(typeBack(), DataType::int16);
}

TEST_P(Convert, LimitsOfInt16AreExact) {
  std::vector<std::int16_t> values = ramp<std::int16_t>(0);
  values[5] = 32767;
  values[6] = -32768;
  roundTrip(image(DataType::int16, values));
  EXPECT_EQ(dataType(), 1);
}

TEST_P(Convert, OtherIntegersStayIntegersWhereTheyFit) {
  roundTrip(image(DataType::uint16, ramp<std::uint16_t>(32700)));
  EXPECT_EQ(dataType(), 1);
  EXPECT_EQ(typeBack(), DataType::uint16);
  roundTrip(image(DataType::int32, ramp<std::int32_t>(-40)));
  EXPECT_EQ(dataType(), 1);
  EXPECT_EQ(typeBack(), DataType::int32);
  roundTrip(image(DataType::uint8, ramp<std::uint8_t>(200)));
  EXPECT_EQ(dataType(), 1);
}

TEST_P(Convert, LargeIntegersBecomeFloats) {
  roundTrip(image(DataType::uint16, ramp<std::uint16_t>(32740)));  // up to 32787
  EXPECT_EQ(dataType(), 2);
  EXPECT_EQ(typeBack(), DataType::uint16);
  roundTrip(image(DataType::int32, ramp<std::int32_t>(-32800)));
  EXPECT_EQ(dataType(), 2);
}

TEST_P(Convert, FloatsStayFloats) {
  std::vector<float> values = ramp<float>(-3.7F);
  values[3] = 1e30F;
  values[4] = 1e-40F;
  roundTrip(image(DataType::float32, values));
  EXPECT_EQ(dataType(), 2);
  EXPECT_EQ(typeBack(), DataType::float32);
  roundTrip(image(DataType::float32, ramp<float>(0)));  // whole numbers, too
  EXPECT_EQ(dataType(), 2);
}

TEST_P(Convert, ScaledIntegersBecomeFloats) {
  Raw raw = image(DataType::int16, ramp<std::int16_t>(-20));
  raw.slope = 0.37;
  raw.inter = 5;
  roundTrip(raw);
  EXPECT_EQ(dataType(), 2);
  EXPECT_EQ(typeBack(), DataType::float32);
  raw.slope = 2;  // whole numbers, too: a slope says that the data are not counts
  roundTrip(raw);
  EXPECT_EQ(dataType(), 2);
  raw.slope = 1;
  raw.inter = 0;
  roundTrip(raw);
  EXPECT_EQ(dataType(), 1);
}

TEST_P(Convert, SwappedAndVersion2) {
  Raw raw = image(DataType::int16, ramp<std::int16_t>(-20));
  raw.swapped = true;
  roundTrip(raw);
  raw.version = 2;
  raw.sform[0][0] = -2.00000000123;  // only version 2 holds it
  roundTrip(raw);
}

TEST_P(Convert, EveryOrientation) {
  int axes[3] = {0, 1, 2};
  do {
    for (int flips = 0; flips < 8; flips++) {
      Raw raw = image(DataType::int16, ramp<std::int16_t>(-20));
      const double size[3] = {2, 2.5, 3};
      for (auto& row : raw.sform)
        for (int d = 0; d < 3; d++) row[d] = 0;
      for (int d = 0; d < 3; d++)
        raw.sform[axes[d]][d] = (flips >> d & 1) != 0 ? -size[d] : size[d];
      roundTrip(raw);
    }
  } while (std::next_permutation(axes, axes + 3));
}

TEST_P(Convert, ObliqueQformAndNoFormAtAll) {
  Raw raw = image(DataType::int16, ramp<std::int16_t>(-20));
  raw.sformCode = 0;
  raw.qformCode = 1;
  raw.quatern[0] = 0.1234567;
  raw.quatern[1] = -0.2345678;
  raw.quatern[2] = 0.3456789;
  raw.quatern[3] = -87.654321;
  raw.pixdim[0] = -1;
  raw.pixdim[4] = 1.23456;
  roundTrip(raw);
  raw.sformCode = 3;  // both, and not the same
  roundTrip(raw);
  raw.sformCode = 0;
  raw.qformCode = 0;
  roundTrip(raw);
}

TEST_P(Convert, WithoutItsSidecarThePositionBlockIsUsed) {
  Raw raw = image(DataType::int16, ramp<std::int16_t>(-20));
  raw.sformCode = 0;
  raw.qformCode = 1;
  raw.quatern[0] = 0.1234567;
  raw.quatern[3] = -87.654321;
  writeBytes(in, bytesOf(raw));
  convert::convert(in, project);
  std::filesystem::remove(folder.file("run.1_geometry.json"));
  const convert::ConvertReport report = convert::convert(project, out);
  EXPECT_THAT(report.notes, testing::IsEmpty());
  const nifti::Header before = nifti::Reader(in).header();
  const nifti::Header after = nifti::Reader(out).header();
  EXPECT_EQ(after.sformCode, 1);
  EXPECT_EQ(after.qformCode, 1);
  for (int c = 0; c < 4; c++)
    for (int r = 0; r < 3; r++) {
      EXPECT_NEAR(after.affine()[c][r], before.affine()[c][r], 5e-4);
      EXPECT_NEAR(after.qformMatrix()[c][r], before.affine()[c][r], 5e-4);
    }
}

TEST_P(Convert, AProjectThatWasMovedDoesNotTakeItsOldGeometry) {
  writeBytes(in, bytesOf(image(DataType::int16, ramp<std::int16_t>(-20))));
  convert::convert(in, project);
  std::string text = textOf(project);
  const std::size_t at = text.find("Slice1CenterX:");
  const std::size_t end = text.find('\n', at);
  text.replace(at, end - at, "Slice1CenterX: -50");
  const std::size_t at2 = text.find("SliceNCenterX:");
  text.replace(at2, text.find('\n', at2) - at2, "SliceNCenterX: -50");
  writeText(project, text);
  convert::convert(project, out);
  EXPECT_NEAR(nifti::Reader(out).header().affine()[3].x, 51, 1e-4);
}

TEST_P(Convert, ACorrectedCopyHasTheGeometryOfItsSource) {
  Raw raw = image(DataType::int16, ramp<std::int16_t>(-20));
  raw.sform[0][3] = 90.1234567;
  writeBytes(in, bytesOf(raw));
  convert::convert(in, project);
  const std::string copy = folder.file(std::string("run.1_undist.") + GetParam());
  if (hasFmr())
    FMR(project, true).SaveAs(copy);
  else
    DMR(project, true).SaveAs(copy);
  convert::convert(copy, out);
  expectSameImage(in, out);
}

TEST_P(Convert, AProjectWithoutPositionKeepsItsVoxelSizes) {
  writeBytes(in, bytesOf(image(DataType::int16, ramp<std::int16_t>(-20))));
  convert::convert(in, project);
  std::string text = textOf(project);
  text.erase(text.find("RowDirX:"), text.find("NRows:") - text.find("RowDirX:"));
  writeText(project, text);
  const convert::ConvertReport report = convert::convert(project, out);
  EXPECT_THAT(report.notes, Contains(HasSubstr("no usable position block")));
  const nifti::Header h = nifti::Reader(out).header();
  EXPECT_EQ(h.sformCode, 0);
  EXPECT_EQ(h.qformCode, 0);
  EXPECT_EQ(h.voxelSizeMm, glm::dvec3(2, 2.5, 3));
}

TEST_P(Convert, HeaderSaysWhatTheImageSays) {
  Raw raw = image(DataType::int16, ramp<std::int16_t>(-20));
  raw.pixdim[4] = 2.0004;
  writeBytes(in, bytesOf(raw));
  const convert::ConvertReport report = convert::convert(in, project);
  EXPECT_EQ(report.written.size(), 3U);
  const auto check = [&](const ProjectHeader& p) {
    EXPECT_EQ(p.NrOfVolumes.value(), 2);
    EXPECT_EQ(p.ResolutionX.value(), 2);
    EXPECT_EQ(p.ResolutionY.value(), 3);
    EXPECT_EQ(p.NrOfSlices.value(), 4);
    EXPECT_EQ(p.TR.value(), 2000);
    EXPECT_EQ(p.InterSliceTime.value(), 500);
    EXPECT_EQ(p.Prefix.value(), "run.1");
    EXPECT_EQ(p.InplaneResolutionX.value(), 2.0F);
    EXPECT_EQ(p.InplaneResolutionY.value(), 2.5F);
    EXPECT_EQ(p.SliceThickness.value(), 3.0F);
    EXPECT_EQ(p.SliceGap.value(), 0.0F);
    EXPECT_TRUE(p.SliceGap.isSet());
    EXPECT_EQ(p.RowDirX.value(), 1.0F);
    EXPECT_EQ(p.ColDirY.value(), -1.0F);
    EXPECT_EQ(p.FoVRows.value(), 7.5F);
    EXPECT_EQ(p.PosSliceThickness.value(), 3.0F);
    EXPECT_EQ(p.FirstDataSourceFile.value(), "in.nii.gz");
    EXPECT_EQ(p.LeftRightConvention.value(), "Radiological");
  };
  if (hasFmr()) {
    check(FMR(project, false));
    EXPECT_EQ(FMR(project, false).DataStorageFormat.value(), 2);
  } else {
    check(DMR(project, false));
    EXPECT_EQ(DMR(project, false).DataStorageFormat.value(), 3);
  }
}

TEST_P(Convert, TheHeaderReadsAndPrintsTheSameAgain) {
  writeBytes(in, bytesOf(image(DataType::int16, ramp<std::int16_t>(-20))));
  convert::convert(in, project);
  const std::string first = textOf(project);
  const std::string copy = folder.file(std::string("run.1.copy.") + GetParam());
  if (hasFmr())
    FMR(project, true).SaveAs(copy);
  else
    DMR(project, true).SaveAs(copy);
  std::string second = textOf(copy);
  second.erase(second.find(".copy"), 5);
  EXPECT_EQ(first, second);
}

TEST_P(Convert, ASecondConversionReplacesTheFirst) {
  roundTrip(image(DataType::int16, ramp<std::int16_t>(-20)));
  roundTrip(image(DataType::float32, ramp<float>(0.5F)));
  EXPECT_EQ(folder.names().size(), 5U);
}

TEST(ConvertGradients, BesideTheImageAndBack) {
  TemporaryFolder folder;
  writeBytes(folder.file("a.nii"), bytesOf(image(DataType::int16, ramp<std::int16_t>(0))));
  const std::string bvec = "0 0.577323\n0 -0.577353\n0 0.577375\n";
  const std::string bval = "0 2500\n";
  writeText(folder.file("a.bvec"), bvec);
  writeText(folder.file("a.bval"), bval);
  EXPECT_THAT(convert::convert(folder.file("a.nii"), folder.file("b.dmr")).notes,
              testing::IsEmpty());
  const DMR project(folder.file("b.dmr"), true);
  ASSERT_TRUE(project.GradientInformationAvailable.value());
  ASSERT_EQ(project.gradientDirections.size(), 2U);
  EXPECT_EQ(project.gradientDirections[1], glm::vec3(0.577323F, -0.577353F, 0.577375F));
  EXPECT_EQ(project.gradientWeights, (std::vector<float>{0, 2500}));
  const convert::ConvertReport report =
      convert::convert(folder.file("b.dmr"), folder.file("c.nii.gz"));
  EXPECT_EQ(report.written.size(), 3U);
  EXPECT_EQ(textOf(folder.file("c.bvec")), bvec);
  EXPECT_EQ(textOf(folder.file("c.bval")), bval);
}

TEST(ConvertGradients, NamedFiles) {
  TemporaryFolder folder;
  writeBytes(folder.file("a.nii"), bytesOf(image(DataType::int16, ramp<std::int16_t>(0))));
  writeText(folder.file("x.txt"), "1 0\n0 1\n0 0\n");
  writeText(folder.file("y.txt"), "700 800");
  convert::convert(folder.file("a.nii"), folder.file("b.dmr"),
                   {folder.file("x.txt"), folder.file("y.txt")});
  EXPECT_EQ(DMR(folder.file("b.dmr"), false).gradientWeights, (std::vector<float>{700, 800}));
}

TEST(ConvertGradients, NoneAtAllIsNoted) {
  TemporaryFolder folder;
  writeBytes(folder.file("a.nii"), bytesOf(image(DataType::int16, ramp<std::int16_t>(0))));
  const convert::ConvertReport report =
      convert::convert(folder.file("a.nii"), folder.file("b.dmr"));
  EXPECT_THAT(report.notes, Contains(HasSubstr("no gradient table")));
  const DMR project(folder.file("b.dmr"), false);
  EXPECT_TRUE(project.GradientInformationAvailable.isSet());
  EXPECT_FALSE(project.GradientInformationAvailable.value());
}

TEST(ConvertGradients, AnFmrHasNoPlaceForThem) {
  TemporaryFolder folder;
  writeBytes(folder.file("a.nii"), bytesOf(image(DataType::int16, ramp<std::int16_t>(0))));
  writeText(folder.file("a.bvec"), "1 0\n0 1\n0 0\n");
  writeText(folder.file("a.bval"), "700 800");
  EXPECT_THAT(convert::convert(folder.file("a.nii"), folder.file("b.fmr")).notes,
              Contains(HasSubstr("are not kept")));
}

TEST(ConvertMap, TakesTheGeometryOfItsReference) {
  TemporaryFolder folder;
  Raw raw = image(DataType::int16, ramp<std::int16_t>(0));
  raw.slope = 2;
  writeBytes(folder.file("a.nii"), bytesOf(raw));
  convert::convert(folder.file("a.nii"), folder.file("b.fmr"));
  Volume<float> map(2, 3, 4, -0.125F);
  map.at(1, 2, 3) = 2.75F;
  for (const char* reference : {"a.nii", "b.fmr"}) {
    convert::convertMap(map, "b_vdm.map", folder.file(reference), folder.file("vdm.nii.gz"));
    nifti::Reader back(folder.file("vdm.nii.gz"));
    EXPECT_TRUE(back.readVolume(0) == map);
    EXPECT_EQ(back.header().type, DataType::float32);
    EXPECT_EQ(back.header().volumes, 1);
    EXPECT_EQ(back.header().affine(), nifti::Reader(folder.file("a.nii")).header().affine());
  }
}

TEST(ConvertMap, OtherGridsAndOverwritingAreRefused) {
  TemporaryFolder folder;
  writeBytes(folder.file("a.nii"), bytesOf(image(DataType::int16, ramp<std::int16_t>(0))));
  EXPECT_THAT(failure([&] {
                convert::convertMap(Volume<float>(2, 3, 5, 0.0F), "b_vdm.map", folder.file("a.nii"),
                                    folder.file("vdm.nii"));
              }),
              HasSubstr("b_vdm.map has 2 x 3 x 5 voxels, but"));
  EXPECT_THAT(failure([&] {
                convert::convertMap(Volume<float>(2, 3, 4, 0.0F), "b_vdm.map", folder.file("a.nii"),
                                    folder.file("a.nii"));
              }),
              HasSubstr("would overwrite an input"));
  EXPECT_THAT(failure([&] {
                convert::convertMap(Volume<float>(2, 3, 4, 0.0F), "b_vdm.map", folder.file("a.txt"),
                                    folder.file("vdm.nii"));
              }),
              HasSubstr("is no reference"));
}

}  // namespace mirel
