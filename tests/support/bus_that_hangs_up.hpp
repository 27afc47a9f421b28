// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "descriptor.hpp"

#include <string>
#include <thread>

namespace support
{

/**
 * Listens at the address of the system bus, which must be stopped.
 * Authenticates its clients, and answers at most their call Hello.
 */
class BusThatHangsUp
{
  public:
    enum class When
    {
        atHello,     //!< closes a connection when its client calls Hello
        afterClient, //!< leaves that to its client
    };

    /** @throws std::system_error when it cannot listen */
    explicit BusThatHangsUp(When when = When::atHello);

    /** Answers Hello with this name of up to 100 characters, and lets the
     *  clients close their connections. */
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
