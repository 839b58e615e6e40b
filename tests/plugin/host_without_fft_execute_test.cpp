// A host whose FFT entry points are not complete.
#include <gmock/gmock.h>

#include "numerics/fft/fftaccess.h"
#include "plugin/loadedplugin.h"
#include "plugin/testhost.h"

namespace mirel {

TEST(HostWithoutFftExecute, FailsAndDoesNotLookUpWhatFollows) {
  EXPECT_FALSE(InitMKLAccess());
  EXPECT_NE(plugin_fftw_plan_dft_c2r_3d, nullptr);
  EXPECT_EQ(plugin_fftw_execute, nullptr);
  EXPECT_EQ(plugin_fftw_destroy_plan, nullptr);
}

TEST(HostWithoutFftExecute, FailsInitPluginWithAMessageAndKeepsTheLog) {
  auto plugin = createdPlugin();
  EXPECT_FALSE(plugin->initPlugin());
  EXPECT_THAT(testHost().boxes,
              testing::ElementsAre("Did not get access to MKL access functions!"));
  plugin.reset();
  EXPECT_THAT(testHost().logLines, testing::ElementsAre(""));
}

}  // namespace mirel
