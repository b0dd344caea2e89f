#include "bootloader/flash_image.h"

#include <stdexcept>

namespace xdsp::emu {

namespace {
// The file's length, or -1 when it cannot be told.
long fileLength(std::FILE *file) {
    if (std::fseek(file, 0, SEEK_END) != 0)
        return -1;
    return std::ftell(file);
}
} // namespace

FlashImage::~FlashImage() {
    if (file_ != nullptr)
        std::fclose(file_);
}

void FlashImage::open(const std::string &path, std::vector<uint8_t> &flash) {
    path_ = path;
    file_ = std::fopen(path.c_str(), "r+b");
    if (file_ == nullptr) {
        file_ = std::fopen(path.c_str(), "w+b");
        if (file_ == nullptr)
            throw std::runtime_error("cannot open or create the flash image " + path);
        store(flash, 0, flash.size());
        if (!error_.empty())
            throw std::runtime_error(error_);
        return;
    }
    long length = fileLength(file_);
    if (length < 0 || static_cast<unsigned long>(length) != flash.size())
        throw std::runtime_error("the flash image " + path + " holds " + std::to_string(length) +
                                 " bytes, the memory chip " + std::to_string(flash.size()));
    if (std::fseek(file_, 0, SEEK_SET) != 0 ||
        std::fread(flash.data(), 1, flash.size(), file_) != flash.size())
        throw std::runtime_error("cannot read the flash image " + path);
}

void FlashImage::store(const std::vector<uint8_t> &flash, size_t offset, size_t count) {
    if (file_ == nullptr || offset > flash.size() || count > flash.size() - offset)
        return;
    // A chip is at most a few MiB, so every offset fits a long.
    bool written = std::fseek(file_, static_cast<long>(offset), SEEK_SET) == 0 &&
                   std::fwrite(flash.data() + offset, 1, count, file_) == count &&
                   std::fflush(file_) == 0;
    if (!written && error_.empty())
        error_ = "cannot write the flash image " + path_;
}

} // namespace xdsp::emu
