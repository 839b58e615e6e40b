#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataset/participant.h"
#include "dataset/tinydataset.h"
#include "support/messageof.h"

namespace mirel::dataset {

// Which images of a dataset were asked for.

using testing::EndsWith;

namespace {

class Selection : public testing::Test {
 protected:
  void subjects(int count) const {
    for (int n = 1; n <= count; ++n)
      std::filesystem::create_directories(
          data.file("sub-" + std::string(n < 10 ? "00" : "0") + std::to_string(n)));
  }
  ParticipantOptions options() const {
    ParticipantOptions options;
    options.dataset = data.root();
    options.output = data.folder.file("out");
    return options;
  }
  std::string refusalOf(const std::string& participant) const {
    ParticipantOptions asked = options();
    asked.participants = {participant};
    return messageOf<WrongSelection>([&] { planDataset(asked); });
  }

  TinyDataset data;
};

}  // namespace

TEST_F(Selection, OfManySubjectsThoseAreNamedThatMayBeMeant) {
  subjects(3);
  EXPECT_THAT(refusalOf("sub-1"), EndsWith("has no subject 1: there are 001, 002, 003"));
  subjects(30);
  EXPECT_THAT(refusalOf("1"), EndsWith("has no subject 1: there are 30, among them 001"));
  EXPECT_THAT(refusalOf("99"), EndsWith("has no subject 99: there are 30"));
}

}  // namespace mirel::dataset
