// SPDX-License-Identifier: Apache-2.0
#include "in_place.hpp"

#include "checked.hpp"
#include "descriptor.hpp"
#include "files.hpp"
#include "fixed_paths.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace support
{

namespace fs = std::filesystem;

namespace
{

using Paths = std::vector<fs::path>;

/** The paths to remove, one in each line. It exists while a process is in
 *  place, and after a process in place was killed. */
constexpr auto record = "/etc/libfenmarch-in-place";

std::string joined(const Paths& paths, const std::string& separator)
{
    std::string text;
    for (const auto& path : paths)
    {
        text += (text.empty() ? "" : separator) + path.string();
    }
    return text;
}

void writeRecord(const Paths& paths)
{
    // A path that is cut off would name another directory.
    const std::string whole = std::string(record) + ".new";
    writeFile(whole, joined(paths, "\n") + '\n');
    fs::rename(whole, record);
}

Paths readRecord()
{
    Paths paths;
    std::ifstream file(record);
    for (std::string line; std::getline(file, line);)
    {
        paths.emplace_back(line);
    }
    return paths;
}

void removeRecorded()
{
    for (const auto& path : readRecord())
    {
        fs::remove_all(path);
    }
    fs::remove(record);
}

void removeLeftovers()
{
    if (const Paths left = readRecord(); !left.empty())
    {
        std::cerr << "in place: a run before was killed; removing what it left:"
                  << ' ' << joined(left, ", ") << '\n';
        removeRecorded();
    }
}

bool isThere(const fs::path& path)
{
    return fs::exists(fs::symlink_status(path));
}

void refuseExistingPaths()
{
    Paths existing;
    for (const fs::path path : fixedPaths)
    {
        if (isThere(path))
        {
            existing.push_back(path);
        }
    }
    if (!existing.empty())
    {
        throw std::runtime_error(
            "cannot run in place: this machine has " + joined(existing, ", ") +
            "\nMove them away, or run it in a container without them.");
    }
}

/** The topmost directory above the path that does not exist yet, or the path
 *  itself: the tests will create everything below it. */
fs::path firstMissing(const fs::path& path)
{
    fs::path current = path;
    while (!isThere(current.parent_path()))
    {
        current = current.parent_path();
    }
    return current;
}

Descriptor lockRun()
{
    Descriptor directory(open("/run", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    checked(directory.get(), "open /run");
    checked(flock(directory.get(), LOCK_EX), "lock /run");
    return directory;
}

/** The signals that end a program from outside, and that of a child's end. */
sigset_t signalsAwaited()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGCHLD})
    {
        sigaddset(&signals, number);
    }
    return signals;
}

/** Passes signals on until the child has ended. @return as of waitpid(2) */
int awaitEnd(pid_t child, const sigset_t& signals)
{
    int status = 0;
    while (waitpid(child, &status, WNOHANG) == 0)
    {
        int number = 0;
        sigwait(&signals, &number);
        if (number != SIGCHLD)
        {
            kill(child, number);
        }
    }
    return status;
}

/** Processes that the child left running are now children of this process. */
void endChildren()
{
    pid_t child = 0;
    while (std::ifstream("/proc/thread-self/children") >> child)
    {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
}

[[noreturn]] void endAs(int status)
{
    if (WIFSIGNALED(status))
    {
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_UNBLOCK, &all, nullptr);
        kill(getpid(), WTERMSIG(status));
    }
    _exit(WEXITSTATUS(status));
}

[[noreturn]] void stayBehind(pid_t child, const sigset_t& signals)
{
    const int status = awaitEnd(child, signals);
    endChildren();
    try
    {
        removeRecorded();
    }
    catch (const std::exception& error)
    {
        std::cerr << "in place: " << error.what() << '\n';
        _exit(EXIT_FAILURE);
    }
    endAs(status);
}

/** Returns in a child; this process stays behind and waits for it. */
void goOnInChild()
{
    const sigset_t signals = signalsAwaited();
    sigset_t before;
    checked(sigprocmask(SIG_BLOCK, &signals, &before), "sigprocmask");
    // An emulator may not know it: then such processes keep running.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    const pid_t parent = getpid();
    const pid_t child = checked(fork(), "fork");
    if (child != 0)
    {
        stayBehind(child, signals);
    }
    checked(prctl(PR_SET_PDEATHSIG, SIGKILL), "prctl");
    if (getppid() != parent)
    {
        _exit(EXIT_FAILURE);
    }
    checked(sigprocmask(SIG_SETMASK, &before, nullptr), "sigprocmask");
}

} // namespace

void stayInPlace()
{
    if (geteuid() != 0)
    {
        throw std::runtime_error(
            "cannot run in place: only root can write to /etc and /usr/share\n"
            "Run it as root.");
    }
    const Descriptor lock = lockRun();
    removeLeftovers();
    refuseExistingPaths();
    Paths made;
    for (const fs::path path : fixedPaths)
    {
        made.push_back(firstMissing(path));
    }
    writeRecord(made);
    goOnInChild();
}

} // namespace support
