#include "files/mapset.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "base/error.h"
#include "files/mapfile.h"
#include "support/messageof.h"
#include "support/projectfiles.h"

namespace mirel {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

Map mapWith(float value) { return mapOf(Volume<float>(3, 4, 2, value)); }

class MapSetTest : public testing::Test {
 protected:
  TemporaryFolder folder;
  const std::string a = folder.file("a.map"), b = folder.file("b.map");
};

TEST_F(MapSetTest, WritesAllOfThem) {
  fs::create_directory(folder.file("sub"));
  MapSet maps;
  EXPECT_TRUE(maps.empty());
  maps.add(a, mapWith(1));
  maps.add(folder.file("sub/c.map"), mapWith(3));
  maps.add(b, mapWith(2));
  maps.add(b, mapWith(4));
  maps.write();
  EXPECT_EQ(readMapFile(a).values[5], 1);
  EXPECT_EQ(readMapFile(b).values[5], 4) << "the last of its name";
  EXPECT_EQ(readMapFile(folder.file("sub/c.map")).values[5], 3);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder.file("")), {}), 3)
      << "nothing hidden stays";
}

// A folder stands where the second map is to go: the first keeps its older one.
TEST_F(MapSetTest, WritesNoneWhenOneCannotBe) {
  writeMapFile(a, mapWith(1));
  fs::create_directory(b);
  MapSet maps;
  maps.add(a, mapWith(5));
  maps.add(b, mapWith(6));
  EXPECT_THAT(messageOf<Error>([&] { maps.write(); }), HasSubstr(b));
  EXPECT_EQ(readMapFile(a).values[5], 1);
}

TEST_F(MapSetTest, TellsOfAFolderThatIsNotThere) {
  MapSet maps;
  maps.add(folder.file("none/a.map"), mapWith(1));
  EXPECT_THAT(messageOf<Error>([&] { maps.write(); }), HasSubstr("none"));
}

}  // namespace

}  // namespace mirel
