// Hosts that do what no host should: the plugin says so in one sentence, and the host lives on.
#include <gmock/gmock.h>
#include <pthread.h>

#include <cfenv>
#include <functional>
#include <stdexcept>

#include "plugin/loadedplugin.h"
#include "plugin/testhost.h"
#include "support/projectfiles.h"
#include "support/temporaryfolder.h"

namespace mirel {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

[[noreturn]] void fail() { throw std::runtime_error("the host's own failure"); }

class Border : public testing::Test {
 protected:
  void SetUp() override {
    testHost() = {};
    ASSERT_TRUE(plugin->initPlugin());
    testHost().calls.clear();
  }

  /// A pair whose estimate is a matter of milliseconds, and the host's map for it.
  void makePair() {
    for (const char* name : {"a.fmr", "b.fmr"}) {
      ProjectSketch sketch;
      sketch.dims = {12, 14, 4};
      sketch.voxel = [name](int x, int y, int z, int /*t*/) {
        return 300.0f + 40.0f * static_cast<float>((x * 3 + y * (name[0] == 'a' ? 5 : 6) + z) % 7);
      };
      writeFmr(folder.file(name), sketch);
    }
    testHost().mapDims = {12, 14, 4};
    testHost().strings["file0"] = folder.file("a.fmr");
    testHost().strings["file1"] = folder.file("b.fmr");
  }

  bool execute(const std::string& task) {
    testHost().strings["task"] = task;
    return plugin->execute();
  }

  TemporaryFolder folder;
  std::unique_ptr<CNZTPluginInterface> plugin = createdPlugin();
};

TEST_F(Border, AFailureOfTheHostWithinATaskIsTold) {
  testHost().onStopBusyCursor = fail;
  EXPECT_TRUE(execute("anything"));
  EXPECT_THAT(testHost().boxes, ElementsAre("Error: the host's own failure"));
}

TEST_F(Border, OfTwoFailuresTheFirstIsTold) {
  testHost().onStopBusyCursor = fail;
  testHost().strings["file0"] = "/nowhere/a.fmr";
  EXPECT_TRUE(execute("estimate"));
  EXPECT_THAT(testHost().boxes, ElementsAre("Error: Failed opening for reading: /nowhere/a.fmr"));
}

TEST_F(Border, AMessageBoxThatFailsEndsNothing) {
  testHost().onMessageBox = fail;
  testHost().strings["file0"] = "/nowhere/a.fmr";
  EXPECT_TRUE(execute("estimate"));
}

TEST_F(Border, ALogThatFailsEndsNothing) {
  testHost().onLogText = fail;
  EXPECT_TRUE(execute("check"));
  plugin.reset();  // writes to the log once more
}

TEST_F(Border, AHostThatCannotTellItsVersionIsRefused) {
  testHost().onVersion = fail;
  EXPECT_FALSE(plugin->initPlugin());
  EXPECT_THAT(testHost().boxes, ElementsAre("Error: the host's own failure"));
}

TEST_F(Border, AMapWithoutASliceIsRefused) {
  makePair();
  testHost().missingSlice = 2;
  EXPECT_TRUE(execute("estimate"));
  EXPECT_THAT(testHost().boxes, ElementsAre("Error: The host's map has no slice 2."));
  EXPECT_THAT(testHost().savedMaps, IsEmpty());
}

TEST_F(Border, ANegativeVolumeIsRefused) {
  makePair();
  testHost().integers["volume0"] = -1;
  EXPECT_TRUE(execute("estimate"));
  ASSERT_EQ(testHost().boxes.size(), 1u);
  EXPECT_THAT(testHost().boxes[0], testing::StartsWith("Error: Cannot use volume "));
}

TEST_F(Border, TrapsAndRoundingOfTheHostNeitherEndTheEstimateNorChangeIt) {
  makePair();
  ASSERT_TRUE(execute("estimate"));
  ASSERT_THAT(testHost().boxes, IsEmpty());
  const Volume<float> expected = testHost().savedMaps.begin()->second.map;
  testHost().savedMaps.clear();

  ASSERT_NE(feenableexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW), -1);
  std::fesetround(FE_UPWARD);
  const bool done = execute("estimate");
  const int traps = fegetexcept(), rounding = std::fegetround();
  std::fesetenv(FE_DFL_ENV);

  EXPECT_TRUE(done);
  EXPECT_EQ(traps, FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW);  // the host's again
  EXPECT_EQ(rounding, FE_UPWARD);
  ASSERT_FALSE(testHost().savedMaps.empty());
  EXPECT_EQ(testHost().savedMaps.begin()->second.map, expected);
}

/// Runs `work` on a thread with so small a stack.
void runWithStack(std::size_t bytes, std::function<void()> work) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, bytes), 0);
  pthread_t thread{};
  const auto start = [](void* task) -> void* {
    (*static_cast<std::function<void()>*>(task))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, start, &work), 0);
  ASSERT_EQ(pthread_join(thread, nullptr), 0);
  pthread_attr_destroy(&attributes);
}

TEST_F(Border, AStackOf48KilobytesIsEnough) {
#ifdef MIREL_SANITIZED
  GTEST_SKIP() << "sanitizers take more stack themselves";
#endif
  makePair();
  runWithStack(std::size_t{48} << 10U, [&] { execute("estimate"); });
  EXPECT_THAT(testHost().boxes, IsEmpty());
  EXPECT_EQ(testHost().savedMaps.size(), 2u);
  testHost().strings["files"] = folder.file("a.fmr") + "\n" + folder.file("b.fmr");
  testHost().strings["vdm"] = testHost().savedMaps.begin()->first;
  runWithStack(std::size_t{48} << 10U, [&] { execute("apply"); });
  EXPECT_THAT(testHost().boxes, IsEmpty());
}

}  // namespace

}  // namespace mirel
