// A boot-loader reply as the SPI port shifts it out: two idle bytes, the family
// magic, the echoed command code, the payload length in 16-bit words, and the
// payload, every value high byte first. The audio firmware's replies are the
// same with its own magic.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace xdsp::emu {

inline constexpr size_t replyEchoOffset = 6;
inline constexpr size_t replyLengthOffset = 7;
inline constexpr size_t replyDataOffset = 8;
// What a read clocks in while the DSP is at work.
inline constexpr uint8_t notReadyFiller = 0xCC;
// A refusal echoes the code with this bit set and carries one word: the reason.
inline constexpr uint8_t refusedBit = 0x80;

// Why a command was refused, the word that follows a refusal's echo.
enum class Refusal : uint16_t {
    noSuchFile = 1,     // file number outside 1-15 (or 300), or no allocation
    badArgument = 2,    // missing argument bytes or a value out of range
    noRoom = 3,         // sectors outside the flash, overlapping, or a full file
    inUse = 4,          // the file already has an allocation
    notOpen = 5,        // data or close without a format first
    noFlash = 6,        // the memory chip is unknown or absent
    unknownCommand = 7, // a code this boot loader does not carry out
};

using FamilyMagic = std::array<uint8_t, 4>;
inline constexpr FamilyMagic bootFamily = {'B', 'O', 'O', 'T'};
inline constexpr FamilyMagic userFamily = {'U', 'S', 'E', 'R'};

class Reply {
  public:
    explicit Reply(uint8_t code, const FamilyMagic &magic = bootFamily)
        : bytes_{0x00, 0x00, magic[0], magic[1], magic[2], magic[3], code, 0} {}
    static Reply refusal(uint8_t code, Refusal reason) {
        return Reply(static_cast<uint8_t>(code | refusedBit)).word(static_cast<uint16_t>(reason));
    }

    Reply &word(uint16_t value) {
        bytes_.push_back(static_cast<uint8_t>(value >> 8));
        bytes_.push_back(static_cast<uint8_t>(value));
        return counted();
    }
    Reply &longWord(uint32_t value) {
        return word(static_cast<uint16_t>(value >> 16)).word(static_cast<uint16_t>(value));
    }
    // Whole words only: an odd count gains a zero byte.
    Reply &data(const uint8_t *bytes, size_t count) {
        bytes_.insert(bytes_.end(), bytes, bytes + count);
        if (count % 2 != 0)
            bytes_.push_back(0);
        return counted();
    }

    uint8_t echo() const { return bytes_[replyEchoOffset]; }
    std::vector<uint8_t> &bytes() { return bytes_; }

  private:
    Reply &counted() {
        bytes_[replyLengthOffset] = static_cast<uint8_t>((bytes_.size() - replyDataOffset) / 2);
        return *this;
    }

    std::vector<uint8_t> bytes_;
};

} // namespace xdsp::emu
