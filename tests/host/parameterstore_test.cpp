#include "host/parameterstore.h"

#include <gmock/gmock.h>

#include <vector>

#include "base/error.h"

namespace mirel {

namespace {

TEST(ParameterStore, KeepsTextsAndIntegersByName) {
  ParameterStore store;
  store.setText("vdm", "/data/a_vdm.map");
  store.setText("vdm", "/data/b_vdm.map");
  store.setInt("rllr", 1);
  EXPECT_EQ(store.text("vdm"), "/data/b_vdm.map");
  EXPECT_EQ(store.integer("rllr"), 1);
  EXPECT_EQ(store.text("rllr"), std::nullopt);
  EXPECT_EQ(store.integer("vdm"), std::nullopt);
  EXPECT_EQ(store.text("files"), std::nullopt);
}

TEST(ParameterStore, ATextOf511BytesIsTheLongest) {
  ParameterStore store;
  store.setText("files", std::string(511, 'a'));
  EXPECT_THROW(store.setText("files", std::string(512, 'b')), Error);
  EXPECT_EQ(store.text("files"), std::string(511, 'a'));
}

TEST(TextBuffer, Never512BytesOfTextAreWritten) {
  for (const std::size_t size : {0u, 1u, 510u, 511u, 512u, 513u, 5000u}) {
    std::vector<char> buffer(600, '#');
    copyToTextBuffer(std::string(size, 'x'), buffer.data());
    const std::size_t written = std::min<std::size_t>(size, 511);
    EXPECT_EQ(std::string(buffer.data()), std::string(written, 'x'));
    for (std::size_t i = written + 1; i < buffer.size(); ++i) ASSERT_EQ(buffer[i], '#') << i;
  }
}

}  // namespace

}  // namespace mirel
