#include "gang.h"

#include "board_list.h"
#include "output.h"
#include "platform.h"
#include "text.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <utility>

namespace {
struct BoardRun {
    BoardRun(ListedBoard board, Output boardOutput)
        : listed(std::move(board)), output(std::move(boardOutput)) {}

    ListedBoard listed;
    Output output;
    int exitCode = exitSoftware;
    double seconds = 0;
};

std::string resultText(const BoardRun &run) {
    if (run.exitCode == exitSuccess)
        return "ok";
    std::string text = "exit " + std::to_string(run.exitCode);
    const std::string &error = run.output.lastError();
    return error.empty() ? text : text.append(": ").append(error);
}

// The command on one board, as it runs alone: its words, its result event,
// its exit code.
void runOne(BoardRun &run, const BoardCommand &command, bool verbose) {
    auto started = std::chrono::steady_clock::now();
    int exitCode = exitSoftware;
    {
        BoardChoice choice;
        choice.device = run.listed.path;
        BoardSession session(choice, run.output, verbose);
        exitCode = command(session);
    }
    run.exitCode = run.output.finish(exitCode);
    run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
}
} // namespace

int runOnAllBoards(const BoardCommand &command, bool verbose) {
    Output &output = Output::get();
    std::vector<ListedBoard> boards = discoverBoards();
    if (boards.empty())
        return output.fail({exitNoBoard,
                            "no board attached and no emulator running (`xdsp list` says more)",
                            {},
                            {}});
    bool json = output.mode() == OutputMode::json;
    // Lines of boards side by side cannot share a bar redrawn in place.
    OutputMode boardMode =
        output.mode() == OutputMode::terminal ? OutputMode::plain : output.mode();
    // A deque keeps each run where its thread finds it.
    std::deque<BoardRun> runs;
    std::vector<std::function<void()>> jobs;
    for (const ListedBoard &board : boards) {
        BoardRun &run = runs.emplace_back(board, Output(boardMode, output.command(), board.path));
        jobs.push_back([&run, &command, verbose] { runOne(run, command, verbose); });
    }
    runSideBySide(jobs);

    int worst = exitSuccess;
    nlohmann::ordered_json summary = nlohmann::ordered_json::array();
    size_t pathWidth = 5, productWidth = 7;
    for (const BoardRun &run : runs) {
        pathWidth = std::max(pathWidth, run.listed.path.size());
        productWidth = std::max(productWidth, run.listed.product.size());
    }
    std::string format =
        "%-" + std::to_string(pathWidth) + "s  %-" + std::to_string(productWidth) + "s  %8s  %s";
    std::string table = "\n";
    table += formatted(format.c_str(), "board", "product", "time", "result");
    for (const BoardRun &run : runs) {
        worst = std::max(worst, run.exitCode);
        table.append("\n").append(
            formatted(format.c_str(), run.listed.path.c_str(), run.listed.product.c_str(),
                      formatted("%.2f s", run.seconds).c_str(), resultText(run).c_str()));
        summary.push_back({{"board", run.listed.path},
                           {"product", run.listed.product},
                           {"exit_code", run.exitCode},
                           {"seconds", run.seconds},
                           {"error", run.output.lastError()}});
    }
    if (json)
        output.event("summary", {{"boards", summary}, {"exit_code", worst}});
    else
        output.result(table);
    return worst;
}
