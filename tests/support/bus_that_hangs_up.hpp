#pragma once

#include "descriptor.hpp"

#include <string>
#include <thread>

namespace support
{

/**
 * Listens where the system bus listens, which must be stopped: authenticates
 * its clients, and answers none of their calls but Hello, if at all.
 */
class BusThatHangsUp
{
  public:
    enum class When
    {
        atHello,     //!< closes a connection when its client says Hello
        afterClient, //!< leaves that to its client
    };

    /** @throws std::system_error when it cannot listen */
    explicit BusThatHangsUp(When when = When::atHello);

    /** Answers Hello with this name, of up to 100 characters, and leaves the
     *  hanging up to its clients. */
    explicit BusThatHangsUp(const std::string& nameOfClients);

    ~BusThatHangsUp();

    BusThatHangsUp(const BusThatHangsUp&) = delete;
    BusThatHangsUp& operator=(const BusThatHangsUp&) = delete;

  private:
    BusThatHangsUp(When when, const std::string& answerToHello);

    Descriptor listener;
    std::thread server;
};

} // namespace support
