#include "report_descriptor_builder.h"

namespace xdsp::emu {

namespace {
// Short-item prefixes with the size bits clear; the size is added per item.
constexpr uint8_t usagePage = 0x04;
constexpr uint8_t usage = 0x08;
constexpr uint8_t collection = 0xA0;
constexpr uint8_t endCollection = 0xC0;
constexpr uint8_t logicalMinimum = 0x14;
constexpr uint8_t logicalMaximum = 0x24;
constexpr uint8_t reportSize = 0x74;
constexpr uint8_t reportCount = 0x94;
constexpr uint8_t input = 0x80;
constexpr uint8_t output = 0x90;

constexpr uint32_t vendorDefinedPage = 0xFF00;
constexpr uint32_t applicationCollection = 0x01;
constexpr uint32_t dataVariableAbsolute = 0x02;

// size is 1, 2 or 4 data bytes, little-endian.
void addItem(std::vector<uint8_t> &descriptor, uint8_t prefix, uint32_t value, unsigned size) {
    uint8_t sizeBits = size == 4 ? 3 : static_cast<uint8_t>(size);
    descriptor.push_back(static_cast<uint8_t>(prefix | sizeBits));
    for (unsigned i = 0; i < size; ++i)
        descriptor.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

// Report Count is unsigned, so the shortest form that holds it will do.
void addReportCount(std::vector<uint8_t> &descriptor, uint32_t count) {
    unsigned size = count <= 0xFF ? 1 : count <= 0xFFFF ? 2 : 4;
    addItem(descriptor, reportCount, count, size);
}

void addReport(std::vector<uint8_t> &descriptor, uint8_t mainItem, uint32_t length) {
    if (length == 0)
        return;
    addItem(descriptor, usage, 0x01, 1);
    addReportCount(descriptor, length - 1); // the report-ID byte is not a field
    addItem(descriptor, mainItem, dataVariableAbsolute, 1);
}
} // namespace

std::vector<uint8_t> buildReportDescriptor(uint32_t inputReportLength,
                                           uint32_t outputReportLength) {
    std::vector<uint8_t> descriptor;
    addItem(descriptor, usagePage, vendorDefinedPage, 2);
    addItem(descriptor, usage, 0x01, 1);
    addItem(descriptor, collection, applicationCollection, 1);
    addItem(descriptor, logicalMinimum, 0, 1);
    addItem(descriptor, logicalMaximum, 0xFF, 2); // one byte would read as -1
    addItem(descriptor, reportSize, 8, 1);
    addReport(descriptor, input, inputReportLength);
    addReport(descriptor, output, outputReportLength);
    descriptor.push_back(endCollection);
    return descriptor;
}

} // namespace xdsp::emu
