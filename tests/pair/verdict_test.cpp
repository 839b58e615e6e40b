#include "pair/verdict.h"

#include <gmock/gmock.h>

#include "support/remarks.h"

namespace mirel {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

// Figures of the b=0 pair of docs/accuracy.md, rounded.
PairFigures goodFigures() {
  PairFigures figures;
  figures.columnTotals = 0.017;
  figures.residual = 0.116;
  figures.shiftVoxels = 0.94;
  figures.fieldHz = 20;
  figures.fieldHzPerMm = 1.05;
  return figures;
}

PairAgreement goodAgreement() {
  PairAgreement agreement;
  agreement.before = 0.609;
  agreement.after = agreement.modulated = 0.971;
  agreement.negated = 0.315;
  agreement.fastAlongAxis = 0.805;
  agreement.fastAcross = 0.658;
  return agreement;
}

Verdict verdictOf(const PairFigures& figures, const PairAgreement& agreement = goodAgreement(),
                  MapOrigin origin = MapOrigin::massPreserving) {
  return judgePair(
      figures, agreement, origin,
      {"a.nii", "b.nii", "a.json", "j- and j", origin == MapOrigin::measured ? "f.nii" : ""});
}

}  // namespace

TEST(PairVerdict, TrustsAGoodPair) {
  const Verdict verdict = verdictOf(goodFigures());
  EXPECT_EQ(verdict.trust, Trust::trusted);
  EXPECT_THAT(verdict.reasons, IsEmpty());
  EXPECT_EQ(verdict.figures.residual, 0.116);
}

TEST(PairVerdict, NoiseIsNotHeldAgainstAPair) {
  PairFigures figures = goodFigures();
  figures.residual = 0.5;
  figures.residualOfNoise = 0.49;
  figures.columnTotals = 0.2;
  figures.columnTotalsOfNoise = 0.25;
  EXPECT_NEAR(figures.unexplainedResidual(), 0.0995, 1e-3);
  EXPECT_EQ(figures.unexplainedTotals(), 0);
  EXPECT_EQ(verdictOf(figures).trust, Trust::trusted);
}

TEST(PairVerdict, SoMuchNoiseThatTheMapIsBlurredIsDoubted) {
  Verdict verdict = verdictOf(goodFigures());
  const PairNamesAndAxis names{"a.nii", "b.nii", "a.json", "j- and j"};
  judgeNoise(0.19, names, verdict);
  EXPECT_EQ(verdict.trust, Trust::trusted);
  judgeNoise(0.224, names, verdict);
  EXPECT_EQ(verdict.trust, Trust::doubtful);
  EXPECT_THAT(textsOf(verdict.reasons),
              ElementsAre(HasSubstr("a.nii and b.nii are noisy: by 22 % of the signal")));
}

TEST(PairVerdict, TheResidualIsDoubtedAndThenRefused) {
  PairFigures figures = goodFigures();
  figures.residual = 0.17;
  EXPECT_EQ(verdictOf(figures).trust, Trust::doubtful);
  figures.residual = 0.3;
  const Verdict verdict = verdictOf(figures);
  EXPECT_EQ(verdict.trust, Trust::doNotTrust);
  EXPECT_THAT(textsOf(verdict.reasons), Contains(HasSubstr("differ by 30 % beyond noise")));
  // The search does not conserve signal: its residual says too little.
  EXPECT_EQ(verdictOf(figures, goodAgreement(), MapOrigin::search).trust, Trust::trusted);
}

TEST(PairVerdict, ARoughFieldThatExplainsLittleIsRefused) {
  PairFigures figures = goodFigures();
  figures.fieldHzPerMm = 2.5;
  EXPECT_EQ(verdictOf(figures).trust, Trust::trusted);  // as at 7 T
  figures.residual = 0.155;
  EXPECT_EQ(verdictOf(figures).trust, Trust::doNotTrust);
  figures.fieldHzPerMm = 1.0;
  EXPECT_EQ(verdictOf(figures).trust, Trust::trusted);
}

TEST(PairVerdict, SlicesThatStandOutAreNamed) {
  PairFigures figures = goodFigures();
  figures.sliceResiduals = {0,    0.12, 0.10, 0.11, 0.09, 0.10, 0.11, 0.12,
                            0.10, 0.08, 0.09, 0.11, 0.10, 0.12, 0.11, 0.10};
  figures.sliceShares.assign(16, 1.0 / 16.0);
  figures.sliceMisfits = {0,   1.2, 1.0, 1.1, 0.9, 1.0, 1.1, 1.2,
                          1.0, 0.8, 0.9, 1.1, 1.0, 1.2, 1.1, 1.0};
  EXPECT_EQ(verdictOf(figures).trust, Trust::trusted);
  figures.sliceResiduals[4] = figures.sliceResiduals[5] = 0.4;
  figures.sliceResiduals[8] = 0.3;
  figures.sliceMisfits[4] = figures.sliceMisfits[5] = 4;
  figures.sliceMisfits[8] = 3;
  EXPECT_EQ(verdictOf(figures).trust, Trust::trusted);  // the others differ by as much
  figures.sliceShares[4] = figures.sliceShares[5] = 0.3;
  const Verdict verdict = verdictOf(figures);
  EXPECT_EQ(verdict.trust, Trust::doubtful);
  EXPECT_THAT(textsOf(verdict.reasons),
              Contains(HasSubstr("in slices 4 to 5, 8 (counted from 0) a.nii and b.nii")));
  EXPECT_EQ(verdictOf(figures, goodAgreement(), MapOrigin::search).trust, Trust::trusted);
  // Noise explains what all others differ by.
  figures.sliceResiduals.assign(16, 0);
  figures.sliceResiduals[4] = figures.sliceResiduals[5] = figures.sliceResiduals[8] = 0.3;
  figures.sliceAxis = 0;
  EXPECT_THAT(textsOf(verdictOf(figures).reasons),
              Contains(AllOf(HasSubstr("in slices 4 to 5, 8 (counted from 0 along i)"),
                             HasSubstr("where the others differ by no more than noise"))));
  // As noisy as the others.
  figures.sliceMisfits.assign(16, 1);
  EXPECT_EQ(verdictOf(figures).trust, Trust::trusted);
  // Far out of the others, but small.
  figures.sliceMisfits[4] = 6;
  figures.sliceResiduals.assign(16, 0.02);
  figures.sliceResiduals[4] = 0.12;
  EXPECT_EQ(verdictOf(figures).trust, Trust::trusted);
}

TEST(PairVerdict, SlicesThatOneImageLostAreNamedHoweverSmall) {
  PairFigures figures = goodFigures();
  figures.sliceResiduals = {1.9, 0.02, 0.02, 0.02, 1.8};
  figures.sliceShares = {0.1, 0.3, 0.3, 0.2, 0.1};
  figures.sliceMisfits = {5, 1, 1, 1, 4};
  EXPECT_EQ(verdictOf(figures).trust, Trust::trusted);
  figures.slicesLostBySecond = {0, 4};
  const Verdict verdict = verdictOf(figures);
  EXPECT_EQ(verdict.trust, Trust::doubtful);
  EXPECT_THAT(textsOf(verdict.reasons),
              Contains(AllOf(HasSubstr("in slices 0, 4 (counted from 0) a.nii and b.nii"),
                             HasSubstr("b.nii has next to no signal in slices 0, 4"))));
  figures.slicesLostBySecond = {4};
  EXPECT_THAT(textsOf(verdictOf(figures).reasons),
              Contains(AllOf(HasSubstr("in slice 4 (counted from 0) a.nii and b.nii"),
                             HasSubstr("b.nii has next to no signal in slice 4,"))));
}

TEST(PairVerdict, TotalsThatDifferAreRefusedOfAnyEstimate) {
  PairFigures figures = goodFigures();
  figures.columnTotals = 0.4;
  for (const MapOrigin origin :
       {MapOrigin::massPreserving, MapOrigin::search, MapOrigin::measured}) {
    const Verdict verdict = verdictOf(figures, goodAgreement(), origin);
    EXPECT_EQ(verdict.trust, Trust::doNotTrust);
    EXPECT_THAT(textsOf(verdict.reasons),
                Contains(HasSubstr("the totals along the phase-encoding axis")));
  }
}

TEST(PairVerdict, ACopySaysWhatItIs) {
  PairAgreement agreement = goodAgreement();
  agreement.before = agreement.modulated = 1.0;
  PairFigures figures = goodFigures();
  figures.residual = figures.shiftVoxels = 0;
  agreement.modulated = 0.99999;  // by interpolation
  EXPECT_THAT(textsOf(verdictOf(figures, agreement).reasons),
              ElementsAre(HasSubstr("it is a copy")));
  agreement.before = agreement.modulated = 0.99;
  figures.shiftVoxels = 0.01;
  EXPECT_THAT(textsOf(verdictOf(figures, agreement).reasons),
              Contains(HasSubstr("the same phase-encoding direction")));
}

TEST(PairVerdict, TheAxisIsAccusedWithWhatStatesIt) {
  PairAgreement agreement = goodAgreement();
  agreement.fastAcross = 0.9;
  const Verdict verdict = verdictOf(goodFigures(), agreement);
  EXPECT_EQ(verdict.trust, Trust::doNotTrust);
  EXPECT_THAT(textsOf(verdict.reasons), Contains(HasSubstr("CHECK THE AXIS in a.json")));
}

TEST(PairVerdict, TheAxisIsNotAccusedWhereAQuickEstimateFailed) {
  PairAgreement agreement = goodAgreement();
  agreement.fastAlongAxis.reset();
  EXPECT_EQ(verdictOf(goodFigures(), agreement).trust, Trust::trusted);
  agreement.fastAlongAxis = 0.1;
  agreement.fastAcross.reset();
  EXPECT_EQ(verdictOf(goodFigures(), agreement).trust, Trust::trusted);
}

TEST(PairVerdict, AMeasuredFieldIsAccusedByName) {
  PairAgreement agreement = goodAgreement();
  EXPECT_EQ(verdictOf(goodFigures(), agreement, MapOrigin::measured).trust, Trust::trusted);
  std::swap(agreement.modulated, agreement.negated);
  Verdict verdict = verdictOf(goodFigures(), agreement, MapOrigin::measured);
  EXPECT_EQ(verdict.trust, Trust::doNotTrust);
  EXPECT_THAT(textsOf(verdict.reasons), Contains(HasSubstr("CHECK THE SIGN of f.nii")));
  // The opposite explains the images no better than none.
  agreement.negated = 0.4;
  verdict = verdictOf(goodFigures(), agreement, MapOrigin::measured);
  EXPECT_EQ(verdict.trust, Trust::doNotTrust);
  EXPECT_THAT(textsOf(verdict.reasons), Contains(HasSubstr("CHECK f.nii: corrected by it")));
}

TEST(PairVerdict, TheSizeOfAMeasuredFieldIsAccusedWhereAMultipleLeavesMuchLess) {
  PairAgreement agreement = goodAgreement();
  agreement.before = 0.3;
  agreement.modulated = 0.765;
  const auto judged = [&](double factor, double best) {
    agreement.bestScale = {factor, best};
    return verdictOf(goodFigures(), agreement, MapOrigin::measured);
  };
  EXPECT_EQ(judged(1, 0.765).trust, Trust::trusted);
  EXPECT_EQ(judged(0.7, 0.797).trust, Trust::trusted);  // a head that moved since
  const Verdict wrong = judged(0.7, 0.9);
  EXPECT_EQ(wrong.trust, Trust::doNotTrust);
  EXPECT_THAT(textsOf(wrong.reasons),
              Contains(HasSubstr("CHECK THE SIZE of f.nii: taken 0.7 times")));
  // Its opposite is as good.
  agreement.negated = 0.9;
  EXPECT_THAT(textsOf(judged(1.4, 0.905).reasons), Contains(HasSubstr("CHECK THE SIGN of f.nii")));
}

TEST(PairVerdict, AMeasuredFieldThatLeavesMuchIsDoubtfulOnly) {
  PairFigures figures = goodFigures();
  figures.residual = 0.38;
  EXPECT_EQ(verdictOf(figures, goodAgreement(), MapOrigin::measured).trust, Trust::trusted);
  figures.residual = 0.5;
  const Verdict verdict = verdictOf(figures, goodAgreement(), MapOrigin::measured);
  EXPECT_EQ(verdict.trust, Trust::doubtful);
  EXPECT_THAT(textsOf(verdict.reasons), Contains(HasSubstr("differ by 50 % beyond noise")));
}

}  // namespace mirel
