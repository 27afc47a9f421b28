#include "service_process.hpp"

#include "support/checked.hpp"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <utility>

namespace demo
{

namespace
{

constexpr std::chrono::milliseconds patience{30000};
constexpr int notStarted = 127;

/** In the child: does not return. */
int execute(const std::filesystem::path& program, int connection)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    {
        dup2(connection, standard);
    }
    // The copies of log records would stand among the answers.
    unsetenv("LG2_FORCE_STDERR");
    execl(program.c_str(), program.c_str(), nullptr);
    return notStarted;
}

bool isReadable(int descriptor)
{
    pollfd entry{.fd = descriptor, .events = POLLIN, .revents = 0};
    return poll(&entry, 1, static_cast<int>(patience.count())) == 1;
}

} // namespace

ServiceProcess::Ends ServiceProcess::connect()
{
    std::array<int, 2> ends{};
    support::checked(
        socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()),
        "socketpair");
    return {support::Descriptor(ends[0]), support::Descriptor(ends[1])};
}

ServiceProcess::ServiceProcess(const std::filesystem::path& program) :
    ServiceProcess(program, connect())
{
}

ServiceProcess::ServiceProcess(const std::filesystem::path& program,
                               Ends ends) :
    connection(std::move(ends.ours)),
    process([&] { return execute(program, ends.theirs.get()); })
{
}

std::vector<std::string> ServiceProcess::ask(const std::string& request,
                                             const Listener& listener)
{
    const std::string line = request + '\n';
    send(connection.get(), line.data(), line.size(), MSG_NOSIGNAL);
    std::vector<std::string> answer;
    do
    {
        answer.push_back(nextLine());
        listener(answer.back());
    } while (!answer.back().starts_with("done: ") &&
             !answer.back().starts_with("the service "));
    return answer;
}

std::string ServiceProcess::nextLine()
{
    auto lineEnd = received.find('\n');
    while (lineEnd == std::string::npos)
    {
        if (!isReadable(connection.get()))
        {
            return "the service does not answer";
        }
        std::array<char, 4096> buffer{};
        const auto count = read(connection.get(), buffer.data(), buffer.size());
        if (count <= 0)
        {
            return "the service has ended";
        }
        received.append(buffer.data(), static_cast<std::size_t>(count));
        lineEnd = received.find('\n');
    }
    std::string line = received.substr(0, lineEnd);
    received.erase(0, lineEnd + 1);
    return line;
}

int ServiceProcess::end()
{
    shutdown(connection.get(), SHUT_WR);
    return process.wait();
}

} // namespace demo
