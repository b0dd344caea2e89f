// xdsp-emu's options for the DSP's audio firmware. Only the executable
// includes this: the emulator library does not depend on CLI11.
#pragma once

#include "audio/audio_firmware_options.h"
#include "bootloader/command_line.h"

#include <CLI/CLI.hpp>

#include <string>

namespace xdsp::emu::commandLine {

// Adds the audio firmware's options; *audio is set when the DSP should run it.
// Call after the boot loader's options, whose --loopback it excludes.
inline void addAudioOptions(CLI::App &app, AudioFirmwareOptions &options, bool *audio) {
    app.add_flag("--audio", *audio,
                 "The DSP runs the audio firmware (USER commands) instead of the boot loader")
        ->excludes("--loopback");
    app.add_option("--audio-busy-us", options.commandBusyMicros,
                   "Busy line held this long by every audio command")
        ->capture_default_str();
    AudioFaults &faults = options.faults;
    app.add_option_function<std::string>(
        "--audio-no-magic",
        [&faults](const std::string &text) {
            faults.noMagicReplies = countOf("--audio-no-magic", text);
        },
        "Fault: COUNT audio replies with \"BOOT\" where \"USER\" belongs");
    app.add_option_function<std::string>(
        "--audio-bad-length",
        [&faults](const std::string &text) {
            faults.badLengthReplies = countOf("--audio-bad-length", text);
        },
        "Fault: COUNT file-name replies with a wrong length byte");
    app.add_option_function<std::string>(
        "--audio-corrupt-echo",
        [&faults](const std::string &text) {
            auto [index, times] = target("--audio-corrupt-echo", text, 399, false);
            faults.corruptEchoIndex = static_cast<uint16_t>(index);
            faults.corruptEchoReplies = times;
        },
        "Fault: INDEX[:COUNT] echo replies with the data byte at INDEX inverted");
}

} // namespace xdsp::emu::commandLine
