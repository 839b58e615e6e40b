#include "host/mapstore.h"

#include <gmock/gmock.h>

#include <cstring>
#include <fstream>

#include "base/error.h"
#include "files/mapfile.h"
#include "support/projectfiles.h"

namespace mirel {

namespace {

TEST(MapStore, CreatesAMapOfZerosWithTheCurrentDimensions) {
  MapStore store;
  store.setCurrentDimensions(3, 4, 2);
  store.create();
  MapHeader header;
  float** slices = store.get(header);
  ASSERT_NE(slices, nullptr);
  EXPECT_EQ(header.dimX, 3);
  EXPECT_EQ(header.dimY, 4);
  EXPECT_EQ(header.dimZ, 2);
  EXPECT_EQ(header.kind, 0);
  for (int z = 0; z < 2; ++z)
    for (int i = 0; i < 12; ++i) EXPECT_EQ(slices[z][i], 0.0f);
}

TEST(MapStore, WithoutAProjectThereIsNoMap) {
  MapStore store;
  EXPECT_THROW(store.create(), Error);
  MapHeader header;
  header.dimX = 99;
  EXPECT_EQ(store.get(header), nullptr);
  EXPECT_EQ(header.dimX, 0);
  EXPECT_THROW(store.setParameters(header), Error);
  EXPECT_THROW(store.save("nothing.map"), Error);
}

TEST(MapStore, CreatingAgainClearsTheMapBefore) {
  MapStore store;
  store.setCurrentDimensions(2, 2, 1);
  store.create();
  MapHeader header;
  store.get(header)[0][3] = 7.0f;
  header.kind = 5;
  store.setParameters(header);
  store.create();
  EXPECT_EQ(store.get(header)[0][3], 0.0f);
  EXPECT_EQ(header.kind, 0);
}

TEST(MapStore, ParametersChangeButTheDimensionsStay) {
  MapStore store;
  store.setCurrentDimensions(2, 3, 4);
  store.create();
  MapHeader header;
  store.get(header);
  header.dimX = header.dimY = header.dimZ = 100;
  header.kind = 1;
  header.param1 = 0.1f;
  header.param2 = 1.0f;
  header.reserved = 42;
  header.flag = 3;
  store.setParameters(header);
  MapHeader now;
  store.get(now);
  header.dimX = 2;
  header.dimY = 3;
  header.dimZ = 4;
  EXPECT_EQ(std::memcmp(&now, &header, sizeof now), 0);
}

TEST(MapStore, ASavedMapLoadsIntoTheSamePlaces) {
  const TemporaryFolder folder;
  const std::string name = folder.file("a_vdm.map");
  MapStore writer;
  writer.setCurrentDimensions(3, 2, 2);
  writer.create();
  MapHeader header;
  float** slices = writer.get(header);
  for (int z = 0; z < 2; ++z)
    for (int y = 0; y < 2; ++y)
      for (int x = 0; x < 3; ++x)
        slices[z][y * 3 + x] = static_cast<float>(100 * z + 10 * y + x) / 64;
  writer.save(name);

  const Map file = readMapFile(name);
  EXPECT_EQ(file.values[(1 * 2 + 1) * 3 + 2], 112.0f / 64);

  MapStore reader;
  reader.setCurrentDimensions(3, 2, 2);
  reader.load(name);
  slices = reader.get(header);
  ASSERT_NE(slices, nullptr);
  EXPECT_EQ(slices[1][1 * 3 + 2], 112.0f / 64);
  EXPECT_EQ(slices[0][1 * 3 + 0], 10.0f / 64);
}

// Otherwise a task would go on with the map of somebody else.
TEST(MapStore, AFailedLoadLeavesNoMap) {
  const TemporaryFolder folder;
  const std::string name = folder.file("bad_vdm.map");
  std::ofstream(name) << "no map";
  MapStore store;
  store.setCurrentDimensions(2, 2, 1);
  store.create();
  EXPECT_THROW(store.load(name), Error);
  MapHeader header;
  EXPECT_EQ(store.get(header), nullptr);
}

TEST(MapStore, AMapOfOtherDimensionsIsNotLoaded) {
  const TemporaryFolder folder;
  const std::string name = folder.file("a_vdm.map");
  MapStore store;
  store.setCurrentDimensions(2, 3, 1);
  store.create();
  store.save(name);
  store.setCurrentDimensions(3, 2, 1);
  EXPECT_THROW(store.load(name), Error);
  MapHeader header;
  EXPECT_EQ(store.get(header), nullptr);
}

TEST(MapStore, AnotherProjectTakesTheMapAway) {
  MapStore store;
  store.setCurrentDimensions(2, 2, 1);
  store.create();
  store.setCurrentDimensions(2, 2, 1);
  MapHeader header;
  EXPECT_EQ(store.get(header), nullptr);
}

}  // namespace

}  // namespace mirel
