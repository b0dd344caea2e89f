// The tool's conversion of the system's wide texts, such as Windows command
// lines, to the UTF-8 of its output.
#include "text.h"

#include <gtest/gtest.h>

TEST(ToolText, Utf16ConvertsToUtf8AndHalfPairsAreReplaced) {
    using Wide = std::basic_string<xdsp_char16>;
    // One, two, three and four bytes; the last a surrogate pair in UTF-16.
    const Wide wide = {u'a', 0x00E9, 0x20AC, 0xD834, 0xDD1E};
    EXPECT_EQ(toUtf8(wide.c_str()), "a\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9E");

    const std::string replacement = "\xEF\xBF\xBD";
    EXPECT_EQ(toUtf8(Wide{0xD834, u'x'}.c_str()), replacement + "x"); // a high half alone
    EXPECT_EQ(toUtf8(Wide{0xDD1E}.c_str()), replacement);             // a low half alone
}
