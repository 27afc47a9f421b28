#pragma once

#include "descriptor.hpp"

#include <thread>

namespace support
{

/**
 * Listens where the system bus listens, which must be stopped: authenticates
 * its clients, and answers none of their calls.
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
    ~BusThatHangsUp();

    BusThatHangsUp(const BusThatHangsUp&) = delete;
    BusThatHangsUp& operator=(const BusThatHangsUp&) = delete;

  private:
    Descriptor listener;
    std::thread server;
};

} // namespace support
