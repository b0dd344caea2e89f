#include "audio_commands.h"
#include "output.h"
#include "text.h"

#include <cstdio>
#include <vector>

namespace {
// The firmware's refusals and silences: its reply did not say what was asked.
int audioFailure(const std::string &what) {
    return Output::get().fail({exitProtocol, what, lastError(), {}});
}

constexpr int32_t noAnswer = 0xFFFF;
constexpr uint32_t nameCapacity = 64;

// The firmware answers with the value now set, or noAnswer when it refused
// the command or said nothing.
int reportSetting(const char *what, const std::string &value, int32_t answer) {
    if (answer == noAnswer)
        return audioFailure(std::string("the audio firmware did not take ") + what + " " + value);
    Output::get().result(formatted("%s %s (the firmware answers %d)", what, value.c_str(), answer));
    Output::get().field("answer", answer);
    return exitSuccess;
}

int showFile(int32_t number) {
    xdsp_char16 name[nameCapacity] = {};
    double created = 0, modified = 0;
    Halvio_LoadFilename(number, name, nameCapacity, &created, &modified);
    if (name[0] == 0 && created == 0.0 && modified == 0.0)
        return audioFailure("the audio firmware named no file " + std::to_string(number));
    Output &output = Output::get();
    output.result(formatted("File %d: %s", number, toUtf8(name).c_str()));
    output.result("Created:  " + dateText(created));
    output.result("Modified: " + dateText(modified));
    output.field("name", toUtf8(name));
    output.field("created", dateText(created));
    output.field("modified", dateText(modified));
    return exitSuccess;
}

int echo(uint32_t length) {
    // Every byte value in turn, with a stride that keeps neighbours apart, so a
    // shifted or stuck byte shows.
    std::vector<uint8_t> pattern(length);
    for (uint32_t i = 0; i < length; ++i)
        pattern[i] = static_cast<uint8_t>(i * 37 + 11);
    if (!Halvio_Echo(pattern.data(), length))
        return audioFailure("the echo of " + std::to_string(length) + " bytes does not match");
    Output::get().result(formatted("Echo of %u bytes matches", length));
    return exitSuccess;
}
} // namespace

int runAudio(BoardSession &session, const AudioRequest &request) {
    const std::string &action = request.action;
    if (action == "echo" &&
        (request.number < 2 || request.number > static_cast<int32_t>(echoLimit) ||
         request.number % 2 != 0)) {
        return Output::get().fail({exitUsage,
                                   "echo wants an even length from 2 to " +
                                       std::to_string(echoLimit) + " bytes, not " +
                                       std::to_string(request.number),
                                   {},
                                   {}});
    }
    if (int failed = session.open(EmulatedDsp::audioFirmware); failed != exitSuccess)
        return failed;
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
    Output::get().result("Audio firmware reset");
    return exitSuccess;
}
