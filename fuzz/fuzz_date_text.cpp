// Date texts of any content and length, as they come back in a file's
// name-and-date block. A text that gives a date the library can write must
// give the same date again once written out in its own form.
#include "bootloader/ole_date.h"
#include "fuzz_support.h"
#include "os/os.h"

#include <cmath>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace xdsp::bootloader;
    // A copy of exactly size bytes, so that a read past the stated length is seen.
    std::vector<uint8_t> text(data, data + size);
    double date = parseDateText(text.data(), text.size());
    FUZZ_REQUIRE(std::isfinite(date));
    // Fields that roll past 9999 or before 0100 give dates no text can hold.
    xdsp::os::DateFields time{};
    if (date == 0.0 || !xdsp::os::fieldsFromOleDate(date, &time))
        return 0;
    char written[dateTextChars];
    formatDateText(date, written);
    FUZZ_REQUIRE(written[dateTextChars - 1] == 0);
    double again = parseDateText(reinterpret_cast<const uint8_t *>(written), dateTextChars);
    // Whole seconds both ways: a second is 1/86400 of a day.
    FUZZ_REQUIRE(std::fabs(again - date) < 0.5 / 86400);
    return 0;
}
