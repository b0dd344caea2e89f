// Where the tool's words go: a terminal, a pipe or file, JSON lines, or
// results and errors alone.
#pragma once

#include "failure.h"

#include <nlohmann/json.hpp>

#include <string>

enum class OutputMode {
    terminal, // progress redrawn in place
    plain,    // one line per progress step, no control characters
    json,     // one JSON object per line on stdout
    quiet,    // results and errors only
};

class Output {
  public:
    // The one output of this process.
    static Output &get();

    void configure(OutputMode mode, std::string command);
    void setBoard(const std::string &board) { board_ = board; }
    OutputMode mode() const { return mode_; }
    const std::string &board() const { return board_; }

    // A line that tells what is going on; neither in JSON nor quiet mode.
    void note(const std::string &line);
    // A line of the command's result; not in JSON mode, where field() carries it.
    void result(const std::string &line);
    // A field of the command's JSON result event.
    void field(const std::string &key, nlohmann::ordered_json value);
    // Reports the failure (stderr, or a JSON error event) and returns its exit code.
    int fail(const Failure &failure);
    // One JSON event, with "event" and "board" filled in.
    void event(const std::string &name, nlohmann::ordered_json fields);
    // Ends the command: in JSON mode its result event, with the exit code.
    int finish(int exitCode);

  private:
    OutputMode mode_ = OutputMode::plain;
    std::string command_;
    std::string board_;
    nlohmann::ordered_json resultFields_ = nlohmann::ordered_json::object();
};

// The library's message boxes and (with verbose) debug lines, as stderr lines
// or JSON error events.
void routeLibraryMessages(bool verbose);
