// The library against the emulated boot loader and its flash file system, in
// both read-prefix modes: identification through the not-ready filler, the
// file table after uploads with dates that round-trip, the boot file, and the
// boot loader's faults as the results show them.
#include "board.h"
#include "bootloader/boot_loader.h"
#include "bootloader/ole_date.h"
#include "support/commands.h"
#include "support/emulated_board.h"
#include "support/sample_bytes.h"
#include "support/scripted_board.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace xdsp;
using namespace xdsp::test;

namespace {
// The command codes the boot loader heard, in order.
std::vector<uint8_t> heardCodes(EmulatedBoard &emulated) {
    std::vector<uint8_t> codes;
    emulated.board().inspectBootLoader([&](emu::BootLoader &bootLoader) {
        for (const emu::SpiExchange &exchange : bootLoader.transfers())
            if (exchange.written.size() > 4 && exchange.written[0] == 'B')
                codes.push_back(exchange.written[4]);
    });
    return codes;
}

size_t heard(EmulatedBoard &emulated, uint8_t code) {
    std::vector<uint8_t> codes = heardCodes(emulated);
    return static_cast<size_t>(std::count(codes.begin(), codes.end(), code));
}

// Reads or changes the boot loader's faults under the board's lock.
template <typename Change> void withFaults(EmulatedBoard &emulated, Change change) {
    emulated.board().inspectBootLoader(
        [&](emu::BootLoader &bootLoader) { change(bootLoader.faults()); });
}

struct Entry {
    uint16_t type = 0xEEEE;
    uint32_t start = 0, end = 0, faiBytes = 0;
    Char16 name[64] = {};
    double created = -1, modified = -1;
};

Entry entry(int32_t index) {
    Entry read;
    EXPECT_EQ(BootLoader_GetFileDesc(index, &read.type, &read.start, &read.end, &read.faiBytes,
                                     read.name, 64, &read.created, &read.modified),
              1);
    return read;
}

constexpr double oneSecond = 1.0 / 86400;

class EmulatedBootLoader : public ::testing::TestWithParam<bool> {
  protected:
    void open(emu::BootLoaderOptions options = {}) {
        emulated_ = std::make_unique<EmulatedBoard>(boardWithBootLoader(std::move(options)));
        ASSERT_TRUE(emulated_->openAndSettle(capture));
        XMOSSPI_SetReadPrefix(GetParam() ? 1 : 0);
        // The process keeps the table of the board it last read, as an
        // application does; this board's is read as one reads a new board's.
        ASSERT_EQ(XMOSBoot_BuildFAI(), 1);
        capture.clear();
    }
    EmulatedBoard &emulated() { return *emulated_; }

    Capture capture;
    std::unique_ptr<EmulatedBoard> emulated_;
};
} // namespace

TEST_P(EmulatedBootLoader, IdentifiesThroughTheFiller) {
    // Two filler replies: the wire test pins the bytes of a single one.
    emu::BootLoaderOptions options;
    options.faults.notReadyCode = 0x0A;
    options.faults.notReadyReplies = 2;
    open(options);
    EXPECT_EQ(XMOSBoot_GetMemorySize(), 2097152u);
    EXPECT_EQ(heard(emulated(), 0x0A), 3u) << "two filler replies, then the answer";
}

TEST_P(EmulatedBootLoader, UploadsTwiceWithDatesThenTheBootFileAndARun) {
    open();
    Bytes first = sampleBytes(700, 3);
    double before = bootloader::oleDateNow();
    ASSERT_EQ(BootLoader_Send(4, 2, 0x30000, 0x32000, WIDE("coefficients.dat"), first.data(), 700,
                              0, nullptr, 0),
              1);
    EXPECT_EQ(os::lastError(), XDSP_ERROR_SUCCESS);
    double after = bootloader::oleDateNow();

    ASSERT_EQ(BootLoader_Init(2, 2), 1) << "the table as the board now holds it";
    Entry uploaded = entry(4);
    EXPECT_GE(uploaded.modified, before - oneSecond);
    EXPECT_LE(uploaded.modified, after + oneSecond);
    EXPECT_NEAR(uploaded.created, uploaded.modified, 1e-9) << "a new file: created now";
    EXPECT_EQ(entry(3).name[0], 0) << "the neighbours stay empty";

    // The same place again: the creation date stays.
    os::sleepMs(1100);
    Bytes second = sampleBytes(333, 9);
    ASSERT_EQ(BootLoader_Send(4, 2, 0x30000, 0x32000, WIDE("coefficients.dat"), second.data(), 333,
                              0, nullptr, 0),
              1);
    EXPECT_EQ(os::lastError(), XDSP_ERROR_SUCCESS);
    ASSERT_EQ(BootLoader_Init(2, 2), 1);
    Entry again = entry(4);
    EXPECT_NEAR(again.created, uploaded.created, 1e-9);
    EXPECT_GT(again.modified, uploaded.modified);
    emulated().board().inspectBootLoader([&](emu::BootLoader &bootLoader) {
        EXPECT_EQ(bootLoader.fileSystem().entry(4).length, 332u) << "the odd last byte stays home";
    });

    // The boot file, then a run.
    Bytes image = sampleBytes(1000, 1);
    ASSERT_EQ(BootLoader_Send(31415, 0, 0, 0, nullptr, image.data(), 1000, 0, nullptr, 0), 1);
    EXPECT_EQ(os::lastError(), XDSP_ERROR_SUCCESS)
        << "the boot file's sum leaves out its first 256 bytes";
    EXPECT_EQ(BootLoader_Boot(), 1);
    EXPECT_TRUE(eventually([&] {
        uint32_t starts = 0;
        emulated().board().inspectBootLoader(
            [&](emu::BootLoader &bootLoader) { starts = bootLoader.programStarts(); });
        return starts == 1;
    }));
}

TEST_P(EmulatedBootLoader, FaultsShowInTheResults) {
    open();
    // A file with sectors and a type, made without an upload.
    ASSERT_EQ(XMOSBoot_AllocateFile(0, 0x20000, 0x22000), 1);
    ASSERT_EQ(XMOSBoot_SetFileType(0, 3), 1);
    ASSERT_EQ(XMOSBoot_Commit(), 1);
    ASSERT_EQ(XMOSBoot_BuildFAI(), 1);
    EXPECT_EQ(entry(0).type, 3);

    // Garbled twice: reported, the entry left empty; the call still succeeds.
    withFaults(emulated(), [](emu::BootLoaderFaults &faults) { faults.garbledRecordReplies = 2; });
    capture.clear();
    EXPECT_EQ(XMOSBoot_BuildFAI(), 1);
    EXPECT_EQ(entry(0).type, 0);
    EXPECT_EQ(entry(0).start, 0x20000u) << "the allocation came with the table";
    EXPECT_TRUE(
        hasPieces(capture, {WIDE("Send SPI Command: "), WIDE("BOOT\\x2F\\x01\\x00\\x01\n")}));

    // A type change carried out whose reply is scrambled on the way: 0, yet the
    // board has the new type; the second garbled reply is left for later.
    withFaults(emulated(), [](emu::BootLoaderFaults &faults) {
        faults.garbledCode = 0x28;
        faults.garbledReplies = 2;
    });
    EXPECT_EQ(XMOSBoot_SetFileType(0, 2), 0);
    ASSERT_EQ(XMOSBoot_BuildFAI(), 1);
    EXPECT_EQ(entry(0).type, 2);
    withFaults(emulated(),
               [](emu::BootLoaderFaults &faults) { EXPECT_EQ(faults.garbledReplies, 1u); });

    // A long run drops the emulator's logs.
    emulated().board().forgetHistory();
    EXPECT_TRUE(heardCodes(emulated()).empty());
    EXPECT_TRUE(emulated().board().receivedCommands().empty());
}

INSTANTIATE_TEST_SUITE_P(BothModes, EmulatedBootLoader, ::testing::Bool(), modeName);

TEST(EmulatedBootLoaderAlone, NoMemoryChipStopsTheInit) {
    emu::BootLoaderOptions options;
    options.memoryId = {0xBF, 0x25, 0xFF, 0x01};
    Capture capture;
    EmulatedBoard emulated(boardWithBootLoader(options));
    ASSERT_TRUE(emulated.openAndSettle(capture));
    EXPECT_EQ(BootLoader_Init(2, 2), 0);
    EXPECT_EQ(BootLoader_GetMemory(), 0u);
    EXPECT_EQ(Text(BootLoader_GetVersion()), WIDE(""));
    EXPECT_EQ(heard(emulated, 0x0B), 0u) << "nothing more asked";
    EXPECT_EQ(heard(emulated, 0x2B), 0u);
}
