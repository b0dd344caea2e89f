#include "audio/name_date_block.h"

#include <algorithm>
#include <utility>

namespace xdsp::emu {

namespace {
constexpr size_t nameField = 64;
constexpr size_t modifiedOffset = 64;
constexpr size_t createdOffset = 84;
constexpr size_t dateTextLength = 19;
constexpr uint8_t erased = 0xFF;

void put(std::array<uint8_t, travelledBlockLength> &block, size_t offset, const std::string &text,
         size_t limit) {
    std::copy_n(text.begin(), std::min(text.size(), limit), block.begin() + offset);
}
} // namespace

std::array<uint8_t, travelledBlockLength> travelledNameDateBlock(const std::string &name,
                                                                 const std::string &modified,
                                                                 const std::string &created) {
    std::array<uint8_t, travelledBlockLength> block{};
    put(block, 0, name, nameField - 1);
    put(block, modifiedOffset, modified, dateTextLength);
    put(block, createdOffset, created, dateTextLength);
    for (uint8_t &byte : block)
        if (byte == 0x00 || byte == 0xCC || byte == erased)
            byte = '*';
    // Fields never written read as erased flash, unfilled.
    for (auto [text, offset] : {std::pair{&name, size_t{0}}, std::pair{&modified, modifiedOffset},
                                std::pair{&created, createdOffset}})
        if (text->empty())
            block[offset] = erased;
    for (size_t i = 0; i + 1 < block.size(); i += 2)
        std::swap(block[i], block[i + 1]);
    return block;
}

} // namespace xdsp::emu
