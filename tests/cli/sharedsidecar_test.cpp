// Images of one stem, compressed and not, have one sidecar.
#include <gmock/gmock.h>

#include <filesystem>

#include "cli/fieldfiles.h"
#include "support/niftifiles.h"

namespace mirel {

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;

class SharedSidecar : public FieldFiles {
 protected:
  ProgramResult applyTo(const std::string& name, const std::vector<std::string>& more = {}) const {
    std::vector<std::string> words = {"apply", "--field",  field(),  ap(),
                                      "-o",    file(name), "--quiet"};
    words.insert(words.end(), more.begin(), more.end());
    return runMirel(words);
  }
  void expectRefused(const ProgramResult& result, const std::string& inTheWay) const {
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, AllOf(HasSubstr(inTheWay + " is there already"),
                                  HasSubstr("would be read as its sidecar, too")));
  }
};

TEST_F(SharedSidecar, OfAnotherImageIsNotReplacedByApply) {
  for (const auto& [first, second] :
       {std::pair<std::string, std::string>{"x.nii.gz", "x.nii"}, {"y.nii", "y.nii.gz"}}) {
    ASSERT_EQ(applyTo(first).status, 0);
    const std::string image = textOf(file(first)),
                      sidecar = textOf(file(first.substr(0, 1) + ".json"));
    expectRefused(applyTo(second, {"--float"}), file(first));
    expectRefused(applyTo(second, {"--overwrite"}), file(first));
    EXPECT_FALSE(fileExists(file(second)));
    EXPECT_EQ(textOf(file(first)), image);
    EXPECT_EQ(textOf(file(first.substr(0, 1) + ".json")), sidecar);
    EXPECT_EQ(applyTo(first, {"--overwrite"}).status, 0) << "its own";
  }
}

// An image that somebody put there, with a sidecar that no record is in.
TEST_F(SharedSidecar, OfAForeignImageIsNotReplaced) {
  fs::copy(ap(), file("x.nii.gz"));
  sidecar("x.json", {{"EchoTime", 0.03}});
  expectRefused(applyTo("x.nii", {"--overwrite"}), file("x.nii.gz"));
  EXPECT_EQ(textOf(file("x.json")), "{\"EchoTime\":0.03}");
}

TEST_F(SharedSidecar, OfResultsThatWereUnpackedIsNotReplacedByCorrect) {
  ASSERT_EQ(correct({"--fast", "--quiet"}).status, 0);
  const std::string stem = out("sub-phantom_desc-preproc_magnitude");
  changed(stem + ".nii.gz", "out/sub-phantom_desc-preproc_magnitude.nii",
          [](float v) { return v; });
  const std::string sidecar = textOf(stem + ".json");
  expectRefused(correct({"--quiet", "--overwrite"}), stem + ".nii");
  EXPECT_EQ(textOf(stem + ".json"), sidecar);
  fs::remove(stem + ".nii");
  EXPECT_EQ(correct({"--fast", "--quiet"}).status, 0);
}

}  // namespace

}  // namespace mirel
