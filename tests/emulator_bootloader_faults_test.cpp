// The emulated boot loader's timing on its busy line, the faults a test can
// switch on, its memory chips, and its flash kept in an image file.
#include "support/boot_loader_wire.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <random>
#include <stdexcept>

namespace {

using namespace bootwire;
using namespace std::chrono_literals;
using xdsp::emu::always;
using xdsp::emu::BootLoader;
using xdsp::emu::BootLoaderOptions;

const Bytes readPrefix{'R', 'D'};
const Bytes faiRequest{'B', 'O', 'O', 'T', '+', 0x00};

TEST(EmulatorBootLoader, HoldsItsBusyLineWhileItWorks) {
    BootLoaderOptions options = wireOptions();
    options.formatBusyMillis = 50;
    options.commandBusyMicros = 300;
    Wire wire(options);
    EXPECT_FALSE(wire.busy());
    ASSERT_EQ(wire.transfer(boot(0x2A, {1, 16, 4}), 14)[6], 0x2A);
    EXPECT_TRUE(wire.busy()) << "an ordinary command, briefly";
    wire.wait(300us);
    EXPECT_FALSE(wire.busy());

    wire.transfer(boot(0x30, {1}), 0);
    EXPECT_TRUE(wire.busy());
    EXPECT_EQ(wire.transfer(readPrefix, 22), Bytes(22, 0xCC)) << "nothing ready while it formats";
    EXPECT_EQ(wire.transfer(boot(0x0B, {}), 14), Bytes(14, 0xCC)) << "and it hears no command";
    EXPECT_EQ(wire.transfer({}, 4), Bytes(4, 0xCC));
    wire.wait(49ms);
    EXPECT_TRUE(wire.busy());
    wire.wait(1ms);
    EXPECT_FALSE(wire.busy());
    Bytes reply = wire.transfer(readPrefix, 22);
    EXPECT_EQ(reply[6], 0x30) << "the format's reply waited, whole";
    EXPECT_EQ(wire.loader.fileSystem().openFile(), 1);

    wire.wait(1s);
    Bytes sameTransfer = wire.transfer(boot(0x3A, {31415}), 22);
    EXPECT_EQ(sameTransfer[6], 0x3A) << "a reply read with its command comes before the work";
    EXPECT_TRUE(wire.busy());
}

TEST(EmulatorBootLoader, FaultsFromItsOptions) {
    BootLoaderOptions options = wireOptions();
    options.faults.unacknowledgedReplies = always; // any command
    Wire wire(options);
    for (uint8_t code : std::initializer_list<uint8_t>{0x0B, 0x2B, 0x33})
        EXPECT_EQ(wire.transfer(boot(code, {}), 8)[6], static_cast<uint8_t>(~code));
}

TEST(EmulatorBootLoader, MemoryChipSetsTheFlashSize) {
    using xdsp::emu::memorySizeForChip;
    EXPECT_EQ(memorySizeForChip(0x49), 131072u);
    EXPECT_EQ(memorySizeForChip(0x8D), 524288u);
    EXPECT_EQ(memorySizeForChip(0x41), 2097152u);
    EXPECT_EQ(memorySizeForChip(0x47), 4194304u);
    EXPECT_EQ(memorySizeForChip(0x90), 0u);

    BootLoaderOptions options = wireOptions();
    options.memoryId[2] = 0xFF;
    Wire noChip(options);
    EXPECT_EQ(noChip.loader.flashSize(), 0u);
    EXPECT_EQ(noChip.transfer(boot(0x0A, {}), 22)[10], 0xFF) << "still tells what it found";
    EXPECT_EQ(wordAt(noChip.transfer(boot(0x2A, {1, 16, 1}), 10), 6), 0xAA01);
    EXPECT_EQ(wordAt(noChip.transfer(boot(0x2A, {1, 16, 1}), 10), 8), 6) << "no flash";
    EXPECT_EQ(noChip.transfer(boot(0x3A, {31415}), 10)[6], 0xBA);
    EXPECT_EQ(noChip.transfer(boot(0x33, {}), 10)[6], 0xB3);
    EXPECT_EQ(wordAt(noChip.transfer(faiRequest, 168), 6), 0x2B4B);
}

class EmulatorBootLoaderFlashImage : public testing::Test {
  protected:
    void TearDown() override { std::filesystem::remove(path); }
    std::string path = (std::filesystem::temp_directory_path() /
                        ("xdsp-flash-" + std::to_string(std::random_device{}()) + ".bin"))
                           .string();
};

TEST_F(EmulatorBootLoaderFlashImage, KeepsUploadsAcrossARestart) {
    BootLoaderOptions options = wireOptions();
    options.memoryId[2] = 0x43; // 256 KiB
    options.flashImagePath = path;
    Bytes file(700), image(400), block(128, '*');
    for (size_t i = 0; i < file.size(); ++i)
        file[i] = static_cast<uint8_t>(i * 13);
    for (size_t i = 0; i < image.size(); ++i)
        image[i] = static_cast<uint8_t>(i + 1);
    block[0] = 'Z';
    {
        Wire wire(options);
        ASSERT_EQ(wire.transfer(boot(0x2A, {1, 20, 2}), 14)[6], 0x2A);
        ASSERT_EQ(wire.transfer(boot(0x28, {1, 3}), 12)[6], 0x28);
        Bytes nameDate = boot(0x2C, {1});
        nameDate[5] = 0x3F;
        nameDate.insert(nameDate.end(), block.begin(), block.end());
        ASSERT_EQ(wire.transfer(nameDate, 10)[6], 0x2C);
        ASSERT_EQ(wire.transfer(boot(0x30, {1}), 10)[6], 0x30);
        for (size_t offset = 0; offset < file.size(); offset += 256)
            wire.transfer(dataPacket(file, offset), 8);
        ASSERT_EQ(wire.transfer(boot(0x32, {1}), 10)[6], 0x32);
        ASSERT_EQ(wire.transfer(boot(0x33, {}), 8)[6], 0x33);
        ASSERT_EQ(wire.transfer(boot(0x2A, {4, 40, 1}), 14)[6], 0x2A) << "never committed";
        ASSERT_EQ(wire.transfer(boot(0x3A, {31415}), 10)[6], 0x3A);
        for (size_t offset = 0; offset < image.size(); offset += 256)
            wire.transfer(dataPacket(image, offset), 8);
        ASSERT_EQ(wire.transfer(boot(0x32, {300}), 10)[6], 0x32);
        EXPECT_TRUE(wire.loader.fileSystem().imageError().empty());
    }
    ASSERT_EQ(std::filesystem::file_size(path), 262144u);

    Wire again(options);
    Bytes table = again.transfer(faiRequest, 168);
    EXPECT_EQ(Bytes(table.begin() + 8, table.begin() + 18),
              (Bytes{0, 1, 0, 20, 0, 22, 0, 2, 0, 1}));
    EXPECT_EQ(Bytes(table.begin() + 38, table.begin() + 48), Bytes(10, 0))
        << "file 4 was not committed";
    Bytes record = again.transfer(boot(0x2F, {1}), 278);
    EXPECT_EQ(record[17], 3);
    EXPECT_EQ(Bytes(record.begin() + 138, record.begin() + 266), block);
    EXPECT_EQ(wordAt(again.transfer(boot(0x29, {1}), 12), 10), byteSum(file));
    EXPECT_EQ(wordAt(again.transfer(boot(0x29, {300}), 12), 10), byteSum(image, 256));
    const auto &flash = again.loader.fileSystem().flash();
    EXPECT_EQ(Bytes(flash.begin() + 20 * 4096, flash.begin() + 20 * 4096 + 700), file);
    EXPECT_EQ(Bytes(flash.begin(), flash.begin() + 400), image);
}

TEST_F(EmulatorBootLoaderFlashImage, RefusesAnImageOfAnotherChipAndForgetsImpossibleEntries) {
    BootLoaderOptions options = wireOptions();
    options.memoryId[2] = 0x49; // 128 KiB
    options.flashImagePath = path;
    {
        Wire wire(options);
        ASSERT_EQ(wire.transfer(boot(0x2A, {1, 16, 4}), 14)[6], 0x2A);
        ASSERT_EQ(wire.transfer(boot(0x2A, {2, 20, 4}), 14)[6], 0x2A);
        ASSERT_EQ(wire.transfer(boot(0x33, {}), 8)[6], 0x33);
    }
    // File 2's entry (after the magic and file 1's 141 bytes) moved past the chip's end.
    std::FILE *image = std::fopen(path.c_str(), "r+b");
    ASSERT_NE(image, nullptr);
    const uint8_t farAway[2] = {0x7F, 0xF0};
    ASSERT_EQ(std::fseek(image, 15 * 4096 + 4 + 141 + 1, SEEK_SET), 0);
    ASSERT_EQ(std::fwrite(farAway, 1, 2, image), 2u);
    std::fclose(image);

    Wire reloaded(options);
    EXPECT_TRUE(reloaded.loader.fileSystem().entry(0).allocated);
    EXPECT_FALSE(reloaded.loader.fileSystem().entry(1).allocated);

    options.memoryId[2] = 0x43;
    EXPECT_THROW(BootLoader{options}, std::runtime_error);
}

} // namespace
