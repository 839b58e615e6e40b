#include "report/mustache.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using namespace mirel;
using report::filled;

TEST(Mustache, FillsTextsListsAndSections) {
  const Json data = {{"name", "AP"},
                     {"rows", {Json{{"x", "1"}}, Json{{"x", "2"}}}},
                     {"shown", true},
                     {"hidden", false},
                     {"missing", nullptr}};
  EXPECT_EQ(
      filled("{{name}}:{{#rows}}<{{x}}>{{/rows}}{{#shown}}yes{{/shown}}{{#hidden}}no{{/hidden}}"
             "{{#missing}}no{{/missing}}{{^missing}}none{{/missing}}",
             data),
      "AP:<1><2>yesnone");
}

TEST(Mustache, EscapesWhatCouldBeMarkup) {
  const Json data = {{"name", "<script>alert(\"1\")</script> & 'x'"}};
  EXPECT_EQ(filled("<p title=\"{{name}}\">", data),
            "<p title=\"&lt;script&gt;alert(&quot;1&quot;)&lt;/script&gt; &amp; &apos;x&apos;\">");
  // What a text holds is not read as a template.
  EXPECT_EQ(filled("{{name}}", Json{{"name", "{{{name}}}"}}), "{{{name}}}");
}

TEST(Mustache, ReplacesBytesThatAreNotUtf8) {
  EXPECT_EQ(filled("{{name}}", Json{{"name",
                                     "a\xff"
                                     "b"}}),
            "a\xef\xbf\xbd"
            "b");
}

TEST(Mustache, RefusesNumbersAndBrokenTemplates) {
  EXPECT_THROW(filled("{{n}}", Json{{"n", 1.5}}), std::logic_error);
  EXPECT_THROW(filled("{{#open}}", Json::object()), std::logic_error);
}

}  // namespace
