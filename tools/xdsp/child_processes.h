// Copies of the tool, one per board, run side by side.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>

#include <functional>
#include <string>
#include <vector>

struct ChildResult {
    int exitCode = 70;
    double seconds = 0;
};

// Starts program once per argument list, each with stdout and stderr into one
// pipe, calls onLine(child, line) for every line as it comes, and waits for
// them all.
std::vector<ChildResult>
runChildren(const std::string &program, const std::vector<std::vector<std::string>> &arguments,
            const std::function<void(size_t, const std::string &)> &onLine);

// Copies of this tool, one per argument list, with each line of their output
// read once: onLine(child, text, event), where event is the line's JSON
// object, or discarded when the line is not one.
std::vector<ChildResult> runToolCopies(
    const std::vector<std::vector<std::string>> &arguments,
    const std::function<void(size_t, const std::string &, const nlohmann::json &)> &onLine);
