#include "pair/pairestimate.h"

#include <gmock/gmock.h>

#include <sstream>

#include "masspreserving/masspreserving.h"
#include "numerics/fft/fftw.h"
#include "support/remarks.h"
#include "support/smallpair.h"

namespace mirel {

using testing::Each;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

TEST(PairEstimate, BySearchIsCloseToTheTruth) {
  EstimateSettings settings;
  settings.estimator = Estimator::search;
  const PairEstimate estimate = estimatePairMap(smallPair(), settings, noProgress);
  // The coarse head leaves 0.35 voxels; finer ones do better (docs/accuracy.md).
  EXPECT_LT(rmsInBrain(estimate.shift, smallPhantom().shiftVoxels), 0.4);
  EXPECT_GT(correlationInBrain(estimate.shift, smallPhantom().shiftVoxels), 0.75);
  EXPECT_GT(estimate.agreement.after, estimate.agreement.before + 0.1);
  EXPECT_GT(estimate.agreement.before, estimate.agreement.negated);
  EXPECT_THAT(estimate.verdict.reasons, IsEmpty());
}

TEST(PairEstimate, ConservingSignalIsFarCloserToTheTruth) {
  EstimateSettings settings;
  settings.modulation = Modulation::on;
  const PairEstimate estimate = estimatePairMap(smallPair(), settings, noProgress);
  EXPECT_LT(rmsInBrain(estimate.shift, smallPhantom().shiftVoxels), 0.06);
  EXPECT_GT(correlationInBrain(estimate.shift, smallPhantom().shiftVoxels), 0.99);
  EXPECT_THAT(estimate.verdict.reasons, IsEmpty());
}

TEST(PairEstimate, IsTheEnginesOwnBitForBit) {
  const PairInput pair = smallPair();
  for (const EstimateOptions& options :
       {EstimateOptions{}, EstimateOptions{.useSsd = true, .intensityCorrection = true},
        EstimateOptions{.fast = true}}) {
    EstimateSettings settings;
    settings.estimator = Estimator::search;
    settings.search = options;
    settings.intensityScale = 1;
    std::ostringstream log;
    const Volume<float> expected =
        estimatePair(pair.a.image, pair.b.image, glm::dvec3(4.5), options, log);
    EXPECT_TRUE(estimatePairMap(pair, settings, noProgress).shift == expected);
  }
}

TEST(PairEstimate, ByDefaultIsTheMassPreservingOneBitForBit) {
  const PairInput pair = smallPair();
  const PairEstimate estimate = estimatePairMap(pair, {}, noProgress);
  const MassPreservingResult expected =
      estimateMassPreserving(pair.a.image, pair.b.image, glm::dvec3(4.5));
  EXPECT_TRUE(estimate.shift == expected.shiftVoxels);
  EXPECT_EQ(estimate.estimator, Estimator::massPreserving);
  EXPECT_EQ(estimate.intensityRatio, expected.scale);
  EXPECT_FALSE(estimate.motion.has_value());
}

TEST(PairEstimate, DefaultsToTheVariantThatMeasuresBest) {
  const EstimateSettings settings;
  EXPECT_EQ(settings.estimator, Estimator::massPreserving);
  EXPECT_TRUE(settings.motion);
  EXPECT_FALSE(settings.search.useSsd);
  EXPECT_TRUE(settings.search.intensityCorrection);
  EXPECT_FALSE(settings.search.fast);
}

TEST(PairEstimate, DoesNotDependOnTheIntensityUnit) {
  const Volume<float> expected = estimatePairMap(smallPair(), {}, noProgress).shift;
  PairInput pair = smallPair();
  pair.a.image *= 256.0f;
  pair.b.image *= 256.0f;
  EXPECT_TRUE(estimatePairMap(pair, {}, noProgress).shift == expected);
  pair = smallPair();
  pair.a.image *= 0.001f;
  pair.b.image *= 0.001f;
  EXPECT_LT(rmsInBrain(estimatePairMap(pair, {}, noProgress).shift, expected), 0.02);
}

TEST(PairEstimate, WarnsOfAWrongAxis) {
  PairInput pair = smallPair();
  using bids::StatedDirection;
  pair.a.acquisition.direction = {{0, -1}, StatedDirection::Source::sidecar, "a.json"};
  pair.b.acquisition.direction = {{0, 1}, StatedDirection::Source::sidecar, "b.json"};
  EXPECT_THAT(textsOf(estimatePairMap(pair, {}, noProgress).verdict.reasons),
              testing::Contains(testing::AllOf(HasSubstr("CHECK THE AXIS in a.json and b.json"),
                                               HasSubstr("i- and i,"), HasSubstr("along j"))));
}

TEST(PairEstimate, WarnsWhereEverythingOrNothingIsHead) {
  EstimateSettings settings;
  settings.search.fast = true;
  settings.intensityScale = 100;
  EXPECT_THAT(textsOf(estimatePairMap(smallPair(), settings, noProgress).verdict.reasons),
              testing::Contains(testing::AllOf(HasSubstr("a.nii"), HasSubstr("everything"))));
  settings.intensityScale = 0.001;
  EXPECT_THAT(textsOf(estimatePairMap(smallPair(), settings, noProgress).verdict.reasons),
              testing::Contains(testing::AllOf(HasSubstr("b.nii"), HasSubstr("nothing"))));
}

TEST(PairEstimate, WarnsOfNoiseThatBlursTheMap) {
  for (const double noise : {0.12, 0.22}) {
    PhantomOptions options = smallPhantom().options;
    options.seed = 5;
    options.noise = noise;
    const Phantom phantom = makePhantom(options);
    PairInput pair = smallPair();
    pair.a.image = phantom.ap;
    pair.b.image = phantom.pa;
    const PairEstimate estimate = estimatePairMap(pair, {}, noProgress);
    EXPECT_EQ(nameOf(estimate.verdict.trust), noise > 0.2 ? "doubtful" : "trusted")
        << noise << " left " << estimate.noiseOfSignal;
  }
}

namespace {

struct Listener : Progress {
  std::optional<Stage> stage;
  double last = 0;
  int calls = 0;
  bool stops = false;

  void at(Stage now, double done, const std::string&) override {
    if (now != stage) last = 0;
    stage = now;
    EXPECT_GE(done, last);
    EXPECT_LE(done, 1.0);
    last = done;
    ++calls;
    if (stops && done > 0.5) throw Cancelled();
  }
};

}  // namespace

TEST(PairEstimate, ProgressGrowsAndMayEndTheWork) {
  for (const Estimator estimator : {Estimator::search, Estimator::massPreserving}) {
    SCOPED_TRACE(nameOf(estimator));
    EstimateSettings settings;
    settings.estimator = estimator;
    Listener listener;
    estimatePairMap(smallPair(), settings, listener);
    EXPECT_GE(listener.calls, 8);
    Listener stop;
    stop.stops = true;
    EXPECT_THROW(estimatePairMap(smallPair(), settings, stop), Cancelled);
    EXPECT_EQ(stop.stage, Stage::estimating);
  }
}

}  // namespace mirel
