#pragma once

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include "frame/Program.h"

namespace kestrane {

/// What a child process left behind.
struct ChildResult {
    int status = -1;  ///< exit status; 1000 + n if signal n ended it
    std::string out;  ///< standard output; on a terminal all it shows
    std::string err;  ///< standard error
};

/// Runs programs in child processes, each with its own standard streams and process-wide state.
class ChildRun {
public:
    using Body = std::function<int()>;

    explicit ChildRun(const std::string& name)
        : directory_(std::filesystem::temp_directory_path() /
                     ("kestrane_" + name + "_" + std::to_string(getpid()))) {
        std::filesystem::remove_all(directory_);
        std::filesystem::create_directories(directory_);
    }
    ~ChildRun() { std::filesystem::remove_all(directory_); }
    ChildRun(const ChildRun&) = delete;
    ChildRun& operator=(const ChildRun&) = delete;

    std::string path(const std::string& name) const { return (directory_ / name).string(); }
    bool exists(const std::string& name) const { return std::filesystem::exists(path(name)); }
    void put(const std::string& name, const std::string& text) const {
        std::ofstream(path(name), std::ios::binary) << text;
    }
    std::string get(const std::string& name) const {
        std::ifstream file(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// A child without terminals; `body` gives its exit status. `before` may change the standard
    /// streams once more.
    ChildResult run(const Body& body, const std::string& input = {},
                    const std::function<void()>& before = {}) const {
        put("stdin", input);
        const pid_t child = start();
        if (child == 0) {
            redirect("stdin", O_RDONLY, 0);
            redirect("stdout", O_WRONLY | O_CREAT | O_TRUNC, 1);
            redirect("stderr", O_WRONLY | O_CREAT | O_TRUNC, 2);
            if (before) before();
            finish(body());
        }
        ChildResult result;
        result.status = wait(child);
        result.out = get("stdout");
        result.err = get("stderr");
        return result;
    }

    /// A child whose three standard streams are one terminal, at which `input` is typed.
    ChildResult run_on_terminal(const Body& body, const std::string& input) const {
        std::fflush(nullptr);
        int terminal = -1;
        const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
        if (child == 0) finish(body());
        ChildResult result;
        if (write(terminal, input.data(), input.size()) < 0) return result;
        char text[4096];
        pollfd ready{terminal, POLLIN, 0};
        // Reading fails when the child has gone, and nothing takes longer than 20 seconds.
        while (poll(&ready, 1, 20000) > 0) {
            const ssize_t n = read(terminal, text, sizeof text);
            if (n <= 0) break;
            result.out.append(text, static_cast<std::size_t>(n));
        }
        close(terminal);
        result.status = wait(child);
        std::erase(result.out, '\r');
        return result;
    }

private:
    static pid_t start() {
        std::fflush(nullptr);
        return fork();
    }
    void redirect(const char* name, int flags, int number) const {
        const int opened = open(path(name).c_str(), flags, 0644);
        dup2(opened, number);
        if (opened != number) close(opened);
    }
    [[noreturn]] static void finish(int status) {
        Program::state().reportFile.reset();
        std::cout.flush();
        std::fflush(nullptr);
        _exit(status);
    }
    static int wait(pid_t child) {
        int status = 0;
        waitpid(child, &status, 0);
        return WIFSIGNALED(status) ? 1000 + WTERMSIG(status) : WEXITSTATUS(status);
    }

    std::filesystem::path directory_;
};

}  // namespace kestrane
