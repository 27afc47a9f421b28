// SPDX-License-Identifier: Apache-2.0
#include "supervised.hpp"

#include "support/checked.hpp"
#include "support/system_calls.hpp"

#include <seccomp.h>

#include <linux/seccomp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <memory>
#include <stdexcept>

namespace torture
{

using support::checked;
using support::checkedSystemd;
using support::Descriptor;

/** The result of the child, in memory that it shares with its parent. */
struct Supervised::Shared
{
    bool returned;
    std::array<char, 1024> text;
};

namespace
{

using Filter =
    std::unique_ptr<std::remove_pointer_t<scmp_filter_ctx>,
                    decltype([](scmp_filter_ctx it) { seccomp_release(it); })>;

Filter makeFilter(uint32_t action)
{
    Filter filter(seccomp_init(action));
    if (!filter)
    {
        throw std::runtime_error("seccomp_init");
    }
    return filter;
}

void load(const Filter& filter)
{
    checkedSystemd(seccomp_load(filter.get()), "seccomp_load");
}

/** A message that carries a descriptor. */
class DescriptorMessage
{
  public:
    DescriptorMessage()
    {
        message.msg_iov = &content;
        message.msg_iovlen = 1;
        message.msg_control = control.data();
        message.msg_controllen = control.size();
    }

    DescriptorMessage(const DescriptorMessage&) = delete;
    DescriptorMessage& operator=(const DescriptorMessage&) = delete;

    /** The only call that a supervised child makes by itself. */
    void send(int socket, int descriptor)
    {
        cmsghdr* const header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(header), &descriptor, sizeof(int));
        checked(::sendmsg(socket, &message, 0), "sendmsg");
    }

    Descriptor receive(int socket)
    {
        checked(::recvmsg(socket, &message, MSG_CMSG_CLOEXEC), "recvmsg");
        const cmsghdr* const header = CMSG_FIRSTHDR(&message);
        if (header == nullptr)
        {
            throw std::runtime_error("the child cannot be supervised");
        }
        int descriptor = -1;
        std::memcpy(&descriptor, CMSG_DATA(header), sizeof(int));
        return Descriptor(descriptor);
    }

  private:
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    char byte = 0;
    iovec content{&byte, 1};
    msghdr message{};
};

/** From here on each system call of this process waits for a decision. */
void submit(int socket)
{
    const Filter filter = makeFilter(SCMP_ACT_NOTIFY);
    const scmp_arg_cmp onThisSocket{0, SCMP_CMP_EQ,
                                    static_cast<scmp_datum_t>(socket), 0};
    checkedSystemd(seccomp_rule_add_array(filter.get(), SCMP_ACT_ALLOW,
                                          SCMP_SYS(sendmsg), 1, &onThisSocket),
                   "seccomp_rule_add_array");
    load(filter);
    DescriptorMessage().send(socket, seccomp_notify_fd(filter.get()));
}

std::string outcomeOf(const Supervised::Work& work)
{
    try
    {
        return work();
    }
    catch (const std::exception& e)
    {
        return std::string("threw ") + e.what();
    }
}

} // namespace

Supervised::Supervised(const Work& work)
{
    std::array<int, 2> ends{};
    checked(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()),
            "socketpair");
    const Descriptor mine(ends[0]);
    Descriptor theirs(ends[1]);

    pid = checked(::fork(), "fork");
    if (pid == 0)
    {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        submit(theirs.get());
        const std::string text = outcomeOf(work);
        text.copy(shared->text.data(), shared->text.size() - 1);
        shared->returned = true;
        ::_exit(EXIT_SUCCESS);
    }
    theirs = Descriptor();
    listener = DescriptorMessage().receive(mine.get());
}

Supervised::~Supervised()
{
    if (pid != -1)
    {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
    }
}

std::optional<SystemCall> Supervised::next()
{
    pollfd ready{listener.get(), POLLIN, 0};
    checked(::poll(&ready, 1, -1), "poll");
    if ((ready.revents & POLLIN) == 0)
    {
        return std::nullopt;
    }
    seccomp_notif request{};
    if (::ioctl(listener.get(), SECCOMP_IOCTL_NOTIF_RECV, &request) == -1)
    {
        return std::nullopt;
    }
    waiting = request.id;
    auto call = describe(pid, request.data);
    if (call.name == "exit_group")
    {
        return std::nullopt;
    }
    return call;
}

void Supervised::respond(int64_t result, int error, uint32_t flags)
{
    seccomp_notif_resp response{};
    response.id = waiting;
    response.val = result;
    response.error = -error;
    response.flags = flags;
    // Fails when the child has been killed; wait() returns that.
    ::ioctl(listener.get(), SECCOMP_IOCTL_NOTIF_SEND, &response);
}

void Supervised::proceed()
{
    respond(0, 0, SECCOMP_USER_NOTIF_FLAG_CONTINUE);
}

void Supervised::fail(int error)
{
    respond(0, error, 0);
}

void Supervised::pretend(int64_t result)
{
    respond(result, 0, 0);
}

void Supervised::writeOneByte(const SystemCall& call)
{
    const Descriptor process(static_cast<int>(
        checked(::syscall(SYS_pidfd_open, pid, 0), "pidfd_open")));
    const Descriptor file(static_cast<int>(
        checked(::syscall(SYS_pidfd_getfd, process.get(),
                          static_cast<int>(call.arguments[0]), 0),
                "pidfd_getfd")));
    char byte = 0;
    if (readMemory(pid, call.arguments[1], &byte, 1) != 1)
    {
        throw std::runtime_error("no byte to write");
    }
    pretend(checked(::write(file.get(), &byte, 1), "write"));
}

void Supervised::kill()
{
    checked(::kill(pid, SIGKILL), "kill");
}

std::set<int> Supervised::descriptors() const
{
    std::set<int> numbers;
    for (const auto& entry : std::filesystem::directory_iterator(
             "/proc/" + std::to_string(pid) + "/fd"))
    {
        numbers.insert(std::stoi(entry.path().filename()));
    }
    return numbers;
}

std::optional<std::string> Supervised::result() const
{
    return shared->returned ? std::optional<std::string>(shared->text.data())
                            : std::nullopt;
}

int Supervised::wait()
{
    proceed();
    int status = 0;
    checked(::waitpid(std::exchange(pid, -1), &status, 0), "waitpid");
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

void swallow(const std::string& name)
{
    const Filter filter = makeFilter(SCMP_ACT_ALLOW);
    for (const auto& systemName : support::systemNamesOf(name))
    {
        const int number = seccomp_syscall_resolve_name(systemName.c_str());
        // Negative when the machine has no such call.
        if (number >= 0)
        {
            checkedSystemd(
                seccomp_rule_add(filter.get(), SCMP_ACT_ERRNO(0), number, 0),
                "seccomp_rule_add");
        }
    }
    load(filter);
}

} // namespace torture
