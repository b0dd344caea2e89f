// The board API's upload: the flat API's whole sequence, followed byte by
// byte, and cancelled between packets when the caller or the close asks.
#include "board/board_call.h"
#include "bootloader/file_system.h"
#include "bootloader/file_table.h"
#include "bootloader/upload.h"
#include "frame/debug.h"
#include "frame/utf8.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

using namespace xdsp;
using board::Call;
using board::runCall;

namespace {
class UploadFollower final : public bootloader::UploadWatch {
  public:
    UploadFollower(const xdsp_board &board, size_t length, xdsp_upload_progress progress,
                   void *user)
        : board_(board), length_(length), progress_(progress), user_(user) {}

    bool carryOn(uint64_t sent, uint64_t total) override {
        // The first call comes before the format: later ones mean the file's
        // old contents are gone.
        pastFormat_ = calls_++ > 0;
        bool stop =
            board_.closing.load() ||
            (progress_ != nullptr && progress_(reported(sent), reported(total), user_) != 0);
        cancelled_ = cancelled_ || stop;
        return !stop;
    }
    bool cancelled() const override { return cancelled_; }
    // In the caller's bytes: a zero that pads an odd length is not theirs.
    size_t reported(uint64_t bytes) const {
        return bytes < length_ ? static_cast<size_t>(bytes) : length_;
    }
    bool pastFormat() const { return pastFormat_; }

  private:
    const xdsp_board &board_;
    size_t length_;
    xdsp_upload_progress progress_;
    void *user_;
    uint32_t calls_ = 0;
    bool pastFormat_ = false;
    bool cancelled_ = false;
};

// A file cut short is erased and the table committed and read again, so that
// neither the board nor the handle lists data that is not all there.
void removeHalfWrittenFile(bootloader::BootLoaderState &state, uint32_t index) {
    debugWrite(WIDE("Upload cancelled: erasing the half-written file.\n"));
    bootloader::eraseFile(state, index);
    bootloader::commit(state);
    bootloader::buildFileTable(state);
}

// Installs the follower for the upload's length and takes it away again.
class Following {
  public:
    Following(bootloader::BootLoaderState &state, UploadFollower &follower) : state_(state) {
        state_.uploadWatch = &follower;
    }
    ~Following() { state_.uploadWatch = nullptr; }
    Following(const Following &) = delete;
    Following &operator=(const Following &) = delete;

  private:
    bootloader::BootLoaderState &state_;
};
} // namespace

extern "C" {

XDSP_EXPORT int xdsp_board_upload(xdsp_board *board, const xdsp_upload *upload,
                                  xdsp_upload_progress progress, void *user) {
    if (upload == nullptr || (upload->data == nullptr && upload->length != 0) ||
        upload->length > INT32_MAX)
        return XDSP_STATUS_INVALID_ARGUMENT;
    bool bootFile = upload->file_index == XDSP_BOOT_FILE_INDEX;
    if (!bootFile && (upload->file_index < 0 ||
                      upload->file_index >= static_cast<int32_t>(bootloader::fileCount)))
        return XDSP_STATUS_INVALID_ARGUMENT;
    Char16 name[bootloader::nameChars * 4] = {};
    if (upload->name != nullptr && !utf8ToText(upload->name, name, sizeof name / sizeof name[0]))
        return XDSP_STATUS_INVALID_ARGUMENT;
    // The boot loader takes whole 16-bit words: an odd last byte would stay
    // behind, so it travels with a zero, which leaves the byte sum as it is.
    const uint8_t *data = upload->data;
    size_t length = upload->length;
    std::unique_ptr<uint8_t[]> padded;
    if (length % 2 != 0) {
        padded.reset(new (std::nothrow) uint8_t[length + 1]);
        if (padded == nullptr)
            return XDSP_STATUS_NO_MEMORY;
        std::memcpy(padded.get(), data, length);
        padded[length++] = 0;
        data = padded.get();
    }
    return runCall(board, [&](Call &call) -> int {
        bootloader::BootLoaderState &state = call.board().bootLoader;
        UploadFollower follower(call.board(), upload->length, progress, user);
        bool ok;
        {
            Following following(state, follower);
            // Errors are "shown": the reporter keeps their texts for the caller.
            ok = bootloader::uploadFile(state, upload->file_index, upload->type,
                                        upload->start_address, upload->end_address, name, data,
                                        static_cast<uint32_t>(length), true, nullptr, 0);
        }
        if (!follower.cancelled())
            return call.status(ok);
        // A boot image cut short stays unclosed, which the boot loader does not take.
        if (follower.pastFormat() && !bootFile)
            removeHalfWrittenFile(state, static_cast<uint32_t>(upload->file_index));
        return XDSP_STATUS_CANCELLED;
    });
}
}
