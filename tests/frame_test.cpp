#include "frame/bounded_string.h"
#include "frame/error_text.h"
#include "os/os.h"
#include "support/capture.h"

#include <cstring>
#include <gtest/gtest.h>

using xdsp::Char16;
using xdsp::test::Text;

TEST(VersionQuery, FillsOnlyWhatTheRecordSizeAllows) {
    xdsp_dll_version_info2 record;
    std::memset(&record, 0xAB, sizeof record);
    record.info1.cbSize = 20;
    EXPECT_EQ(DllGetVersion(&record.info1), 0);
    EXPECT_EQ(record.info1.cbSize, 20u);
    EXPECT_EQ(record.info1.dwMajorVersion, 1u);
    EXPECT_EQ(record.dwFlags, 0xABABABABu) << "the first form must not touch the second's fields";

    record.info1.cbSize = 32;
    EXPECT_EQ(DllGetVersion(&record.info1), 0);
    EXPECT_EQ(record.dwFlags, 0u);

    std::memset(&record, 0xCD, sizeof record);
    record.info1.cbSize = 19;
    EXPECT_EQ(static_cast<uint32_t>(DllGetVersion(&record.info1)), 0x80004002u);
    EXPECT_EQ(record.info1.dwMajorVersion, 0xCDCDCDCDu);
    EXPECT_EQ(static_cast<uint32_t>(DllGetVersion(nullptr)), 0x80004003u);
}

TEST(ErrorText, SystemTextOrUnknownWithSignedCode) {
    Char16 expected[256];
    ASSERT_TRUE(xdsp::os::systemErrorText(6, expected, 256));
    auto textOf = [](uint32_t code) {
        Char16 text[xdsp::errorTextChars];
        xdsp::errorTextInto(code, text);
        return Text(text);
    };
    EXPECT_EQ(textOf(6), Text(expected));
    EXPECT_EQ(textOf(0xE0001234u), Text(WIDE("Unknown Error: -536866252")));
    EXPECT_EQ(textOf(12345678u), Text(WIDE("Unknown Error: 12345678")));
}

TEST(BoundedString, CutsToCapacityAlwaysTerminatesAndFormatsTheDebugLines) {
    Text longLine(300, WIDE('x'));
    Char16 buffer[256];
    std::memset(buffer, 0x55, sizeof buffer);
    EXPECT_EQ(xdsp::boundedFormat(buffer, 256, WIDE("%s"), longLine.c_str()), 255u);
    EXPECT_EQ(Text(buffer), longLine.substr(0, 255));

    Char16 small[8];
    std::memset(small, 0x55, sizeof small);
    Char16 guard = small[7];
    EXPECT_EQ(xdsp::boundedCopy(small, 7, WIDE("0123456789")), 6u);
    EXPECT_EQ(Text(small), Text(WIDE("012345")));
    EXPECT_EQ(small[7], guard) << "nothing past the stated capacity is written";
    EXPECT_EQ(xdsp::boundedCopy(small, 0, WIDE("abc")), 0u);

    // The conversions that debug lines use.
    xdsp::boundedFormat(buffer, 256, WIDE("HID: Corrupted Data Length (0x%04X)\n"), 0x101u);
    EXPECT_EQ(Text(buffer), Text(WIDE("HID: Corrupted Data Length (0x0101)\n")));
    xdsp::boundedFormat(buffer, 256, WIDE("{%08X-%04X-%02X%02x}"), 0x4D1E55B2u, 0xF16Fu, 0x88u,
                        0xcbu);
    EXPECT_EQ(Text(buffer), Text(WIDE("{4D1E55B2-F16F-88cb}")));
    xdsp::boundedFormat(buffer, 256, WIDE("%d|%u|%5d|%-4d|%c|%hs|%%"), -42, 4000000000u, 7, 3, 'Z',
                        "narrow");
    EXPECT_EQ(Text(buffer), Text(WIDE("-42|4000000000|    7|3   |Z|narrow|%")));
    xdsp::boundedFormat(buffer, 256, WIDE("%lld %llX"), -9000000000ll, 0x1234567890ull);
    EXPECT_EQ(Text(buffer), Text(WIDE("-9000000000 1234567890")));
}
