// The board's flash kept in a file, so that what was uploaded is still there
// when the emulator starts again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace xdsp::emu {

class FlashImage {
  public:
    FlashImage() = default;
    ~FlashImage();
    FlashImage(const FlashImage &) = delete;
    FlashImage &operator=(const FlashImage &) = delete;

    // Loads the image at path into flash, or creates it from flash when there
    // is none. Throws std::runtime_error when the file cannot be used or holds
    // another chip's size.
    void open(const std::string &path, std::vector<uint8_t> &flash);
    // Writes bytes offset to offset + count of flash through to the file.
    // Without an open image it does nothing; a failed write is remembered.
    void store(const std::vector<uint8_t> &flash, size_t offset, size_t count);
    // The first write that failed, or empty.
    const std::string &error() const { return error_; }

  private:
    std::FILE *file_ = nullptr;
    std::string path_;
    std::string error_;
};

} // namespace xdsp::emu
