#include "files/line.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <limits>
#include <sstream>
#include <type_traits>

namespace mirel {

namespace {

/// A line whose label and value are `text`, read as a project reads it.
template <typename T>
Line<T> readFrom(const std::string& text) {
  std::istringstream is(text);
  std::string label;
  is >> label;
  Line<T> line;
  line.readLine(is, label);
  return line;
}

Line<bool> readYesNoFrom(const std::string& text) {
  std::istringstream is(text);
  std::string label;
  is >> label;
  Line<bool> line;
  readYesNo(line, is, label);
  return line;
}

template <typename T>
std::string printed(const Line<T>& line, int n = 1) {
  std::ostringstream os;
  line.printLineIfAllSet(os, n);
  return os.str();
}

template <typename T>
class AnyLine : public testing::Test {};
using LineTypes = testing::Types<int, float, bool, std::string>;
TYPED_TEST_SUITE(AnyLine, LineTypes);

TYPED_TEST(AnyLine, StartsUnsetNamelessAndEmpty) {
  const Line<TypeParam> line;
  EXPECT_FALSE(line.isSet());
  EXPECT_EQ(line.getName(), "");
  EXPECT_EQ(line.value(), TypeParam());
  EXPECT_EQ(line.getWidth(), 0);
}

TYPED_TEST(AnyLine, PrintsNothingWhenUnsetNotEvenLineFeeds) {
  EXPECT_EQ(printed(Line<TypeParam>(), 3), "");
}

TYPED_TEST(AnyLine, UpdatingAnUnsetLineDoesNotMakeItPrintable) {
  Line<TypeParam> line;
  const TypeParam value = readFrom<TypeParam>("A: 1").value();
  line.updateValue(value);
  EXPECT_EQ(line.value(), value);
  EXPECT_FALSE(line.isSet());
  EXPECT_EQ(printed(line, 3), "");
  Line<TypeParam> assigned;
  assigned = value;
  EXPECT_EQ(static_cast<TypeParam>(assigned), value);
  EXPECT_FALSE(assigned.isSet());
}

TYPED_TEST(AnyLine, UpdatingKeepsNameAndWidth) {
  Line<TypeParam> line = readFrom<TypeParam>("Key:    0\n");
  line.updateValue(readFrom<TypeParam>("A: 1").value());
  EXPECT_EQ(line.getName(), "Key");
  EXPECT_EQ(line.getWidth(), 8);
  EXPECT_TRUE(line.isSet());
  EXPECT_EQ(printed(line, 1), "Key:    1\n");
}

TYPED_TEST(AnyLine, WritesTheLineFeedsAskedFor) {
  const auto line = readFrom<TypeParam>("Key: 1\n");
  EXPECT_EQ(printed(line, 3), "Key: 1\n\n\n");
  EXPECT_EQ(printed(line, 0), "Key: 1");
  EXPECT_EQ(printed(line, -2), "Key: 1");
}

TYPED_TEST(AnyLine, CountsTheColumnsUpToTheValue) {
  const auto line = readFrom<TypeParam>("NrOfVolumes:      1\n");
  EXPECT_EQ(line.getName(), "NrOfVolumes");
  EXPECT_EQ(line.getWidth(), 18);
  EXPECT_EQ(printed(line), "NrOfVolumes:      1\n");
}

TYPED_TEST(AnyLine, PrintingLeavesTheStreamsFlagsAsTheyWere) {
  std::ostringstream os;
  os << std::internal << std::showpos;
  const std::ios_base::fmtflags flags = os.flags();
  readFrom<TypeParam>("Key:   1\n").printLineIfAllSet(os, 1);
  EXPECT_EQ(os.flags(), flags);
}

TEST(Line, SetStoresNameValueAndWidth) {
  Line<float> line;
  line.set("SliceGap", 0.5F, 12);
  EXPECT_TRUE(line.isSet());
  EXPECT_EQ(line.getName(), "SliceGap");
  EXPECT_EQ(line.getWidth(), 12);
  EXPECT_EQ(line.value(), 0.5F);
  EXPECT_EQ(printed(line), "SliceGap:   0.5\n");
  EXPECT_EQ(printed(Line<int>("TR", 2000, 5)), "TR:  2000\n");
  EXPECT_EQ(printed(Line<bool>("ShowAMRFile", true, 14)), "ShowAMRFile:  1\n");
}

TEST(Line, SetStoresATextWithOrWithoutQuotes) {
  Line<std::string> line;
  line.set("Prefix", "run 1", 10, LineQuotes::around);
  EXPECT_TRUE(line.isSet());
  EXPECT_EQ(line.value(), "run 1");
  EXPECT_EQ(printed(line), "Prefix:   \"run 1\"\n");
  line.set("Prefix", "run1", 10, LineQuotes::none);
  EXPECT_EQ(printed(line), "Prefix:   run1\n");
}

TEST(Line, OnlyNumbersAreConstructedWithAValue) {
  static_assert(std::is_constructible_v<Line<int>, std::string, int, int>);
  static_assert(!std::is_constructible_v<Line<std::string>, std::string, std::string, int>);
}

TEST(Line, ReadAndWrittenBackKeepsTheSpacing) {
  const Line<int> line = readFrom<int>("NrOfVolumes:      120\n");
  EXPECT_EQ(line.getWidth(), 18);
  EXPECT_EQ(line, 120);
  EXPECT_EQ(printed(line), "NrOfVolumes:      120\n");
}

TEST(Line, ATabCountsAsOneColumnAndComesBackAsASpace) {
  const Line<int> line = readFrom<int>("NrOfVolumes:\t120\n");
  EXPECT_EQ(line.getWidth(), 13);
  EXPECT_EQ(printed(line), "NrOfVolumes: 120\n");
}

TEST(Line, ALabelAsLongAsItsWidthIsFollowedDirectlyByTheValue) {
  EXPECT_EQ(printed(Line<int>("TR", 5, 3)), "TR:5\n");
  EXPECT_EQ(printed(Line<int>("TR", 5, 0)), "TR:5\n");
  EXPECT_EQ(printed(Line<int>("TR", 5, -7)), "TR:5\n");
}

TEST(Line, FloatsAreWrittenWithSixDigits) {
  EXPECT_EQ(printed(Line<float>("A", 3.5F, 3)), "A: 3.5\n");
  EXPECT_EQ(printed(Line<float>("A", 2.0F, 3)), "A: 2\n");
  EXPECT_EQ(printed(Line<float>("A", 0.000001F, 3)), "A: 1e-06\n");
  EXPECT_EQ(printed(Line<float>("A", 1.2345678F, 3)), "A: 1.23457\n");
  EXPECT_EQ(printed(Line<float>("A", -1234567.0F, 3)), "A: -1.23457e+06\n");
}

TEST(Line, ValuesFollowTheStreamsFormatting) {
  std::ostringstream os;
  os << std::setprecision(3) << std::fixed;
  Line<float>("A", 2.0F, 3).printLineIfAllSet(os, 0);
  EXPECT_EQ(os.str(), "A: 2.000");
}

TEST(Line, BoolsAreNumbersEvenOnABoolalphaStream) {
  std::ostringstream os;
  os << std::boolalpha;
  Line<bool>("A", true, 3).printLineIfAllSet(os, 1);
  Line<bool>("A", false, 3).printLineIfAllSet(os, 1);
  EXPECT_EQ(os.str(), "A: 1\nA: 0\n");
  EXPECT_FALSE(readFrom<bool>("A: 0\n"));
  EXPECT_TRUE(readFrom<bool>("A: 1\n"));
}

TEST(Line, AFailedExtractionStillSetsTheLineAndStaysInTheStream) {
  std::istringstream is(" abc\n");
  Line<int> line;
  line.readLine(is, "TR:");
  EXPECT_TRUE(line.isSet());
  EXPECT_EQ(line.value(), 0);
  EXPECT_TRUE(is.fail());
  std::istringstream large(" 99999999999\n");
  line.readLine(large, "TR:");
  EXPECT_EQ(line.value(), std::numeric_limits<int>::max());
  EXPECT_TRUE(large.fail());
}

TEST(Line, WithNothingLeftANumberKeepsItsValueAndItsWidthShrinks) {
  Line<int> line("TR", 2000, 12);
  std::istringstream is("");
  std::string token;
  is >> token;  // the end is reached
  line.readLine(is, "TR:");
  EXPECT_EQ(line.value(), 2000);
  EXPECT_EQ(line.getWidth(), 3);
  EXPECT_EQ(printed(line), "TR:2000\n");
}

TEST(Line, QuotedStringKeepsItsQuotesButNotTheTrailingBlanks) {
  const auto line = readFrom<std::string>("Prefix:   \"run1\"   \n");
  EXPECT_EQ(line.value(), "run1");
  EXPECT_EQ(line.getWidth(), 10);
  EXPECT_EQ(printed(line), "Prefix:   \"run1\"\n");
}

TEST(Line, InnerBlanksAndQuotesStayInAString) {
  EXPECT_EQ(readFrom<std::string>("Prefix: my run \t 1\t \n").value(), "my run \t 1");
  EXPECT_EQ(readFrom<std::string>("Prefix: \"a\" b \"c\"\n").value(), "a\" b \"c");
  EXPECT_EQ(readFrom<std::string>("Prefix: \" a \"\n").value(), " a ");
}

TEST(Line, AQuoteAtOneEndOnlyBelongsToTheValue) {
  for (const std::string value : {"\"run1", "run1\"", "\""}) {
    const auto line = readFrom<std::string>("Prefix: " + value + "\n");
    EXPECT_EQ(line.value(), value);
    EXPECT_EQ(printed(line), "Prefix: " + value + "\n");
  }
}

TEST(Line, EmptyStringsWithAndWithoutQuotes) {
  const auto quoted = readFrom<std::string>("LoadAMRFile:  \"\"\n");
  EXPECT_EQ(quoted.value(), "");
  EXPECT_EQ(printed(quoted), "LoadAMRFile:  \"\"\n");
  const auto blanks = readFrom<std::string>("LoadAMRFile: \t \nNext: 1\n");
  EXPECT_EQ(blanks.value(), "");
  EXPECT_EQ(blanks.getWidth(), 15);
  const auto nothing = readFrom<std::string>("LoadAMRFile:\nNext: 1\n");
  EXPECT_EQ(nothing.value(), "");
  EXPECT_TRUE(nothing.isSet());
}

TEST(Line, AReadStringTakesTheWholeLineAndNoMore) {
  std::istringstream is(" one two \nNext: 5\n");
  Line<std::string> line;
  line.readLine(is, "Prefix:");
  std::string next;
  is >> next;
  EXPECT_EQ(next, "Next:");
}

TEST(Line, AStringReadAgainWithNothingLeftIsEmptyAndUnquoted) {
  auto line = readFrom<std::string>("Prefix: \"run1\"\n");
  std::istringstream is("");
  line.readLine(is, "Prefix:");
  EXPECT_EQ(line.value(), "");
  EXPECT_EQ(printed(line), "Prefix:\n");
}

TEST(NameAndWidth, TakesSpacesAndTabsButNoLineFeed) {
  std::istringstream is(" \t \nx");
  std::string name;
  int width = 0;
  getNameAndWidth(is, "Key:", name, width);
  EXPECT_EQ(name, "Key");
  EXPECT_EQ(width, 7);
  EXPECT_EQ(is.get(), '\n');
}

TEST(NameAndWidth, SurvivesAnEmptyLabel) {
  std::istringstream is(" x");
  std::string name = "old";
  int width = -1;
  getNameAndWidth(is, "", name, width);
  EXPECT_EQ(name, "");
  EXPECT_EQ(width, 1);
}

TEST(YesNo, OnlyAValueThatBeginsWithNIsNo) {
  for (const char* value : {"NO", "no", "N", "n", "Nonsense"})
    EXPECT_FALSE(readYesNoFrom("Key: " + std::string(value) + "\n")) << value;
  for (const char* value : {"YES", "yes", "1", "0", "false", "", "\"NO\""})
    EXPECT_TRUE(readYesNoFrom("Key: " + std::string(value) + "\n")) << value;
  EXPECT_TRUE(readYesNoFrom("Key:"));
}

TEST(YesNo, ReadingTakesTheRestOfTheLineAndTheWidth) {
  std::istringstream is("   NO or YES\nNext: 1\n");
  Line<bool> line;
  readYesNo(line, is, "Key:");
  EXPECT_TRUE(line.isSet());
  EXPECT_EQ(line.getName(), "Key");
  EXPECT_EQ(line.getWidth(), 7);
  std::string next;
  is >> next;
  EXPECT_EQ(next, "Next:");
}

TEST(YesNo, IsWrittenInCapitals) {
  std::ostringstream os;
  os << std::right;
  const std::ios_base::fmtflags flags = os.flags();
  printYesNoIfAllSet(readYesNoFrom("Key:  yes\n"), os, 2);
  printYesNoIfAllSet(readYesNoFrom("Key:  no\n"), os, 0);
  EXPECT_EQ(os.str(), "Key:  YES\n\nKey:  NO");
  EXPECT_EQ(os.flags(), flags);
}

TEST(YesNo, AnUnsetLineWritesNothing) {
  std::ostringstream os;
  Line<bool> line;
  line.updateValue(true);
  printYesNoIfAllSet(line, os, 3);
  EXPECT_EQ(os.str(), "");
}

}  // namespace

}  // namespace mirel
