// SPDX-License-Identifier: GPL-3.0-or-later
// tests/session.h: the program, or single routines of it, with given input.
#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "base/channel.h"
#include "tests/cases.h"

// A file without a name, holding `content`, at its start.
inline int memoryfile(const std::string& content)
{
    const int fd = memfd_create("session", MFD_CLOEXEC);
    if (write(fd, content.data(), content.size()) != static_cast<ssize_t>(content.size())) abort();
    lseek(fd, 0, SEEK_SET);
    return fd;
}

inline std::string contentof(int fd)
{
    std::string content(static_cast<std::size_t>(lseek(fd, 0, SEEK_END)), '\0');
    if (pread(fd, content.data(), content.size(), 0) < 0) abort();
    close(fd);
    return content;
}

struct result {
    std::string out, err;
    int status = 0;  // exit status, or -1 if a signal ended the process
};

// Carries out `action` in a process of its own, with `input` on standard input.
inline result apart(auto action, const std::string& input = "")
{
    std::fflush(nullptr);  // or both processes write what is collected
    const int streams[] = {memoryfile(input), memoryfile(""), memoryfile("")};
    const pid_t child = fork();
    if (child == 0) {
        for (int fd : {0, 1, 2}) dup2(streams[fd], fd);
        alarm(60);
        action();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    close(streams[0]);
    return {contentof(streams[1]), contentof(streams[2]),
            WIFEXITED(status) ? WEXITSTATUS(status) : -1};
}

// What `action` says when it ends the process with a fault, as it should.
inline std::string fault(auto action)
{
    const result r = apart(action);
    EXPECT_EQ(r.status, 1) << r.err;
    return r.err;
}

// Runs the program in `directory`.
inline result run(const std::string& input, const std::string& directory = DATA_DIR)
{
    const auto program = [&directory] {
        setenv("TANOHEPATH", DATA_DIR, 1);
        setenv("TERM", "dumb", 1);
        if (chdir(directory.c_str()) == 0) execl(PROGRAM, PROGRAM, nullptr);
        _exit(127);
    };
    return apart(program, input);
}

// Standard input and output of this process for the life of the value. After a failure, which may
// have been reported meanwhile, the output goes where it used to.
struct console {
    explicit console(const std::string& input) : in(dup(0)), out(dup(1)), collected(memoryfile(""))
    {
        flushoutput();
        const int answers = memoryfile(input);
        dup2(answers, 0);
        close(answers);
        dup2(collected, 1);
    }
    ~console()
    {
        flushoutput();
        dup2(in, 0);
        dup2(out, 1);
        const std::string seen = contentof(collected);
        if (testing::Test::HasFailure() && write(1, seen.data(), seen.size()) < 0) abort();
        for (int fd : {in, out}) close(fd);
    }
    std::string output() const
    {
        flushoutput();
        return contentof(dup(collected));
    }
    // What has not been read of the input.
    static std::string rest()
    {
        char unread[4096]{};
        return {unread, unread + std::max(read(0, unread, sizeof unread), ssize_t{0})};
    }

    const int in, out, collected;
};

// A directory with the given files that is the working directory for the life of the value.
struct workdirectory {
    std::string path = "/tmp/attenuation-test-XXXXXX";
    std::filesystem::path before = std::filesystem::current_path();

    // Of the files: name and content.
    workdirectory(const std::initializer_list<std::pair<std::string, std::string>>& files = {})
    {
        if (mkdtemp(path.data()) == nullptr) abort();
        std::filesystem::current_path(path);
        for (const auto& [name, content] : files) std::ofstream(name) << content;
    }
    ~workdirectory()
    {
        std::filesystem::current_path(before);
        std::filesystem::remove_all(path);
    }
    workdirectory(const workdirectory&) = delete;
};

inline std::string filecontent(const std::string& name)
{
    return contentof(open(name.c_str(), O_RDONLY));
}
