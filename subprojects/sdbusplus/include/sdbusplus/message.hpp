// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/message/append.hpp>
#include <sdbusplus/message/read.hpp>
#include <sdbusplus/sdbus.hpp>
#include <systemd/sd-bus.h>

#include <memory>
#include <type_traits>
#include <utility>

namespace sdbusplus
{
inline namespace fenmarch_subset
{

class bus_t;

/** A message: holds one reference, which its destructor releases. References
 *  are taken and released without the interface: a message may outlive it. */
class message_t
{
  public:
    /** Takes over the caller's reference. */
    message_t(sd_bus_message* message, SdBusInterface* interface,
              std::false_type) :
        calls(interface), handle(message)
    {
    }

    message_t(const message_t& other) :
        calls(other.calls), handle(sd_bus_message_ref(other.handle.get()))
    {
    }

    message_t(message_t&&) noexcept = default;

    message_t& operator=(message_t other) noexcept
    {
        std::swap(calls, other.calls);
        std::swap(handle, other.handle);
        return *this;
    }

    ~message_t() = default;

    /**
     * Adds the values in order: const char* and std::string as "s", bool as
     * "b", uint8_t as "y", std::vector<std::string> as "as", a std::variant of
     * these as "v" with its active alternative. Reports no failure: call()
     * refuses an incomplete message.
     */
    template <typename... Values>
    void append(const Values&... values)
    {
        (message::appendValue(*calls, handle.get(), values), ...);
    }

    /**
     * Reads values in order, each a std::variant. A D-Bus variant of a type
     * that is not an alternative is skipped: the value becomes the default of
     * the first alternative.
     *
     * @throws exception::SdBusError naming the failed step; the value that was
     *         being read and the values after it are unchanged
     */
    template <typename... Values>
    void read(Values&... values)
    {
        (message::readValue(*calls, handle.get(), values), ...);
    }

  private:
    friend class bus_t;

    struct Release
    {
        void operator()(sd_bus_message* message) const
        {
            sd_bus_message_unref(message);
        }
    };

    SdBusInterface* calls;
    std::unique_ptr<sd_bus_message, Release> handle;
};

} // namespace fenmarch_subset
} // namespace sdbusplus
