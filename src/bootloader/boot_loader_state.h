// What the boot loader's commands keep between calls for one board: the link
// its transfers take, the transfer settings, the file table, the identification answers and what
// the initialisation stored. The exports act on one process-wide instance; the internal functions
// take the state they act on, so that one process can later hold several boards.
#pragma once

#include "bootloader/file_table.h"
#include "frame/text.h"
#include "link/link.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace xdsp::bootloader {

struct BootLoaderSettings {
    // Replies are fetched with the read prefix "RD" (on at load).
    std::atomic<bool> readPrefix{true};
    // The select passed to every transfer and the GPIO bits of the busy line
    // (both 2 at load; set by BootLoader_Init). Atomics only so that a caller on
    // another thread never reads a torn value.
    std::atomic<uint16_t> select{2};
    std::atomic<uint16_t> busyMask{2};
};

// Each valid until the next call that makes it.
struct IdentificationAnswers {
    static constexpr size_t chars = 32;
    Char16 version[chars]{};
    Char16 product[chars]{};
    Char16 dsp[chars]{};
    Char16 memory[chars]{};
};

struct InitialisationRecord {
    static constexpr size_t chars = 256;
    Char16 version[chars]{};
    Char16 product[chars]{};
    Char16 dsp[chars]{};
    uint32_t memorySize = 0;
};

// Follows an upload's data for a board handle, which can stop it between
// packets. The exports have none: their callers see percentages only.
class UploadWatch {
  public:
    // After each packet: the file's bytes sent so far. False stops the upload
    // before its next packet.
    virtual bool carryOn(uint64_t sent, uint64_t total) = 0;
    virtual bool cancelled() const = 0;

  protected:
    ~UploadWatch() = default;
};

// Unguarded but the settings: one boot-loader operation runs at a time.
struct BootLoaderState {
    explicit BootLoaderState(link::Link &boardLink) : link(boardLink) {}

    link::Link &link;
    UploadWatch *uploadWatch = nullptr;
    BootLoaderSettings settings;
    FileDescriptor fileTable[fileCount]{};
    IdentificationAnswers answers;
    InitialisationRecord atInit;
};

// The one board behind the exports.
BootLoaderState &processBootLoader();

} // namespace xdsp::bootloader
