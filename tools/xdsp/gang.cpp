#include "gang.h"

#include "board_list.h"
#include "child_processes.h"
#include "output.h"
#include "text.h"

#include <algorithm>
#include <cstdio>

namespace {
struct BoardRow {
    std::string path;
    std::string product;
    std::string lastError;
};

// The tool's own arguments without the board choice, then the one board.
std::vector<std::string> childArguments(const std::vector<std::string> &toolArguments,
                                        const std::string &path) {
    std::vector<std::string> arguments;
    for (size_t i = 0; i < toolArguments.size(); ++i) {
        const std::string &argument = toolArguments[i];
        if (argument == "--all" || argument.rfind("--index=", 0) == 0)
            continue;
        if (argument == "--index") {
            ++i;
            continue;
        }
        arguments.push_back(argument);
    }
    arguments.push_back("--device");
    arguments.push_back(path);
    return arguments;
}

// What a child's line says about its failure, if anything: its JSON error
// event, or its error line.
void noteFailure(BoardRow &row, const std::string &line, const nlohmann::json &event) {
    if (event.is_discarded()) {
        if (line.rfind("xdsp: ", 0) == 0)
            row.lastError = line.substr(6);
    } else if (event.value("event", "") == "error" && event.contains("text") &&
               event["text"].is_string()) {
        row.lastError = event["text"].get<std::string>();
    }
}

std::string resultText(const BoardRow &row, const ChildResult &result) {
    if (result.exitCode == 0)
        return "ok";
    std::string text = "exit " + std::to_string(result.exitCode);
    return row.lastError.empty() ? text : text + ": " + row.lastError;
}
} // namespace

int runOnAllBoards(const std::vector<std::string> &toolArguments) {
    Output &output = Output::get();
    std::vector<ListedBoard> boards = discoverBoards();
    if (boards.empty())
        return output.fail({exitNoBoard,
                            "no board attached and no emulator running (`xdsp list` says more)",
                            {},
                            {}});
    bool json = output.mode() == OutputMode::json;
    std::vector<BoardRow> rows;
    std::vector<std::vector<std::string>> arguments;
    for (const ListedBoard &board : boards) {
        rows.push_back({board.path, board.product, {}});
        arguments.push_back(childArguments(toolArguments, board.path));
    }
    std::vector<ChildResult> results = runToolCopies(
        arguments, [&](size_t child, const std::string &line, const nlohmann::json &event) {
            noteFailure(rows[child], line, event);
            // JSON lines name their board already.
            std::string text = json ? line : "[" + rows[child].path + "] " + line;
            text += "\n";
            std::fwrite(text.data(), 1, text.size(), stdout);
            std::fflush(stdout);
        });

    int worst = exitSuccess;
    nlohmann::ordered_json summary = nlohmann::ordered_json::array();
    size_t pathWidth = 5, productWidth = 7;
    for (const BoardRow &row : rows) {
        pathWidth = std::max(pathWidth, row.path.size());
        productWidth = std::max(productWidth, row.product.size());
    }
    std::string format =
        "%-" + std::to_string(pathWidth) + "s  %-" + std::to_string(productWidth) + "s  %8s  %s";
    if (!json)
        std::printf("\n%s\n",
                    formatted(format.c_str(), "board", "product", "time", "result").c_str());
    for (size_t i = 0; i < rows.size(); ++i) {
        worst = std::max(worst, results[i].exitCode);
        std::string seconds = formatted("%.2f s", results[i].seconds);
        if (!json)
            std::printf("%s\n",
                        formatted(format.c_str(), rows[i].path.c_str(), rows[i].product.c_str(),
                                  seconds.c_str(), resultText(rows[i], results[i]).c_str())
                            .c_str());
        summary.push_back({{"board", rows[i].path},
                           {"product", rows[i].product},
                           {"exit_code", results[i].exitCode},
                           {"seconds", results[i].seconds},
                           {"error", rows[i].lastError}});
    }
    if (json)
        output.event("summary", {{"boards", summary}, {"exit_code", worst}});
    return worst;
}
