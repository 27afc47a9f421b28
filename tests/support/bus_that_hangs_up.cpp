// SPDX-License-Identifier: Apache-2.0
#include "bus_that_hangs_up.hpp"

#include "checked.hpp"
#include "descriptor.hpp"
#include "private_bus.hpp"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <string>
#include <string_view>

namespace support
{

namespace
{

/** Reads until the text has come. @return false when the client has gone */
bool waitFor(int client, std::string_view text)
{
    std::string received;
    std::array<char, 1024> bytes{};
    while (received.find(text) == std::string::npos)
    {
        const auto size = recv(client, bytes.data(), bytes.size(), 0);
        if (size <= 0)
        {
            return false;
        }
        received.append(bytes.data(), static_cast<std::size_t>(size));
    }
    return true;
}

void authenticate(int client)
{
    constexpr std::string_view accepted =
        "DATA\r\nOK 0123456789abcdef0123456789abcdef\r\nAGREE_UNIX_FD\r\n";
    send(client, accepted.data(), accepted.size(), MSG_NOSIGNAL);
}

/** The answer to the first call of a client, in bytes. */
std::string answerWith(const std::string& name)
{
    using namespace std::string_literals;
    const auto bodyBytes = static_cast<char>(name.size() + 5);
    const auto nameBytes = static_cast<char>(name.size());
    return "l\2\1\1"s + bodyBytes + "\0\0\0\1\0\0\0"s + // a method's return
           "\17\0\0\0\5\1u\0\1\0\0\0"s +                // to serial 1
           "\10\1g\0\1s\0\0"s +                         // with a string
           nameBytes + "\0\0\0"s + name + '\0';
}

void serve(int listener, BusThatHangsUp::When when, const std::string& answer)
{
    constexpr auto whatNoClientSays = "\n\n\n\n";
    while (const Descriptor client{
        accept4(listener, nullptr, nullptr, SOCK_CLOEXEC)})
    {
        if (waitFor(client.get(), "BEGIN\r\n"))
        {
            authenticate(client.get());
            if (when == BusThatHangsUp::When::atHello || !answer.empty())
            {
                waitFor(client.get(), "Hello");
                send(client.get(), answer.data(), answer.size(), MSG_NOSIGNAL);
            }
            if (when == BusThatHangsUp::When::afterClient)
            {
                waitFor(client.get(), whatNoClientSays);
            }
        }
    }
}

sockaddr_un busAddress()
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path =
        PrivateBus::address().substr(std::strlen("unix:path="));
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    return address;
}

} // namespace

BusThatHangsUp::BusThatHangsUp(When when) : BusThatHangsUp(when, "")
{
}

BusThatHangsUp::BusThatHangsUp(const std::string& nameOfClients) :
    BusThatHangsUp(When::afterClient, answerWith(nameOfClients))
{
}

BusThatHangsUp::BusThatHangsUp(When when, const std::string& answerToHello) :
    listener(checked(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"))
{
    const sockaddr_un address = busAddress();
    checked(bind(listener.get(), reinterpret_cast<const sockaddr*>(&address),
                 sizeof(address)),
            "bind");
    checked(listen(listener.get(), SOMAXCONN), "listen");
    server = std::thread(serve, listener.get(), when, answerToHello);
}

BusThatHangsUp::~BusThatHangsUp()
{
    // Ends the accept.
    shutdown(listener.get(), SHUT_RDWR);
    server.join();
    unlink(busAddress().sun_path);
}

} // namespace support
