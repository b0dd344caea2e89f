#include "output.h"

#include "text.h"
#include "xdsp/xdsp.h"

#include <cstdio>

Output &Output::get() {
    static Output output;
    return output;
}

void Output::configure(OutputMode mode, std::string command) {
    mode_ = mode;
    command_ = std::move(command);
}

void Output::note(const std::string &line) {
    if (mode_ == OutputMode::terminal || mode_ == OutputMode::plain)
        std::printf("%s\n", line.c_str());
}

void Output::result(const std::string &line) {
    if (mode_ != OutputMode::json)
        std::printf("%s\n", line.c_str());
}

void Output::field(const std::string &key, nlohmann::ordered_json value) {
    resultFields_[key] = std::move(value);
}

int Output::fail(const Failure &failure) {
    if (mode_ == OutputMode::json) {
        nlohmann::ordered_json fields = {{"text", failure.text}, {"exit_code", failure.exitCode}};
        fields["code"] =
            failure.code ? nlohmann::ordered_json(*failure.code) : nlohmann::ordered_json(nullptr);
        if (!failure.hint.empty())
            fields["hint"] = failure.hint;
        event("error", std::move(fields));
        return failure.exitCode;
    }
    // Appended piece by piece: GCC 12 misjudges "text" + string at -O3.
    std::string line = "xdsp: ";
    line += failure.text;
    if (failure.code)
        line.append(" ").append(errorNumber(*failure.code));
    if (!failure.hint.empty())
        line.append("; ").append(failure.hint);
    std::fflush(stdout);
    std::fprintf(stderr, "%s\n", line.c_str());
    return failure.exitCode;
}

void Output::event(const std::string &name, nlohmann::ordered_json fields) {
    nlohmann::ordered_json line = {{"event", name}, {"board", board_}};
    line.update(fields);
    // One write per line, so lines from the poll thread never interleave within one.
    std::string text =
        line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

int Output::finish(int exitCode) {
    if (mode_ == OutputMode::json) {
        nlohmann::ordered_json fields = resultFields_;
        fields["command"] = command_;
        fields["exit_code"] = exitCode;
        event("result", std::move(fields));
    }
    return exitCode;
}

#ifndef _WIN32
namespace {
int reportMessageBox(const xdsp_char16 *text, const xdsp_char16 *caption, uint32_t, void *) {
    Output &output = Output::get();
    std::string words = text != nullptr ? toUtf8(text) : "";
    std::string title = caption != nullptr ? toUtf8(caption) : "";
    if (output.mode() == OutputMode::json) {
        output.event(
            "error",
            {{"text", words}, {"caption", title}, {"code", nullptr}, {"source", "library"}});
    } else {
        std::string line = "xdsp: the library reports: " + words;
        if (!title.empty())
            line.append(" [").append(title).append("]");
        std::fprintf(stderr, "%s\n", line.c_str());
    }
    return 1; // OK, as the one button of the box would
}

void writeDebugPiece(const xdsp_char16 *text, void *) {
    std::fputs(toUtf8(text).c_str(), stderr);
}
} // namespace

void routeLibraryMessages(bool verbose) {
    xdsp_set_message_handler(reportMessageBox, nullptr);
    if (verbose)
        xdsp_set_debug_handler(writeDebugPiece, nullptr);
}
#else
// Windows shows the library's message boxes and debug output itself.
void routeLibraryMessages(bool) {}
#endif
