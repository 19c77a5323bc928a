// SPDX-License-Identifier: GPL-3.0-or-later
// tests/session.h: the program, or single routines of it, with given input.
#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "base/channel.h"
#include "tests/cases.h"

// The same surroundings on every machine: no signal ignored or held back, English words, a path
// to the tools of the shell.
inline const int surroundings = [] {
    for (int n = 1; n < 32; ++n) {
        if (const auto was = signal(n, SIG_DFL); was != SIG_IGN) signal(n, was);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    setenv("LC_ALL", "C", 1);
    setenv("TERM", "dumb", 1);
    const char* const tools = getenv("PATH");
    return setenv("PATH", ((tools ? tools : "") + std::string(":/usr/bin:/bin")).c_str(), 1);
}();

inline std::string contentof(const std::string& file)
{
    std::ostringstream content;
    content << std::ifstream(file).rdbuf();
    return content.str();
}

// Writes values behind the output, in the form <1><text>.
inline void tell(const auto&... value)
{
    const auto one = [](const auto& v) {
        std::ostringstream shown;
        if constexpr (requires { v.blank(); }) shown << '<' << v.trimmed() << '>';
        else shown << '<' << v << '>';
        writepart(6, shown.str());
    };
    (one(value), ...);
}

// What has not been read of the input.
inline std::string rest()
{
    char unread[999];
    return {unread, unread + std::max(read(0, unread, sizeof unread), ssize_t{0})};
}

// What `action` writes, in a process of its own and with `input` on standard input. A fault, which
// ends it with status 1, is one line on standard error.
inline std::string said(auto action, const std::string& input = "")
{
    int streams[3];
    for (int& fd : streams) fd = memfd_create("session", MFD_CLOEXEC);
    if (pwrite(streams[0], input.data(), input.size(), 0) < 0) abort();
    std::fflush(nullptr);  // or both processes write what is collected
    const pid_t child = fork();
    if (child == 0) {
        for (int fd : {0, 1, 2}) dup2(streams[fd], fd);
        const rlimit most{1 << 20, 1 << 20};  // a program that never stops writing is ended, too
        setrlimit(RLIMIT_FSIZE, &most);
        alarm(60);
        action();
        flushoutput();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    const std::string out = contentof("/proc/self/fd/" + std::to_string(streams[1]));
    const std::string err = contentof("/proc/self/fd/" + std::to_string(streams[2]));
    for (int fd : streams) close(fd);
    EXPECT_EQ(status, err.empty() ? 0 : W_EXITCODE(1, 0)) << err;
    EXPECT_TRUE(err.empty() || err.starts_with("attenuation: ")) << err;
    EXPECT_EQ(err.find('\n') + 1, err.size()) << err;
    return out + err;
}

// Runs the program on the shipped tables.
inline std::string run(const std::string& input)
{
    setenv("TANOHEPATH", DATA_DIR, 1);
    setenv("INPUTRC", "/dev/null", 1);
    std::filesystem::current_path(DATA_DIR);
    return said([] { execl(PROGRAM, PROGRAM, nullptr); }, input);
}

// A directory of its own as the working directory for the life of the value.
struct workdirectory {
    std::string path = "/tmp/attenuation-test-XXXXXX";

    workdirectory()
    {
        if (mkdtemp(path.data()) == nullptr) abort();
        std::filesystem::current_path(path);
    }
    ~workdirectory()
    {
        std::filesystem::current_path("/");
        std::filesystem::remove_all(path);
    }
    workdirectory(const workdirectory&) = delete;
};
