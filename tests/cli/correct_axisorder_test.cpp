#include <gmock/gmock.h>

#include <algorithm>
#include <utility>

#include "cli/axespair.h"

namespace mirel {

// The same head, its axes stored in every order: the estimate sees the same numbers, so that maps,
// images and the head's motion are the same but for the order.

namespace {

using nlohmann::json;
using Exchanges = std::vector<std::pair<int, int>>;

class AxisOrder : public AxesPair, public testing::WithParamInterface<Exchanges> {
 protected:
  static PlainImage stored(PlainImage image) {
    for (const auto& [one, other] : GetParam()) image = image.withExchanged(one, other);
    return image;
  }
  static PlainImage asAlongJ(PlainImage image) {
    Exchanges back = GetParam();
    std::reverse(back.begin(), back.end());
    for (const auto& [one, other] : back) image = image.withExchanged(one, other);
    return image;
  }
  /// Where axis `n` of the pair along j is stored.
  static int placeOf(int n) {
    for (const auto& [one, other] : GetParam()) n = n == one ? other : n == other ? one : n;
    return n;
  }
  json correctStored(const std::vector<std::string>& options) const {
    stored(PlainImage(ap('j'))).write(file("sub-phantom_dir-AP_epi.nii.gz"));
    stored(PlainImage(pa('j'))).write(file("sub-phantom_dir-PA_epi.nii.gz"));
    const std::string direction(1, static_cast<char>('i' + placeOf(1)));
    std::vector<std::string> words = {"correct",
                                      file("sub-phantom_dir-AP_epi.nii.gz"),
                                      file("sub-phantom_dir-PA_epi.nii.gz"),
                                      "--pe-a",
                                      direction + "-",
                                      "--pe-b",
                                      direction,
                                      "--readout",
                                      "0.04",
                                      "--json",
                                      "-o",
                                      file("stored")};
    words.insert(words.end(), options.begin(), options.end());
    const ProgramResult result = runMirel(words);
    EXPECT_EQ(result.status, 0) << result.err;
    return json::parse(result.out);
  }
};

INSTANTIATE_TEST_SUITE_P(Orders, AxisOrder,
                         testing::Values(Exchanges{{0, 2}}, Exchanges{{0, 1}, {1, 2}},
                                         Exchanges{{0, 1}, {0, 2}}, Exchanges{{0, 1}},
                                         Exchanges{{1, 2}}));

TEST_P(AxisOrder, ChangesNoBitOfTheResults) {
  for (const std::vector<std::string>& options :
       {std::vector<std::string>{}, std::vector<std::string>{"--no-motion"}}) {
    std::vector<std::string> same = options;
    same.push_back("--json");
    const json expected = json::parse(correct('j', same, "j").out);
    const json found = correctStored(options);
    for (const char* name :
         {"dir-AP_desc-voxels_vdm", "desc-preproc_fieldmap", "dir-AP_desc-preproc_epi",
          "dir-PA_desc-preproc_epi", "desc-preproc_magnitude"}) {
      const std::string end = "/sub-phantom_" + std::string(name) + ".nii.gz";
      EXPECT_TRUE(asAlongJ(PlainImage(file("stored" + end))).values() ==
                  PlainImage(file("j" + end)).values())
          << name;
    }
    const json motion = found["headMotion"], expectedMotion = expected["headMotion"];
    ASSERT_EQ(motion.is_null(), expectedMotion.is_null());
    ASSERT_EQ(motion.is_null(), options.size() == 1);
    if (motion.is_null()) continue;
    for (std::size_t n = 0; n < 3; ++n)
      EXPECT_NEAR(motion["TranslationMm"][static_cast<std::size_t>(placeOf(static_cast<int>(n)))],
                  expectedMotion["TranslationMm"][n], 1e-9);
  }
}

}  // namespace

}  // namespace mirel
