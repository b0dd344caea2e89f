// The tool's conversion between the library's UTF-16 and the UTF-8 of
// command lines and output.
#include "text.h"

#include <gtest/gtest.h>

TEST(ToolText, Utf8AndUtf16ConvertBothWaysAndReplaceWhatIsMalformed) {
    using Wide = std::basic_string<xdsp_char16>;
    // One, two, three and four bytes; the last a surrogate pair in UTF-16.
    const std::string text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9E";
    const Wide wide = {u'a', 0x00E9, 0x20AC, 0xD834, 0xDD1E};
    EXPECT_EQ(fromUtf8(text), wide);
    EXPECT_EQ(toUtf8(wide.c_str()), text);

    const Wide replaced = {0xFFFD};
    EXPECT_EQ(fromUtf8("x\xFFy"), (Wide{u'x', 0xFFFD, u'y'}));           // never a lead byte
    EXPECT_EQ(fromUtf8("caf\xC3"), (Wide{u'c', u'a', u'f', 0xFFFD}));    // cut short
    EXPECT_EQ(fromUtf8("\xC3("), (Wide{0xFFFD, u'('}));                  // no continuation
    EXPECT_EQ(fromUtf8("\xC0\xAF"), replaced + replaced);                // overlong '/'
    EXPECT_EQ(fromUtf8("\xED\xA0\x80"), replaced + replaced + replaced); // a surrogate
    EXPECT_EQ(fromUtf8("\xF4\x90\x80\x80").front(), 0xFFFD);             // past U+10FFFF

    const std::string replacement = "\xEF\xBF\xBD";
    EXPECT_EQ(toUtf8(Wide{0xD834, u'x'}.c_str()), replacement + "x"); // a high half alone
    EXPECT_EQ(toUtf8(Wide{0xDD1E}.c_str()), replacement);             // a low half alone
}
