// Report descriptors of any content, as the Linux device layer hands them to
// the parser. Parsing twice must give the same answer: the parser keeps its
// per-report counts between calls and must start afresh each time.
#include "fuzz_support.h"
#include "os/report_descriptor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    xdsp::os::ReportLengths first;
    bool firstIds = false;
    bool firstResult = xdsp::os::parseReportDescriptor(data, size, &first, &firstIds);
    xdsp::os::ReportLengths second;
    bool secondIds = false;
    bool secondResult = xdsp::os::parseReportDescriptor(data, size, &second, &secondIds);
    FUZZ_REQUIRE(firstResult == secondResult);
    if (firstResult) {
        FUZZ_REQUIRE(first.input == second.input && first.output == second.output &&
                     first.feature == second.feature && firstIds == secondIds);
        // The poll thread sizes its buffers from these lengths, which the
        // Windows HID class gives in 16 bits.
        FUZZ_REQUIRE(first.input <= 0xFFFF && first.output <= 0xFFFF && first.feature <= 0xFFFF);
    }
    return 0;
}
