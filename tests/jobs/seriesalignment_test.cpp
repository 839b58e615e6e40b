#include "jobs/seriesalignment.h"

#include <gtest/gtest.h>

#include <cmath>

#include "field/fieldhz.h"
#include "numerics/fft/fftw.h"
#include "phantom/gridheader.h"
#include "phantom/phantom.h"

namespace mirel {

namespace {

using Outcome = AlignmentRecord::Outcome;

PhantomOptions optionsFor(const RigidMotion& motion) {
  PhantomOptions options;
  options.size = {48, 56, 32};
  options.voxelMm = glm::dvec3(4.0);
  options.readoutSeconds = 0.04;
  options.maxShiftVoxels = 3;
  options.volumes = 1;
  options.seriesMotion = motion;
  options.seriesEchoSeconds = 0.03;
  return options;
}

/// A simulated session whose true field and undistorted image are known.
struct Session {
  explicit Session(const RigidMotion& motion) : phantom(makePhantom(optionsFor(motion))) {
    const PhantomGrid onGrid{phantom.options.size, phantom.options.voxelMm};
    grid = gridOf(headerOn(onGrid, nifti::DataType::float32, 1, 2, ""));
    field = {phantom.fieldHz, grid.affine, "the field"};
  }

  PlacedImage reference() const { return {phantom.truth, grid.affine, "the reference"}; }

  UnalignedSeries series() const {
    return {phantom.seriesVolume(0), grid, "the series", 1, Modulation::on, [this](const Grid& at) {
              return shiftVoxels(field, at, {1, -1}, 0.04);
            }};
  }

  Phantom phantom;
  Grid grid;
  FieldHz field;
};

class SeriesAlignment : public testing::Test {
 protected:
  static void SetUpTestSuite() { bindEngine(); }
};

}  // namespace

TEST_F(SeriesAlignment, LooksAtTheFieldWhereTheHeadWasBefore) {
  const RigidMotion motion{{3, -2, 1}, {10, -20, 30}};
  const glm::dvec3 centre(7, 8, -9);
  glm::dmat4 affine(2.0);
  affine[3] = {-20, 30, 40, 1};
  const Grid before = beforeMotion({{4, 5, 6}, affine}, motion, centre);
  EXPECT_EQ(before.dims, glm::ivec3(4, 5, 6));
  for (const glm::dvec4 voxel : {glm::dvec4(0, 0, 0, 1), glm::dvec4(3, 1, 2, 1)}) {
    const glm::dvec3 now(affine * voxel), was(before.affine * voxel);
    EXPECT_LT(glm::length(motion.after(was - centre) + centre - now), 1e-10);
  }
}

TEST_F(SeriesAlignment, CorrectsAndAlignsInTurn) {
  const RigidMotion motion{{4, -5, 3}, {4, 3, -5}};
  const Session session(motion);
  const RigidAligner aligner(session.reference());
  const AlignmentRecord found = alignSeries(aligner, session.series());
  EXPECT_EQ(found.outcome, Outcome::moved);
  EXPECT_GT(found.rounds, 1);
  const double error = aligner.distanceMm(found.fit.motion, motion);
  EXPECT_LT(error, 0.2);
  // Once, with the field where the head was before, is not enough.
  UnalignedSeries once = session.series();
  once.shiftOn = [&](const Grid&) { return session.series().shiftOn(session.grid); };
  EXPECT_GT(aligner.distanceMm(alignSeries(aligner, once).fit.motion, motion), 1.5 * error);
}

TEST_F(SeriesAlignment, TakesNoMotionWhereThereIsNone) {
  const Session session({});
  const AlignmentRecord found = alignSeries(RigidAligner(session.reference()), session.series());
  EXPECT_EQ(found.outcome, Outcome::notMoved);
  EXPECT_LT(found.displacementMm, 4.0 / 16);
  EXPECT_FALSE(found.moved());
}

TEST_F(SeriesAlignment, RefusesAHeadThatHardlyLiesInTheSeries) {
  const Session session({});
  UnalignedSeries series = session.series();
  // Three slices at the border, far from where the headers put them.
  Volume<float> few(glm::ivec3(48, 56, 3));
  for (int n = 0; n < few.size(); ++n) few.data()[n] = series.mean.data()[n + 12 * 48 * 56];
  series.mean = few;
  series.grid.dims = few.dimensions();
  const AlignmentRecord found = alignSeries(RigidAligner(session.reference()), series);
  EXPECT_EQ(found.outcome, Outcome::refused);
  EXPECT_NE(found.reason, "");
}

TEST_F(SeriesAlignment, SaysThatFewVoxelsCannotBeAligned) {
  const Session session({});
  PlacedImage small = session.reference();
  small.values = Volume<float>(glm::ivec3(6, 6, 6), 1.0F);
  const AlignmentRecord found = alignSeries(RigidAligner(small), session.series());
  EXPECT_EQ(found.outcome, Outcome::notPossible);
  EXPECT_EQ(found.rounds, 0);
}

}  // namespace mirel
