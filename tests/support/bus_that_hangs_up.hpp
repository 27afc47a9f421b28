#pragma once

#include "descriptor.hpp"

#include <thread>

namespace support
{

/**
 * Listens where the system bus listens, which must be stopped: authenticates
 * its clients, and closes their connection when they say Hello.
 */
class BusThatHangsUp
{
  public:
    /** @throws std::system_error when it cannot listen */
    BusThatHangsUp();
    ~BusThatHangsUp();

    BusThatHangsUp(const BusThatHangsUp&) = delete;
    BusThatHangsUp& operator=(const BusThatHangsUp&) = delete;

  private:
    Descriptor listener;
    std::thread server;
};

} // namespace support
