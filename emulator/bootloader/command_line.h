// xdsp-emu's options for the DSP's boot loader. Only the executable includes
// this: the emulator library does not depend on CLI11.
#pragma once

#include "bootloader/boot_loader_options.h"

#include <CLI/CLI.hpp>

#include <array>
#include <cctype>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace xdsp::emu::commandLine {

inline std::string withoutHexPrefix(const std::string &text) {
    bool prefixed = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    return prefixed ? text.substr(2) : text;
}

// A whole text of hex digits, "0x" allowed in front, at most maxValue.
inline std::optional<uint32_t> hexValue(const std::string &written, uint32_t maxValue) {
    std::string text = withoutHexPrefix(written);
    if (text.empty() || text.size() > 8)
        return std::nullopt;
    for (char c : text)
        if (std::isxdigit(static_cast<unsigned char>(c)) == 0)
            return std::nullopt;
    unsigned long value = std::strtoul(text.c_str(), nullptr, 16);
    if (value > maxValue)
        return std::nullopt;
    return static_cast<uint32_t>(value);
}

// A whole text of decimal digits.
inline std::optional<uint32_t> decimalValue(const std::string &text, uint32_t maxValue) {
    if (text.empty() || text.size() > 9)
        return std::nullopt;
    for (char c : text)
        if (std::isdigit(static_cast<unsigned char>(c)) == 0)
            return std::nullopt;
    unsigned long value = std::strtoul(text.c_str(), nullptr, 10);
    if (value > maxValue)
        return std::nullopt;
    return static_cast<uint32_t>(value);
}

// A decimal count, or "always" for a fault that never runs down.
inline std::optional<uint32_t> count(const std::string &text) {
    if (text == "always")
        return always;
    return decimalValue(text, always - 1);
}

// "TARGET" or "TARGET:COUNT", the target a hex code or a decimal file number
// (0: any), the count "always" when left out.
inline std::pair<uint32_t, uint32_t> target(const std::string &option, const std::string &text,
                                            uint32_t maxTarget, bool hex) {
    size_t colon = text.find(':');
    std::string head = text.substr(0, colon);
    auto value = hex ? hexValue(head, maxTarget) : decimalValue(head, maxTarget);
    auto times = colon == std::string::npos ? std::optional<uint32_t>(always)
                                            : count(text.substr(colon + 1));
    if (!value || !times)
        throw CLI::ValidationError(option, "wants TARGET or TARGET:COUNT, COUNT a number or "
                                           "always; not \"" +
                                               text + "\"");
    return {*value, *times};
}

inline std::array<uint8_t, 4> fourBytes(const std::string &option, const std::string &text) {
    auto value = hexValue(text, 0xFFFFFFFF);
    if (!value || withoutHexPrefix(text).size() != 8)
        throw CLI::ValidationError(option,
                                   "wants four bytes as eight hex digits, not \"" + text + "\"");
    return {static_cast<uint8_t>(*value >> 24), static_cast<uint8_t>(*value >> 16),
            static_cast<uint8_t>(*value >> 8), static_cast<uint8_t>(*value)};
}

inline uint32_t countOf(const std::string &option, const std::string &text) {
    auto times = count(text);
    if (!times)
        throw CLI::ValidationError(option, "wants a number or always, not \"" + text + "\"");
    return *times;
}

// Adds the boot loader's options; *loopback is set when the bus should loop back instead.
inline void addOptions(CLI::App &app, BootLoaderOptions &options, bool *loopback) {
    app.add_flag("--loopback", *loopback, "No boot loader: the SPI bus loops back");
    app.add_option("--boot-version", options.version, "Boot-loader version, 261 reads 2.61")
        ->capture_default_str();
    app.add_option_function<std::string>(
        "--product-code",
        [&options](const std::string &text) {
            auto value = hexValue(text, 0xFFFFFFFF);
            if (!value)
                throw CLI::ValidationError("--product-code", "wants a hex value");
            options.productCode = *value;
        },
        "Product code in hex (default 00105010)");
    app.add_option_function<std::string>(
        "--dsp-id",
        [&options](const std::string &text) { options.dspId = fourBytes("--dsp-id", text); },
        "DSP identification bytes, eight hex digits (default 21469001)");
    app.add_option_function<std::string>(
        "--memory-id",
        [&options](const std::string &text) { options.memoryId = fourBytes("--memory-id", text); },
        "Memory chip identification bytes, eight hex digits; the third byte picks the flash "
        "size (default BF254101, 2 MiB)");
    app.add_option("--format-ms", options.formatBusyMillis, "Busy line held this long by a format")
        ->capture_default_str();
    app.add_option("--command-busy-us", options.commandBusyMicros,
                   "Busy line held this long by every other command")
        ->capture_default_str();
    app.add_option("--idle-read-busy-us", options.idleReadBusyMicros,
                   "Busy line held this long after a read that finds nothing to send "
                   "(0: every flush makes all 61 transfers)")
        ->capture_default_str();
    app.add_option("--flash-image", options.flashImagePath,
                   "Keep the flash in this file, created when missing");

    BootLoaderFaults &faults = options.faults;
    app.add_option_function<std::string>(
        "--unacknowledged",
        [&faults](const std::string &text) {
            auto [code, times] = target("--unacknowledged", text, 0xFF, true);
            faults.unacknowledgedCode = static_cast<uint8_t>(code);
            faults.unacknowledgedReplies = times;
        },
        "Fault: CODE[:COUNT] commands misheard and echoed wrong (CODE in hex, 0: any)");
    app.add_option_function<std::string>(
        "--not-ready",
        [&faults](const std::string &text) {
            auto [code, times] = target("--not-ready", text, 0xFF, true);
            faults.notReadyCode = static_cast<uint8_t>(code);
            faults.notReadyReplies = times;
        },
        "Fault: CODE[:COUNT] replies whose data reads CC CC CC CC");
    app.add_option_function<std::string>(
        "--missing-record",
        [&faults](const std::string &text) {
            auto [file, times] = target("--missing-record", text, 0xFFFF, false);
            faults.missingRecordFile = static_cast<uint16_t>(file);
            faults.missingRecordReplies = times;
        },
        "Fault: FILE[:COUNT] file records reported absent (FILE 0: any)");
    app.add_option_function<std::string>(
        "--garbled-records",
        [&faults](const std::string &text) {
            faults.garbledRecordReplies = countOf("--garbled-records", text);
        },
        "Fault: COUNT file-record replies of garbage");
    app.add_option_function<std::string>(
        "--wrong-checksums",
        [&faults](const std::string &text) {
            faults.wrongChecksumReplies = countOf("--wrong-checksums", text);
        },
        "Fault: COUNT checksum replies one off");
    app.add_flag("--busy-stuck", faults.busyStuck, "Fault: the busy line never drops");
    app.add_flag("--silent", faults.silent, "Fault: the boot loader never answers");
}

} // namespace xdsp::emu::commandLine
