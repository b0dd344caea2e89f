// The board API against emulated boards: several open at once and each its
// own, one board's calls never interleaved, cancels and closes that leave the
// board consistent, and conditions that come back as statuses, never as boxes
// or last-error codes.
#include "board.h"
#include "board/board_handle.h"
#include "bootloader/boot_loader.h"
#include "support/capture.h"
#include "support/emulated_board.h"
#include "support/sample_bytes.h"
#include "virtual_device_server.h"

#include "xdsp/board.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace xdsp;
using namespace xdsp::test;

namespace {
constexpr uint32_t sectorBytes = 4096;

// An emulated board opened through the board API, with the lines it logged.
class HandleBoard {
  public:
    explicit HandleBoard(emu::BoardOptions options = boardWithBootLoader())
        : emulated(std::move(options)) {
        xdsp_board_options open{};
        open.log = &HandleBoard::onLine;
        open.log_user = this;
        openStatus = xdsp_board_open(narrow(emulated.path()).c_str(), &open, &handle);
    }
    ~HandleBoard() { xdsp_board_close(handle); }

    std::vector<std::string> lines() const {
        std::lock_guard<std::mutex> hold(mutex_);
        return lines_;
    }
    bool logged(const std::string &line) const {
        std::vector<std::string> all = lines();
        return std::find(all.begin(), all.end(), line) != all.end();
    }

    EmulatedBoard emulated;
    xdsp_board *handle = nullptr;
    int openStatus = XDSP_STATUS_SYSTEM;
    std::atomic<int> foreignLines{0};

  private:
    static void onLine(xdsp_board *board, const char *line, void *user) {
        auto *self = static_cast<HandleBoard *>(user);
        // A line tagged with another board would be one that crossed over.
        if (self->handle != nullptr && board != self->handle)
            self->foreignLines.fetch_add(1);
        std::lock_guard<std::mutex> hold(self->mutex_);
        self->lines_.emplace_back(line);
    }

    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

xdsp_upload uploadOf(const std::vector<uint8_t> &data, int32_t index, const char *name) {
    xdsp_upload upload{};
    upload.file_index = index;
    upload.type = 0;
    upload.start_address = (16 + 40 * static_cast<uint32_t>(index)) * sectorBytes;
    upload.end_address = upload.start_address + 32 * sectorBytes;
    upload.name = name;
    upload.data = data.data();
    upload.length = data.size();
    return upload;
}

// Progress that marks the upload as under way once data has gone out.
int markSending(size_t sent, size_t, void *user) {
    if (sent > 0 && user != nullptr)
        static_cast<std::atomic<bool> *>(user)->store(true);
    return 0;
}

// The emulated boot loader's view of one file.
emu::FileEntry boardEntry(EmulatedBoard &emulated, unsigned index) {
    emu::FileEntry entry;
    emulated.board().inspectBootLoader(
        [&](emu::BootLoader &bootLoader) { entry = bootLoader.fileSystem().entry(index); });
    return entry;
}
} // namespace

TEST(BoardApi, BoardsOpenSideBySideEachWithItsOwnStateAndLog) {
    Capture processSinks;
    HandleBoard first(boardWithBootLoader({}, "First Board"));
    HandleBoard second(boardWithBootLoader({}, "Second Board"));
    ASSERT_EQ(first.openStatus, XDSP_STATUS_OK);
    ASSERT_EQ(second.openStatus, XDSP_STATUS_OK);

    char name[64];
    ASSERT_EQ(xdsp_board_product_name(first.handle, name, sizeof name), XDSP_STATUS_OK);
    EXPECT_STREQ(name, "First Board");
    ASSERT_EQ(xdsp_board_product_name(second.handle, name, 7), XDSP_STATUS_OK);
    EXPECT_STREQ(name, "Second");

    // Settings and GPIO of one board are not the other's.
    ASSERT_EQ(xdsp_board_set_read_prefix(second.handle, 0), XDSP_STATUS_OK);
    int prefix = -1;
    ASSERT_EQ(xdsp_board_read_prefix(first.handle, &prefix), XDSP_STATUS_OK);
    EXPECT_EQ(prefix, 1);
    // A call leaves the caller's last-error as it found it.
    os::setLastError(4242);
    ASSERT_EQ(xdsp_board_gpio_write(first.handle, 0x1234), XDSP_STATUS_OK);
    EXPECT_EQ(os::lastError(), 4242u);
    EXPECT_TRUE(eventually([&] { return first.emulated.board().gpioOutputs() == 0x1234; }));
    EXPECT_EQ(second.emulated.board().gpioOutputs(), 0);
    uint16_t adc = 0;
    ASSERT_EQ(xdsp_board_adc_read(second.handle, 3, &adc), XDSP_STATUS_OK);
    EXPECT_EQ(adc, 0x0400);
    EXPECT_EQ(xdsp_board_adc_read(second.handle, 4, &adc), XDSP_STATUS_INVALID_ARGUMENT);

    // Each board's lines reach its own log whole; none reach the process's
    // sinks.
    EXPECT_TRUE(first.logged("Opening HID."));
    EXPECT_TRUE(first.logged("HID: ProductName: First Board"));
    EXPECT_TRUE(second.logged("HID: ProductName: Second Board"));
    EXPECT_FALSE(second.logged("HID: ProductName: First Board"));
    EXPECT_EQ(first.foreignLines.load() + second.foreignLines.load(), 0);
    EXPECT_TRUE(processSinks.pieces().empty());

    // The flat API's board is another one: nothing is open there.
    EXPECT_EQ(IsOnline(), 0);
    EXPECT_EQ(DestroyHIDUSBPacket(), 0);
}

TEST(BoardApi, OpenRefusesWhatItCannotUse) {
    constexpr int invalid = XDSP_STATUS_INVALID_ARGUMENT;
    HandleBoard held;
    ASSERT_EQ(held.openStatus, XDSP_STATUS_OK);
    xdsp_board *again = reinterpret_cast<xdsp_board *>(1);
    EXPECT_EQ(xdsp_board_open(narrow(held.emulated.path()).c_str(), nullptr, &again),
              XDSP_STATUS_BUSY);
    EXPECT_EQ(again, nullptr);
    EXPECT_EQ(xdsp_board_open(narrow(absentDevicePath()).c_str(), nullptr, &again),
              XDSP_STATUS_NOT_FOUND);
    EXPECT_EQ(xdsp_board_open("", nullptr, &again), invalid);
    EXPECT_EQ(xdsp_board_open(std::string(2000, 'x').c_str(), nullptr, &again), invalid);
    EXPECT_EQ(xdsp_board_open(nullptr, nullptr, &again), invalid);
    EXPECT_EQ(xdsp_board_open("x", nullptr, nullptr), invalid);
    EXPECT_EQ(xdsp_board_gpio_write(nullptr, 1), invalid);
    EXPECT_EQ(xdsp_board_close(nullptr), XDSP_STATUS_OK);
    size_t count = 0;
    EXPECT_EQ(xdsp_list_boards(nullptr, 0, &count), XDSP_STATUS_OK);
    EXPECT_EQ(xdsp_list_boards(nullptr, 1, &count), invalid);

    // Bad lengths and missing buffers are refused before anything goes out.
    uint8_t data[300] = {};
    EXPECT_EQ(xdsp_board_flash_write(held.handle, 0, 0, data, 257), invalid);
    EXPECT_EQ(xdsp_board_flash_read(held.handle, 0, nullptr, 16), invalid);
    xdsp_spi_settings spi{2, 0, 0, 3, 100};
    EXPECT_EQ(xdsp_board_spi_transfer(held.handle, &spi, data, 600, nullptr, 0), invalid);
    EXPECT_EQ(xdsp_board_file(held.handle, 15, nullptr), invalid);
    xdsp_upload upload = uploadOf({}, 15, "x");
    EXPECT_EQ(xdsp_board_upload(held.handle, &upload, nullptr, nullptr), invalid);

    EXPECT_STREQ(xdsp_status_text(-99), "unknown status");
    EXPECT_STREQ(xdsp_file_type_name(-1), "");
    EXPECT_EQ(xdsp_checksum(reinterpret_cast<const uint8_t *>("abc"), 3), 0x0126);
}

TEST(BoardApi, TwoThreadsNeverInterleaveAndConditionsComeBackAsStatusesWithTheBoxTextKept) {
    Capture processSinks;
    HandleBoard board(emu::BoardOptions{});
    ASSERT_EQ(board.openStatus, XDSP_STATUS_OK);
    char message[64];
    ASSERT_EQ(xdsp_board_last_message(board.handle, message, sizeof message), XDSP_STATUS_OK);
    EXPECT_STREQ(message, "");

    // The bus loops back: each transfer must read what its own thread wrote.
    std::atomic<int> crossed{0}, failed{0};
    auto hammer = [&](uint8_t seed) {
        xdsp_spi_settings spi{2, 0, 0, 3, 100};
        for (int round = 0; round < 150; ++round) {
            std::vector<uint8_t> written = sampleBytes(48, static_cast<uint8_t>(seed + round));
            uint8_t read[48] = {};
            if (xdsp_board_spi_transfer(board.handle, &spi, written.data(), written.size(), read,
                                        sizeof read) != XDSP_STATUS_OK)
                failed.fetch_add(1);
            else if (std::memcmp(read, written.data(), sizeof read) != 0)
                crossed.fetch_add(1);
        }
    };
    std::thread one(hammer, 0x10);
    std::thread two(hammer, 0x80);
    one.join();
    two.join();
    EXPECT_EQ(failed.load(), 0);
    EXPECT_EQ(crossed.load(), 0);

    board.emulated.board().setErrorBit(true);
    uint8_t data[4] = {1, 2, 3, 4};
    EXPECT_EQ(xdsp_board_flash_write(board.handle, 0x1000, 0, data, sizeof data),
              XDSP_STATUS_BOARD_ERROR);
    ASSERT_EQ(xdsp_board_last_message(board.handle, message, sizeof message), XDSP_STATUS_OK);
    EXPECT_STREQ(message, "Error in WriteFLASH\n");
    ASSERT_EQ(xdsp_board_last_message(board.handle, message, 6), XDSP_STATUS_OK);
    EXPECT_STREQ(message, "Error");
    EXPECT_TRUE(processSinks.messageBoxes().empty());
    board.emulated.board().setErrorBit(false);
    // The next call starts without the text of the one before.
    ASSERT_EQ(xdsp_board_pins_write(board.handle, 1), XDSP_STATUS_OK);
    ASSERT_EQ(xdsp_board_last_message(board.handle, message, sizeof message), XDSP_STATUS_OK);
    EXPECT_STREQ(message, "");

    // An answer that never comes is no answer, not the board's error.
    board.emulated.board().stallReports(true);
    xdsp_spi_settings spi{2, 0, 0, 3, 100};
    uint8_t read[4];
    EXPECT_EQ(xdsp_board_spi_transfer(board.handle, &spi, data, 4, read, 4), XDSP_STATUS_NO_ANSWER);
    board.emulated.board().stallReports(false);

    // A board that goes away and comes back.
    board.emulated.server().unplug();
    EXPECT_TRUE(
        eventually([&] { return xdsp_board_online(board.handle) == XDSP_STATUS_LINK_LOST; }));
    board.emulated.server().replug();
    EXPECT_TRUE(eventually([&] { return xdsp_board_online(board.handle) == XDSP_STATUS_OK; }));
    EXPECT_TRUE(board.logged("HID::Reopening HID"));
}

TEST(BoardApi, UploadsOnEightBoardsAtOnceSurviveOneBoardPulled) {
    constexpr size_t boards = 8;
    constexpr size_t pulled = 5;
    std::vector<std::unique_ptr<HandleBoard>> opened;
    for (size_t i = 0; i < boards; ++i) {
        opened.push_back(std::make_unique<HandleBoard>());
        ASSERT_EQ(opened.back()->openStatus, XDSP_STATUS_OK);
        ASSERT_EQ(xdsp_board_boot_loader_init(opened.back()->handle, 2, 2, nullptr),
                  XDSP_STATUS_OK);
    }
    std::vector<std::vector<uint8_t>> files;
    for (size_t i = 0; i < boards; ++i)
        files.push_back(sampleBytes(3000 + 512 * i, static_cast<uint8_t>(i)));
    std::vector<int> statuses(boards, XDSP_STATUS_SYSTEM);
    std::atomic<bool> pulledStarted{false};
    std::vector<std::thread> threads;
    for (size_t i = 0; i < boards; ++i)
        threads.emplace_back([&, i] {
            std::string name = "file-" + std::to_string(i);
            xdsp_upload upload = uploadOf(files[i], static_cast<int32_t>(i % 15), name.c_str());
            statuses[i] = xdsp_board_upload(opened[i]->handle, &upload, markSending,
                                            i == pulled ? &pulledStarted : nullptr);
        });
    ASSERT_TRUE(eventually([&] { return pulledStarted.load(); }, 20000));
    opened[pulled]->emulated.server().unplug();
    os::sleepMs(300);
    opened[pulled]->emulated.server().replug();
    for (std::thread &thread : threads)
        thread.join();

    for (size_t i = 0; i < boards; ++i) {
        if (i == pulled)
            continue;
        emu::FileEntry entry = boardEntry(opened[i]->emulated, static_cast<unsigned>(i % 15));
        EXPECT_EQ(statuses[i], XDSP_STATUS_OK) << "board " << i;
        EXPECT_TRUE(entry.closed) << "board " << i;
        EXPECT_EQ(entry.length, files[i].size()) << "board " << i;
        EXPECT_EQ(entry.checksum, xdsp_checksum(files[i].data(), files[i].size()));
        xdsp_file_entry listed{};
        ASSERT_EQ(xdsp_board_file(opened[i]->handle, static_cast<unsigned>(i % 15), &listed),
                  XDSP_STATUS_OK);
        EXPECT_EQ(std::string(listed.name), "file-" + std::to_string(i));
        EXPECT_EQ(opened[i]->foreignLines.load(), 0);
    }
}

TEST(BoardApi, CancelledOrClosedUploadLeavesTheFileTableConsistent) {
    HandleBoard board;
    ASSERT_EQ(board.openStatus, XDSP_STATUS_OK);
    ASSERT_EQ(xdsp_board_boot_loader_init(board.handle, 2, 2, nullptr), XDSP_STATUS_OK);
    std::vector<uint8_t> kept = sampleBytes(1000, 7);
    xdsp_upload first = uploadOf(kept, 3, "kept");
    std::vector<size_t> seen;
    auto record = [](size_t sent, size_t total, void *user) {
        auto *sends = static_cast<std::vector<size_t> *>(user);
        sends->push_back(sent);
        return sent > total ? 1 : 0;
    };
    ASSERT_EQ(xdsp_board_upload(board.handle, &first, record, &seen), XDSP_STATUS_OK);
    // Before the format, after each full packet, and once all is sent.
    EXPECT_EQ(seen, (std::vector<size_t>{0, 256, 512, 768, 1000}));

    // Cancelled before the format: the file is as it was.
    // Odd: its last byte travels with a zero after it.
    std::vector<uint8_t> replacement = sampleBytes(2001, 9);
    xdsp_upload second = uploadOf(replacement, 3, "replacement");
    auto cancelAtOnce = [](size_t, size_t, void *) { return 1; };
    EXPECT_EQ(xdsp_board_upload(board.handle, &second, cancelAtOnce, nullptr),
              XDSP_STATUS_CANCELLED);
    emu::FileEntry entry = boardEntry(board.emulated, 3);
    EXPECT_TRUE(entry.closed);
    EXPECT_EQ(entry.checksum, xdsp_checksum(kept.data(), kept.size()));

    // Cancelled after two packets: the half-written file is gone from the
    // board and from the table read back.
    auto cancelAfterTwo = [](size_t sent, size_t, void *) { return sent >= 512 ? 1 : 0; };
    EXPECT_EQ(xdsp_board_upload(board.handle, &second, cancelAfterTwo, nullptr),
              XDSP_STATUS_CANCELLED);
    EXPECT_FALSE(boardEntry(board.emulated, 3).allocated);
    xdsp_file_entry listed{};
    ASSERT_EQ(xdsp_board_file_table_read(board.handle), XDSP_STATUS_OK);
    ASSERT_EQ(xdsp_board_file(board.handle, 3, &listed), XDSP_STATUS_OK);
    EXPECT_EQ(listed.start_address, 0u);
    EXPECT_TRUE(board.logged("Upload cancelled: erasing the half-written file."));

    // The index takes a new upload as before.
    ASSERT_EQ(xdsp_board_upload(board.handle, &second, nullptr, nullptr), XDSP_STATUS_OK);
    entry = boardEntry(board.emulated, 3);
    EXPECT_EQ(entry.length, replacement.size() + 1);
    EXPECT_EQ(entry.checksum, xdsp_checksum(replacement.data(), replacement.size()));

    // A close cancels the upload in progress and turns away waiting calls.
    std::vector<uint8_t> data = sampleBytes(64 * 1024, 3);
    xdsp_upload upload = uploadOf(data, 1, "long");
    std::atomic<bool> sending{false};
    int uploadStatus = XDSP_STATUS_SYSTEM;
    int waitingStatus = XDSP_STATUS_SYSTEM;
    xdsp_board *handle = board.handle;
    std::thread uploading(
        [&] { uploadStatus = xdsp_board_upload(handle, &upload, markSending, &sending); });
    ASSERT_TRUE(eventually([&] { return sending.load(); }, 20000));
    std::thread waiting([&] {
        uint16_t pins = 0;
        waitingStatus = xdsp_board_pins_read(handle, &pins);
    });
    // The close must find it counted in, or the handle would be gone under it.
    ASSERT_TRUE(eventually([&] { return handle->callsInside.load() == 2; }));
    EXPECT_EQ(xdsp_board_close(handle), XDSP_STATUS_OK);
    board.handle = nullptr;
    uploading.join();
    waiting.join();
    EXPECT_EQ(uploadStatus, XDSP_STATUS_CANCELLED);
    EXPECT_EQ(waitingStatus, XDSP_STATUS_CLOSED);
    EXPECT_FALSE(boardEntry(board.emulated, 1).allocated);
}
