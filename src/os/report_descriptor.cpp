#include "os/report_descriptor.h"

namespace xdsp::os {

namespace {
constexpr uint8_t tagInput = 0x80;
constexpr uint8_t tagOutput = 0x90;
constexpr uint8_t tagFeature = 0xB0;
constexpr uint8_t tagReportSize = 0x74;
constexpr uint8_t tagReportId = 0x84;
constexpr uint8_t tagReportCount = 0x94;
constexpr uint8_t tagPush = 0xA4;
constexpr uint8_t tagPop = 0xB4;
constexpr uint8_t longItemPrefix = 0xFE;
constexpr size_t stackDepth = 16;
// The Windows HID class gives report lengths in 16 bits, and the poll thread
// sizes its buffers by them: a longer report, ID byte counted, is refused.
constexpr uint64_t maxReportBits = (0xFFFFu - 1) * uint64_t{8};

struct GlobalState {
    uint32_t reportSize = 0;
    uint32_t reportCount = 0;
    uint32_t reportId = 0;
};

// A report that has a main item, even one of no bits, still has its ID byte.
uint32_t reportLength(uint64_t bits) {
    return static_cast<uint32_t>((bits + 7) / 8 + 1);
}
} // namespace

bool parseReportDescriptor(const uint8_t *data, size_t size, ReportLengths *lengths,
                           bool *usesReportIds) {
    // Bits per report type (input, output, feature) and report ID.
    static thread_local uint64_t bits[3][256];
    static thread_local bool present[3][256];
    for (int type = 0; type < 3; ++type)
        for (int id = 0; id < 256; ++id) {
            bits[type][id] = 0;
            present[type][id] = false;
        }
    GlobalState state;
    GlobalState stack[stackDepth];
    size_t depth = 0;
    bool idsSeen = false;

    size_t position = 0;
    while (position < size) {
        uint8_t prefix = data[position];
        if (prefix == longItemPrefix) {
            if (position + 1 >= size)
                return false;
            position += 3u + data[position + 1];
            continue;
        }
        static constexpr size_t dataSizes[4] = {0, 1, 2, 4};
        size_t dataSize = dataSizes[prefix & 3];
        if (position + 1 + dataSize > size)
            return false;
        uint32_t value = 0;
        for (size_t i = 0; i < dataSize; ++i)
            value |= static_cast<uint32_t>(data[position + 1 + i]) << (8 * i);
        position += 1 + dataSize;

        int type = -1;
        switch (prefix & 0xFC) {
        case tagReportSize:
            state.reportSize = value;
            break;
        case tagReportCount:
            state.reportCount = value;
            break;
        case tagReportId:
            state.reportId = value & 0xFF;
            idsSeen = true;
            break;
        case tagPush:
            if (depth == stackDepth)
                return false;
            stack[depth++] = state;
            break;
        case tagPop:
            if (depth == 0)
                return false;
            state = stack[--depth];
            break;
        case tagInput:
            type = 0;
            break;
        case tagOutput:
            type = 1;
            break;
        case tagFeature:
            type = 2;
            break;
        default:
            break;
        }
        if (type >= 0) {
            // Refused as soon as it is too long, so the sum cannot wrap.
            uint64_t &reportBits = bits[type][state.reportId];
            reportBits += static_cast<uint64_t>(state.reportSize) * state.reportCount;
            if (reportBits > maxReportBits)
                return false;
            present[type][state.reportId] = true;
        }
    }

    uint32_t longest[3] = {0, 0, 0};
    for (int type = 0; type < 3; ++type)
        for (int id = 0; id < 256; ++id)
            if (present[type][id] && reportLength(bits[type][id]) > longest[type])
                longest[type] = reportLength(bits[type][id]);
    lengths->input = longest[0];
    lengths->output = longest[1];
    lengths->feature = longest[2];
    if (usesReportIds != nullptr)
        *usesReportIds = idsSeen;
    return true;
}

} // namespace xdsp::os
