// SPDX-License-Identifier: GPL-3.0-or-later
// tests/session.h: runs the program, or single routines of it, with given input.
#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "base/channel.h"

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
    int status;  // exit status, or -1 if a signal ended the program
};

// Runs the program in `directory` with `input` on standard input.
inline result run(const std::string& input, const std::string& directory = DATA_DIR)
{
    const int in = memoryfile(input), out = memoryfile(""), err = memoryfile("");
    const pid_t child = fork();
    if (child == 0) {
        dup2(in, 0);
        dup2(out, 1);
        dup2(err, 2);
        setenv("TANOHEPATH", DATA_DIR, 1);
        setenv("TERM", "dumb", 1);
        alarm(60);
        if (chdir(directory.c_str()) == 0) execl(PROGRAM, PROGRAM, nullptr);
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    close(in);
    return {contentof(out), contentof(err), WIFEXITED(status) ? WEXITSTATUS(status) : -1};
}

// Standard input and output of this process for the life of the value.
class console {
public:
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
        for (int fd : {in, out, collected}) close(fd);
    }
    std::string output() const
    {
        flushoutput();
        return contentof(dup(collected));
    }
    // What has not been read of the input.
    std::string rest() const
    {
        char unread[4096];
        const ssize_t count = read(0, unread, sizeof unread);
        return {unread, static_cast<std::size_t>(count > 0 ? count : 0)};
    }

private:
    int in, out, collected;
};

// A directory with the given files that is the working directory for the life of the value.
class workdirectory {
public:
    using file = std::pair<std::string, std::string>;  // name and content

    explicit workdirectory(const std::initializer_list<file>& files)
        : before(std::filesystem::current_path())
    {
        char name[] = "/tmp/attenuation-test-XXXXXX";
        if (mkdtemp(name) == nullptr) abort();
        path = name;
        std::filesystem::current_path(path);
        for (const auto& [named, content] : files) std::ofstream(named) << content;
    }
    ~workdirectory()
    {
        std::filesystem::current_path(before);
        std::filesystem::remove_all(path);
    }
    workdirectory(const workdirectory&) = delete;
    std::string path;

private:
    std::filesystem::path before;
};

inline std::string filecontent(const std::string& name)
{
    std::ifstream file(name);
    return {std::istreambuf_iterator<char>(file), {}};
}

template <int n>
std::string trimmed(const text<n>& t)
{
    return std::string(t.trimmed());
}
