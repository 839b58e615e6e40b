#include "base/plaintext.h"

#include <gmock/gmock.h>

#include "base/error.h"
#include "support/niftifiles.h"

namespace mirel {

using niftifiles::failure;
using testing::HasSubstr;

TEST(PlainText, IsTakenInAnyLanguage) {
  requirePlainText("", "a.txt");
  requirePlainText(
      "# m\xC3\xBC"
      "de\r\n0\t1\f\n",
      "a.txt");
}

TEST(PlainText, MarksAndControlBytesAreNamed) {
  for (const char* mark : {"\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF"})
    EXPECT_THAT(failure([&] { requirePlainText(mark + std::string("0 1"), "a.txt"); }),
                HasSubstr("a.txt begins with a byte-order mark"));
  EXPECT_THAT(failure([] { requirePlainText("0\n1\n\x02", "a.txt"); }),
              HasSubstr("line 3 holds the control byte 2"));
  EXPECT_THAT(failure([] {
                requirePlainText({'0', '\0', '1'}, "a.txt");
              }),
              HasSubstr("line 1 holds the control byte 0"));
}

TEST(PlainText, ACommaBetweenDigitsIsSuspected) {
  EXPECT_THAT(decimalCommaText("1, 2 0,5"), HasSubstr("decimal comma"));
  for (const char* text : {"", ",", "1,", ",1", "1, 2", "a,b"})
    EXPECT_EQ(decimalCommaText(text), "");
}

TEST(PlainText, ControlBytesDoNotReachATerminal) {
  EXPECT_EQ(withoutControlBytes("a\tb\nc\r\x1B[31m\x7F"), "a\tb\nc??[31m?");
  EXPECT_EQ(withoutControlBytes("M\xC3\xBCnchen \xC2\x9B"
                                "31m \xC2\xB0 \xC2"),
            "M\xC3\xBCnchen ?31m \xC2\xB0 \xC2");
}

}  // namespace mirel
