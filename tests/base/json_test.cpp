#include "base/json.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>

using namespace mirel;
using Library = nlohmann::ordered_json;

namespace {

const std::string notUtf8 = "a\xff\xfe z";

// One value of every kind, written once for Json and once for the library.
template <class Value>
Value everything() {
  Value value = {{"text", "a \"quoted\" line\n and \xc3\xa4"},
                 {"numbers", {1, -2, 0.1, 1e300, 3.0F}},
                 {"large", std::numeric_limits<std::uint64_t>::max()},
                 {"small", std::numeric_limits<std::int64_t>::min()},
                 {"truth", true},
                 {"nothing", nullptr},
                 {"nested", {{"a", 1}, {"b", {{"c", 2}}}}},
                 {"pairs", {{"x", "y"}, {"u", "v"}}},
                 {"texts", std::vector<std::string>{"x", "y"}},
                 {"notFinite", std::numeric_limits<double>::quiet_NaN()},
                 {"noList", Value::array()},
                 {"noFields", Value::object()},
                 {"list", Value::array({{{"one", 1}}, {{"two", 2}}})}};
  value["added"]["deeper"] = 7;
  value["rows"] = Value::array();
  value["rows"].push_back({1.5, 2.5});
  value.update(Value{{"truth", false}, {"last", 0}});
  return value;
}

TEST(Json, WritesWhatTheLibraryWrites) {
  EXPECT_EQ(everything<Json>().dump(), everything<Library>().dump());
  EXPECT_EQ(everything<Json>().dump(2), everything<Library>().dump(2));
}

TEST(Json, KeepsTheFirstOfTwoFieldsInBraces) {
  EXPECT_EQ((Json{{"a", 1}, {"a", 2}}).dump(), (Library{{"a", 1}, {"a", 2}}).dump());
}

TEST(Json, HandlesBytesThatAreNotUtf8) {
  using Handler = Library::error_handler_t;
  const Json value = {{"file", notUtf8}};
  const Library library = {{"file", notUtf8}};
  EXPECT_EQ(value.dump(2, Json::NotUtf8::replaced), library.dump(2, ' ', false, Handler::replace));
  EXPECT_EQ(value.dump(2, Json::NotUtf8::dropped), library.dump(2, ' ', false, Handler::ignore));
  EXPECT_THROW(value.dump(2), Json::Fault);
}

TEST(Json, ReadsWhatItWrites) {
  const auto read = Json::parse(everything<Json>().dump());
  ASSERT_TRUE(read);
  EXPECT_EQ(read->dump(), nlohmann::json::parse(everything<Library>().dump()).dump());
  EXPECT_EQ(read->at("numbers").at(1).integer(), -2);
  EXPECT_EQ(read->at("numbers").at(2).number(), 0.1);
  EXPECT_EQ(read->at("nested").at("b").at("c").number(), 2.0);
  EXPECT_EQ(read->at("texts").list().size(), 2U);
  EXPECT_TRUE(read->at("nothing").is_null());
  EXPECT_FALSE(read->contains("absent"));
}

TEST(Json, TakesTheLastOfTwoFieldsOfAText) {
  const auto read = Json::parse(R"({"a": 1, "a": 2})");
  ASSERT_TRUE(read);
  EXPECT_EQ(read->at("a").integer(), 2);
}

TEST(Json, ReadsNothingFromOtherText) {
  for (const char* text : {"", "{", "{\"a\":}", "nonsense", "{} {}", "\xff"})
    EXPECT_FALSE(Json::parse(text)) << text;
}

TEST(Json, ReadsNothingThatIsNestedTooDeep) {
  const auto nested = [](std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
  };
  EXPECT_TRUE(Json::parse(nested(500)));
  EXPECT_FALSE(Json::parse(nested(502)));
  EXPECT_FALSE(Json::parse(nested(1000000)));
}

TEST(Json, GivesOfFieldsOfTheRightTypeAndNothingOfOthers) {
  const Json value = {{"text", "a"},
                      {"number", 1.5},
                      {"texts", Json::array({"a", 1, "", "b"})},
                      {"numbers", Json::array({1, "a", 2.5})},
                      {"inner", {{"text", "deep"}}}};
  EXPECT_EQ(value.textOf("text"), "a");
  EXPECT_EQ(value.textOf("number"), "");
  EXPECT_EQ(value.textOf("absent"), "");
  EXPECT_EQ(value.numberOf("number"), 1.5);
  EXPECT_FALSE(value.numberOf("text"));
  EXPECT_FALSE(value.numberOf("absent"));
  EXPECT_EQ(value.textsOf("texts"), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(value.textsOf("text"), std::vector<std::string>{"a"});
  EXPECT_TRUE(value.textsOf("number").empty());
  EXPECT_EQ(value.numbersOf("numbers"), (std::vector<double>{1, 2.5}));
  EXPECT_TRUE(value.numbersOf("number").empty());
  EXPECT_EQ(value.part("inner").textOf("text"), "deep");
  EXPECT_EQ(value.part("text").part("inner").textOf("text"), "");
}

TEST(Json, RefusesToBeReadAsSomethingElse) {
  const Json value = {{"text", "1"}, {"number", 1}};
  EXPECT_THROW(value.at("text").number(), Json::Fault);
  EXPECT_THROW(value.at("text").integer(), Json::Fault);
  EXPECT_THROW(value.at("number").string(), Json::Fault);
  EXPECT_THROW(value.at("number").list(), Json::Fault);
  EXPECT_THROW(value.at("number").items(), Json::Fault);
  EXPECT_THROW(value.at("absent"), Json::Fault);
  EXPECT_THROW(value.at(std::size_t{0}), Json::Fault);
  EXPECT_THROW((Json{1, 2}).at(2), Json::Fault);
  EXPECT_THROW(Json("text")["field"], Json::Fault);
  EXPECT_THROW(Json("text").push_back(1), Json::Fault);
}

}  // namespace
