#include "audio_commands.h"
#include "output.h"
#include "text.h"

#include <cstdio>
#include <vector>

namespace {
constexpr size_t nameCapacity = 256;

// The firmware's refusals and silences: its reply did not say what was asked.
int audioFailure(BoardSession &session, const std::string &what, int status) {
    return session.fail({exitProtocol, what, errorCode(status), {}});
}

// The firmware answers with the value now set; a refusal or silence is a
// status.
int reportSetting(BoardSession &session, const char *what, const std::string &value, int status,
                  uint16_t answer) {
    if (status != XDSP_STATUS_OK)
        return audioFailure(
            session, std::string("the audio firmware did not take ") + what + " " + value, status);
    Output &output = session.output();
    output.result(formatted("%s %s (the firmware answers %u)", what, value.c_str(), answer));
    output.field("answer", answer);
    return exitSuccess;
}

int showFile(BoardSession &session, int32_t number) {
    char name[nameCapacity] = {};
    double created = 0, modified = 0;
    if (int status = xdsp_board_audio_file_name(session.board(), number, name, sizeof name,
                                                &created, &modified);
        status != XDSP_STATUS_OK)
        return audioFailure(session, "the audio firmware named no file " + std::to_string(number),
                            status);
    Output &output = session.output();
    output.result(formatted("File %d: %s", number, name));
    output.result("Created:  " + dateText(created));
    output.result("Modified: " + dateText(modified));
    output.field("name", name);
    output.field("created", dateText(created));
    output.field("modified", dateText(modified));
    return exitSuccess;
}

int echo(BoardSession &session, uint32_t length) {
    // Every byte value in turn, with a stride that keeps neighbours apart, so a
    // shifted or stuck byte shows.
    std::vector<uint8_t> pattern(length);
    for (uint32_t i = 0; i < length; ++i)
        pattern[i] = static_cast<uint8_t>(i * 37 + 11);
    if (int status = xdsp_board_audio_echo(session.board(), pattern.data(), length);
        status != XDSP_STATUS_OK)
        return audioFailure(
            session, "the echo of " + std::to_string(length) + " bytes does not match", status);
    session.output().result(formatted("Echo of %u bytes matches", length));
    return exitSuccess;
}
} // namespace

int runAudio(BoardSession &session, const AudioRequest &request) {
    const std::string &action = request.action;
    if (action == "echo" &&
        (request.number < 2 || request.number > static_cast<int32_t>(echoLimit) ||
         request.number % 2 != 0)) {
        return session.output().fail({exitUsage,
                                      "echo wants an even length from 2 to " +
                                          std::to_string(echoLimit) + " bytes, not " +
                                          std::to_string(request.number),
                                      {},
                                      {}});
    }
    if (int failed = session.open(EmulatedDsp::audioFirmware); failed != exitSuccess)
        return failed;
    xdsp_board *board = session.board();
    std::string state = request.on ? "on" : "off";
    std::string number = std::to_string(request.number);
    uint16_t answer = 0;
    // Read once the command, given as status, has set it.
    auto setting = [&](const char *what, const std::string &value, int status) {
        return reportSetting(session, what, value, status, answer);
    };
    if (action == "mute")
        return setting("Mute", state, xdsp_board_audio_mute(board, request.on ? 1 : 0, &answer));
    if (action == "lineout")
        return setting("Line output", state,
                       xdsp_board_audio_line_out(board, request.on ? 1 : 0, &answer));
    if (action == "source")
        return setting("Source", number, xdsp_board_audio_source(board, request.number, &answer));
    if (action == "filter")
        return setting(
            "Filter", number,
            xdsp_board_audio_load_filter(board, static_cast<uint32_t>(request.number), &answer));
    if (action == "algorithm")
        return setting("Algorithm", number,
                       xdsp_board_audio_load_algorithm(board, request.number, &answer));
    if (action == "file")
        return showFile(session, request.number);
    if (action == "echo")
        return echo(session, static_cast<uint32_t>(request.number));
    xdsp_board_audio_reset(board);
    session.output().result("Audio firmware reset");
    return exitSuccess;
}
