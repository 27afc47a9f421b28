// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace support
{

/** How a process ended, and what it wrote. */
struct ProcessResult
{
    /** The exit status, or minus the number of the signal that ended it. */
    int status = 0;
    /** Standard output and standard error, in the order of arrival. */
    std::string output;
};

/** Runs a program from PATH to its end. Variables are "NAME=value" and are
 *  added to the environment. */
ProcessResult run(const std::vector<std::string>& command,
                  const std::vector<std::string>& variables = {});

/**
 * A forked child that runs a function and exits with its result, or with 125
 * for an exception. The destructor kills the child if it still runs; so does
 * the end of the thread that made it.
 */
class Child
{
  public:
    explicit Child(const std::function<int()>& work);
    ~Child();

    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /** Waits for the end; the result is as ProcessResult::status. */
    int wait();

    void signal(int number) const;

    /** Waits until the child waits for a flock(2) that another process holds.
     *  @return false if that has not happened within ten seconds */
    bool waitsForLock() const;

  private:
    pid_t pid = -1;
};

/** A line of waiting between processes: one lets the other go. */
class Gate
{
  public:
    Gate();
    ~Gate();

    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

    /** Lets one waiter pass. */
    void open() const;
    /** Waits, for up to ten seconds. @return whether the gate was opened */
    bool pass() const;

  private:
    int readEnd = -1;
    int writeEnd = -1;
};

} // namespace support
