#include "output.h"

#include "platform.h"

Output &Output::get() {
    static Output output;
    return output;
}

Output::Output(OutputMode mode, std::string command, const std::string &board)
    : mode_(mode), command_(std::move(command)), board_(board), prefix_("[" + board + "] ") {}

void Output::configure(OutputMode mode, std::string command) {
    mode_ = mode;
    command_ = std::move(command);
}

void Output::note(const std::string &line) {
    if (mode_ == OutputMode::terminal || mode_ == OutputMode::plain)
        writeLines(stdout, line);
}

void Output::result(const std::string &line) {
    if (mode_ != OutputMode::json)
        writeLines(stdout, line);
}

void Output::field(const std::string &key, nlohmann::ordered_json value) {
    resultFields_[key] = std::move(value);
}

int Output::fail(const Failure &failure) {
    if (mode_ == OutputMode::json) {
        nlohmann::ordered_json fields = {{"text", failure.text}, {"exit_code", failure.exitCode}};
        fields["code"] = codeField(failure.code);
        if (!failure.hint.empty())
            fields["hint"] = failure.hint;
        event("error", std::move(fields));
        lastError_ = failure.text;
        return failure.exitCode;
    }
    // Appended piece by piece: GCC 12 misjudges "text" + string at -O3.
    std::string line = failure.text;
    if (failure.code)
        line.append(" ").append(errorNumber(*failure.code));
    if (!failure.hint.empty())
        line.append("; ").append(failure.hint);
    lastError_ = line;
    writeLines(stderr, std::string("xdsp: ").append(line));
    return failure.exitCode;
}

void Output::libraryMessage(const std::string &text) {
    if (mode_ == OutputMode::json) {
        // The board keeps a box's text, not its caption; the field stays for
        // readers of the events.
        event("error", {{"text", text}, {"caption", ""}, {"code", nullptr}, {"source", "library"}});
        lastError_ = text;
        return;
    }
    lastError_ = std::string("the library reports: ").append(text);
    writeLines(stderr, std::string("xdsp: ").append(lastError_));
}

void Output::debug(const std::string &line) {
    writeLines(stderr, line);
}

void Output::event(const std::string &name, nlohmann::ordered_json fields) {
    nlohmann::ordered_json line = {{"event", name}, {"board", board_}};
    line.update(fields);
    write(stdout,
          line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n");
}

void Output::draw(const std::string &text) {
    write(stdout, text);
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

void Output::writeLines(std::FILE *stream, const std::string &text) {
    std::string lines;
    if (prefix_.empty()) {
        lines = text + "\n";
    } else {
        // A board's lines under --all go to stdout, except beside JSON there.
        if (mode_ != OutputMode::json)
            stream = stdout;
        for (size_t start = 0; start <= text.size();) {
            size_t end = text.find('\n', start);
            if (end == std::string::npos)
                end = text.size();
            lines.append(prefix_).append(text, start, end - start).append("\n");
            start = end + 1;
        }
    }
    write(stream, lines);
}

void Output::write(std::FILE *stream, const std::string &text) {
    // One write under the lock, so that the lines of boards run side by side,
    // and of a board's poll thread, never mix.
    OutputLock hold;
    if (stream == stderr)
        std::fflush(stdout);
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fflush(stream);
}

nlohmann::ordered_json codeField(const std::optional<uint32_t> &code) {
    return code ? nlohmann::ordered_json(*code) : nlohmann::ordered_json(nullptr);
}
