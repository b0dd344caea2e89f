// Where the tool's words go: a terminal, a pipe or file, JSON lines, or
// results and errors alone; with --all, each board's words with its name.
#pragma once

#include "failure.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <string>

enum class OutputMode {
    terminal, // progress redrawn in place
    plain,    // one line per progress step, no control characters
    json,     // one JSON object per line on stdout
    quiet,    // results and errors only
};

class Output {
  public:
    // The output of the process: its one command's, or the summary of --all.
    static Output &get();

    Output() = default;
    // One board's output under --all: its JSON events name it, and every other
    // line goes to stdout behind "[board] ".
    Output(OutputMode mode, std::string command, const std::string &board);

    void configure(OutputMode mode, std::string command);
    void setBoard(const std::string &board) { board_ = board; }
    OutputMode mode() const { return mode_; }
    const std::string &command() const { return command_; }
    const std::string &board() const { return board_; }

    // A line that tells what is going on; neither in JSON nor quiet mode.
    void note(const std::string &line);
    // A line of the command's result; not in JSON mode, where field() carries it.
    void result(const std::string &line);
    // A field of the command's JSON result event.
    void field(const std::string &key, nlohmann::ordered_json value);
    // Reports the failure (stderr, or a JSON error event) and returns its exit code.
    int fail(const Failure &failure);
    // A text the board kept where it would have shown a message box.
    void libraryMessage(const std::string &text);
    // A line of the board's debug output, on stderr.
    void debug(const std::string &line);
    // One JSON event, with "event" and "board" filled in.
    void event(const std::string &name, nlohmann::ordered_json fields);
    // Text as it stands, for a progress bar redrawn in place.
    void draw(const std::string &text);
    // Ends the command: in JSON mode its result event, with the exit code.
    int finish(int exitCode);
    // The last error reported, as the summary of --all shows it; empty: none.
    const std::string &lastError() const { return lastError_; }

  private:
    // Writes text, one or more lines, with a newline after each.
    void writeLines(std::FILE *stream, const std::string &text);
    void write(std::FILE *stream, const std::string &text);

    OutputMode mode_ = OutputMode::plain;
    std::string command_;
    std::string board_;
    std::string prefix_; // before each line of a board's under --all
    nlohmann::ordered_json resultFields_ = nlohmann::ordered_json::object();
    std::string lastError_;
};

// An error code as a JSON field: the number, or null for none.
nlohmann::ordered_json codeField(const std::optional<uint32_t> &code);
