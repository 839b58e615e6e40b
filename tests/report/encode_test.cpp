#include "report/encode.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

namespace {

using namespace mirel;

std::string base64Of(const std::string& text) {
  return report::base64({reinterpret_cast<const unsigned char*>(text.data()), text.size()});
}

// The examples of RFC 4648, section 10.
TEST(Base64, IsThatOfTheStandard) {
  EXPECT_EQ(base64Of(""), "");
  EXPECT_EQ(base64Of("f"), "Zg==");
  EXPECT_EQ(base64Of("fo"), "Zm8=");
  EXPECT_EQ(base64Of("foobar"), "Zm9vYmFy");
  EXPECT_EQ(base64Of("\xff\xfe\xfb"), "//77");
}

// The SHA-256 of "abc" (FIPS 180-4) in base64.
TEST(PolicyHash, IsTheSha256InBase64) {
  EXPECT_EQ(report::policyHash("abc"), "'sha256-ungWv48Bz+pBQUDeXa4iI7ADYaOWF3qctBD/YfIAFa0='");
}

TEST(PolicyHash, IsMadeOfAChecksumToo) {
  const std::string sum = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
  EXPECT_EQ(report::policyHashOf(sum), report::policyHash("abc"));
  EXPECT_THROW(report::policyHashOf(sum.substr(1)), std::invalid_argument);
  EXPECT_THROW(report::policyHashOf("x" + sum.substr(1)), std::invalid_argument);
}

TEST(DataAddress, HoldsAPng) {
  const std::string address = report::dataAddress(picture::RgbImage(3, 2));
  EXPECT_EQ(address.substr(0, 34),
            "data:image/png;base64,iVBORw0KGgo"
            "A");
  EXPECT_EQ(address, report::dataAddress(picture::RgbImage(3, 2)));
}

}  // namespace
