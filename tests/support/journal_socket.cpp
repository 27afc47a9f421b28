// SPDX-License-Identifier: Apache-2.0
#include "journal_socket.hpp"

#include "checked.hpp"
#include "descriptor.hpp"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

namespace support
{

namespace
{

constexpr std::string_view socketPath = "/run/systemd/journal/socket";
constexpr std::chrono::seconds takeDeadline{10};

// Datagrams that the reader sends itself: no record begins with a zero byte.
constexpr std::string_view barrier("\0barrier", 8);
constexpr std::string_view farewell("\0farewell", 9);

sockaddr_un socketAddress()
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketPath.copy(address.sun_path, socketPath.size());
    return address;
}

Descriptor makeSocket()
{
    Descriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    checked(socket.get(), "socket");
    return socket;
}

Descriptor bindSocket()
{
    const std::filesystem::path path(socketPath);
    std::filesystem::create_directories(path.parent_path());
    Descriptor socket = makeSocket();
    const sockaddr_un address = socketAddress();
    checked(bind(socket.get(), reinterpret_cast<const sockaddr*>(&address),
                 sizeof(address)),
            "bind " + path.string());
    checked(chmod(path.c_str(), 0666), "chmod " + path.string());
    return socket;
}

std::string readFile(int file)
{
    struct stat status = {};
    checked(fstat(file, &status), "fstat of a passed record");
    std::string content(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t done = 0;
    while (done < content.size())
    {
        const ssize_t count =
            checked(pread(file, content.data() + done, content.size() - done,
                          static_cast<off_t>(done)),
                    "read a passed record");
        if (count == 0)
        {
            throw std::runtime_error("a passed record shrank");
        }
        done += static_cast<std::size_t>(count);
    }
    return content;
}

/** Waits for the next datagram. For a big record, which arrives as a file, it
 *  returns the content of the file. */
std::string receive(int socket)
{
    const auto size =
        checked(recv(socket, nullptr, 0, MSG_PEEK | MSG_TRUNC), "recv");
    std::string payload(static_cast<std::size_t>(size), '\0');
    iovec part{payload.data(), payload.size()};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    checked(recvmsg(socket, &message, MSG_CMSG_CLOEXEC), "recvmsg");
    const cmsghdr* header = CMSG_FIRSTHDR(&message);
    if (header == nullptr || header->cmsg_type != SCM_RIGHTS)
    {
        return payload;
    }
    int number = -1;
    std::memcpy(&number, CMSG_DATA(header), sizeof(number));
    const Descriptor file(number);
    return payload + readFile(file.get());
}

} // namespace

class JournalSocket::Reader
{
  public:
    Reader() : socket(bindSocket()), thread(&Reader::read, this)
    {
    }

    // Without the last datagram the join would wait for ever, so an exception
    // ends the process.
    // NOLINTNEXTLINE(bugprone-exception-escape)
    ~Reader()
    {
        send(farewell);
        thread.join();
        unlink(std::string(socketPath).c_str());
    }

    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    std::vector<JournalRecord> take()
    {
        // The socket is one queue: what was sent before is read before.
        send(barrier);
        std::unique_lock lock(mutex);
        ++barriersSent;
        if (!changed.wait_for(lock, takeDeadline,
                              [this] { return barriersRead >= barriersSent; }))
        {
            throw std::runtime_error("the journal socket is not read");
        }
        return std::exchange(records, {});
    }

  private:
    static void send(std::string_view datagram)
    {
        const Descriptor sender = makeSocket();
        const sockaddr_un address = socketAddress();
        checked(sendto(sender.get(), datagram.data(), datagram.size(), 0,
                       reinterpret_cast<const sockaddr*>(&address),
                       sizeof(address)),
                "send to the journal socket");
    }

    void read()
    {
        while (true)
        {
            const std::string datagram = receive(socket.get());
            if (datagram == farewell)
            {
                return;
            }
            const std::lock_guard lock(mutex);
            if (datagram == barrier)
            {
                ++barriersRead;
                changed.notify_all();
            }
            else
            {
                records.push_back(parseJournalRecord(datagram));
            }
        }
    }

    Descriptor socket;
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<JournalRecord> records;
    std::uint64_t barriersSent = 0;
    std::uint64_t barriersRead = 0;
    std::thread thread;
};

JournalSocket::JournalSocket() : reader(std::make_unique<Reader>())
{
}

JournalSocket::~JournalSocket() = default;

std::vector<JournalRecord> JournalSocket::take()
{
    return reader->take();
}

} // namespace support
