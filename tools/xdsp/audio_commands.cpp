#include "audio_commands.h"
#include "board_session.h"
#include "text_output.h"

#include <cstdio>
#include <vector>

namespace {
constexpr int32_t noAnswer = 0xFFFF;
constexpr uint32_t nameCapacity = 64;

// The firmware answers with the value now set, or noAnswer when it refused
// the command or said nothing.
int reportSetting(const char *what, const std::string &value, int32_t answer) {
    if (answer == noAnswer)
        return failure(std::string("the audio firmware did not take ") + what + " " + value);
    std::printf("%s %s (the firmware answers %d)\n", what, value.c_str(), answer);
    return 0;
}

int showFile(int32_t number) {
    xdsp_char16 name[nameCapacity] = {};
    double created = 0, modified = 0;
    Halvio_LoadFilename(number, name, nameCapacity, &created, &modified);
    if (name[0] == 0 && created == 0.0 && modified == 0.0)
        return failure("the audio firmware named no file " + std::to_string(number));
    std::printf("File %d: %s\n", number, toUtf8(name).c_str());
    std::printf("Created:  %s\n", dateText(created).c_str());
    std::printf("Modified: %s\n", dateText(modified).c_str());
    return 0;
}

int echo(uint32_t length) {
    // Every byte value in turn, with a stride that keeps neighbours apart, so a
    // shifted or stuck byte shows.
    std::vector<uint8_t> pattern(length);
    for (uint32_t i = 0; i < length; ++i)
        pattern[i] = static_cast<uint8_t>(i * 37 + 11);
    if (!Halvio_Echo(pattern.data(), length))
        return failure("the echo of " + std::to_string(length) + " bytes does not match");
    std::printf("Echo of %u bytes matches\n", length);
    return 0;
}
} // namespace

int runAudio(const std::string &devicePath, const AudioRequest &request) {
    const std::string &action = request.action;
    if (action == "echo" &&
        (request.number < 2 || request.number > static_cast<int32_t>(echoLimit) ||
         request.number % 2 != 0)) {
        std::fprintf(stderr, "xdsp: echo wants an even length from 2 to %u bytes, not %d\n",
                     echoLimit, request.number);
        return 2;
    }
    BoardSession session(devicePath, EmulatedDsp::audioFirmware);
    if (!session.open())
        return 1;
    std::string state = request.on ? "on" : "off";
    std::string number = std::to_string(request.number);
    if (action == "mute")
        return reportSetting("Mute", state, Halvio_Mute(request.on ? 1 : 0));
    if (action == "lineout")
        return reportSetting("Line output", state, Halvio_LineOut(request.on ? 1 : 0));
    if (action == "source")
        return reportSetting("Source", number, Halvio_Source(request.number));
    if (action == "filter")
        return reportSetting("Filter", number,
                             Halvio_LoadFilter(static_cast<uint32_t>(request.number)));
    if (action == "algorithm")
        return reportSetting("Algorithm", number, Halvio_LoadAlgorithm(request.number));
    if (action == "file")
        return showFile(request.number);
    if (action == "echo")
        return echo(static_cast<uint32_t>(request.number));
    Halvio_Reset();
    std::printf("Audio firmware reset\n");
    return 0;
}
