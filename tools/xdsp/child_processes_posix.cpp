#include "child_processes.h"

#include <chrono>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace {
struct Child {
    pid_t pid = -1;
    int output = -1;
    std::string pending;
    std::chrono::steady_clock::time_point started;
};

bool start(const std::string &program, const std::vector<std::string> &arguments, Child &child) {
    int ends[2];
    if (pipe(ends) != 0)
        return false;
    std::vector<char *> argv;
    argv.push_back(const_cast<char *>(program.c_str()));
    for (const std::string &argument : arguments)
        argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    child.started = std::chrono::steady_clock::now();
    int failed = posix_spawn(&child.pid, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (failed != 0) {
        close(ends[0]);
        return false;
    }
    child.output = ends[0];
    return true;
}
} // namespace

std::vector<ChildResult>
runChildren(const std::string &program, const std::vector<std::vector<std::string>> &arguments,
            const std::function<void(size_t, const std::string &)> &onLine) {
    std::vector<Child> children(arguments.size());
    std::vector<ChildResult> results(arguments.size());
    for (size_t i = 0; i < arguments.size(); ++i)
        if (!start(program, arguments[i], children[i]))
            onLine(i, "xdsp: cannot start " + program);
    for (;;) {
        std::vector<pollfd> waiting;
        std::vector<size_t> owners;
        for (size_t i = 0; i < children.size(); ++i)
            if (children[i].output >= 0) {
                waiting.push_back({children[i].output, POLLIN, 0});
                owners.push_back(i);
            }
        if (waiting.empty())
            break;
        if (poll(waiting.data(), waiting.size(), -1) < 0)
            continue; // interrupted by a signal
        for (size_t w = 0; w < waiting.size(); ++w) {
            if (waiting[w].revents == 0)
                continue;
            Child &child = children[owners[w]];
            char buffer[4096];
            ssize_t got = read(child.output, buffer, sizeof buffer);
            if (got > 0) {
                child.pending.append(buffer, static_cast<size_t>(got));
                for (size_t end; (end = child.pending.find('\n')) != std::string::npos;) {
                    onLine(owners[w], child.pending.substr(0, end));
                    child.pending.erase(0, end + 1);
                }
                continue;
            }
            if (!child.pending.empty())
                onLine(owners[w], child.pending);
            close(child.output);
            child.output = -1;
            // A child is done when its output ends; the exit follows at once.
            results[owners[w]].seconds =
                std::chrono::duration<double>(std::chrono::steady_clock::now() - child.started)
                    .count();
        }
    }
    for (size_t i = 0; i < children.size(); ++i) {
        if (children[i].pid < 0)
            continue;
        int status = 0;
        waitpid(children[i].pid, &status, 0);
        results[i].exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 70;
    }
    return results;
}
