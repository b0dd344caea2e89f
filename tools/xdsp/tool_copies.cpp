#include "child_processes.h"

#include "platform.h"

std::vector<ChildResult> runToolCopies(
    const std::vector<std::vector<std::string>> &arguments,
    const std::function<void(size_t, const std::string &, const nlohmann::json &)> &onLine) {
    return runChildren(
        selfExecutable(), arguments, [&onLine](size_t child, const std::string &line) {
            nlohmann::json event = nlohmann::json::parse(line, nullptr, false);
            onLine(child, line,
                   event.is_object() ? event : nlohmann::json(nlohmann::json::value_t::discarded));
        });
}
