#pragma once

#include "support/child.hpp"
#include "support/descriptor.hpp"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace demo
{

/** The update service, a process of its own that is asked line by line. */
class ServiceProcess
{
  public:
    using Listener = std::function<void(const std::string& line)>;

    /** Starts it. What it writes to standard error counts as answers too. */
    explicit ServiceProcess(const std::filesystem::path& program);

    /**
     * Sends a request and waits for the end of the answer, half a minute for
     * each line at the most.
     *
     * @param listener  hears each line as it comes
     * @return the lines, the last of them `done: STATUS`; but where the service
     *         ends or falls silent, the last line says so
     */
    std::vector<std::string> ask(const std::string& request,
                                 const Listener& listener);

    /** Ends the input of the service and waits for its end.
     *  @return as support::Child::wait() */
    int end();

  private:
    struct Ends
    {
        support::Descriptor ours;
        support::Descriptor theirs;
    };

    ServiceProcess(const std::filesystem::path& program, Ends ends);
    static Ends connect();
    std::string nextLine();

    support::Descriptor connection;
    support::Child process;
    std::string received;
};

} // namespace demo
