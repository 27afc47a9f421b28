// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>

/*
 * Everything of this subset lives in an inline namespace. The spelling in
 * sources is that of the real package, sdbusplus::bus_t for instance, but the
 * linker's names differ: code built on the subset and code built on the real
 * package can be loaded into one process without sharing a definition.
 *
 * That does not prevent a caller built on one from using a library built on the
 * other, whose types have another layout. libfenmarch refuses such a caller by
 * a static_assert, an ABI tag and the version of its symbols.
 */
namespace sdbusplus
{
inline namespace fenmarch_subset
{

/**
 * The libsystemd calls that a bus_t and its messages make: each function is
 * named and typed as its call and returns what the call returns. A substitute
 * derives from SdBusImpl and overrides the calls that it observes or lets fail.
 */
class SdBusInterface
{
  public:
    virtual ~SdBusInterface() = default;

    virtual sd_bus* sd_bus_ref(sd_bus* bus) = 0;
    virtual sd_bus* sd_bus_unref(sd_bus* bus) = 0;
    virtual sd_bus* sd_bus_flush_close_unref(sd_bus* bus) = 0;
    virtual int sd_bus_get_unique_name(sd_bus* bus, const char** name) = 0;
    virtual int sd_bus_call(sd_bus* bus, sd_bus_message* message,
                            uint64_t timeoutMicroseconds, sd_bus_error* error,
                            sd_bus_message** reply) = 0;

    virtual int sd_bus_message_new_method_call(
        sd_bus* bus, sd_bus_message** message, const char* service,
        const char* path, const char* interface, const char* member) = 0;

    virtual int sd_bus_message_append_basic(sd_bus_message* message, char type,
                                            const void* value) = 0;
    virtual int sd_bus_message_open_container(sd_bus_message* message,
                                              char type,
                                              const char* contents) = 0;
    virtual int sd_bus_message_close_container(sd_bus_message* message) = 0;

    virtual int sd_bus_message_verify_type(sd_bus_message* message, char type,
                                           const char* contents) = 0;
    virtual int sd_bus_message_skip(sd_bus_message* message,
                                    const char* types) = 0;
    virtual int sd_bus_message_enter_container(sd_bus_message* message,
                                               char type,
                                               const char* contents) = 0;
    virtual int sd_bus_message_read_basic(sd_bus_message* message, char type,
                                          void* value) = 0;
    virtual int sd_bus_message_exit_container(sd_bus_message* message) = 0;

    virtual int sd_bus_error_set_errno(sd_bus_error* error, int number) = 0;
    virtual int sd_bus_error_get_errno(const sd_bus_error* error) = 0;
    virtual void sd_bus_error_free(sd_bus_error* error) = 0;
};

/** Forwards every call to libsystemd. */
class SdBusImpl : public SdBusInterface
{
  public:
    sd_bus* sd_bus_ref(sd_bus* bus) override
    {
        return ::sd_bus_ref(bus);
    }

    sd_bus* sd_bus_unref(sd_bus* bus) override
    {
        return ::sd_bus_unref(bus);
    }

    sd_bus* sd_bus_flush_close_unref(sd_bus* bus) override
    {
        return ::sd_bus_flush_close_unref(bus);
    }

    int sd_bus_get_unique_name(sd_bus* bus, const char** name) override
    {
        return ::sd_bus_get_unique_name(bus, name);
    }

    int sd_bus_call(sd_bus* bus, sd_bus_message* message,
                    uint64_t timeoutMicroseconds, sd_bus_error* error,
                    sd_bus_message** reply) override
    {
        return ::sd_bus_call(bus, message, timeoutMicroseconds, error, reply);
    }

    int sd_bus_message_new_method_call(sd_bus* bus, sd_bus_message** message,
                                       const char* service, const char* path,
                                       const char* interface,
                                       const char* member) override
    {
        return ::sd_bus_message_new_method_call(bus, message, service, path,
                                                interface, member);
    }

    int sd_bus_message_append_basic(sd_bus_message* message, char type,
                                    const void* value) override
    {
        return ::sd_bus_message_append_basic(message, type, value);
    }

    int sd_bus_message_open_container(sd_bus_message* message, char type,
                                      const char* contents) override
    {
        return ::sd_bus_message_open_container(message, type, contents);
    }

    int sd_bus_message_close_container(sd_bus_message* message) override
    {
        return ::sd_bus_message_close_container(message);
    }

    int sd_bus_message_verify_type(sd_bus_message* message, char type,
                                   const char* contents) override
    {
        return ::sd_bus_message_verify_type(message, type, contents);
    }

    int sd_bus_message_skip(sd_bus_message* message, const char* types) override
    {
        return ::sd_bus_message_skip(message, types);
    }

    int sd_bus_message_enter_container(sd_bus_message* message, char type,
                                       const char* contents) override
    {
        return ::sd_bus_message_enter_container(message, type, contents);
    }

    int sd_bus_message_read_basic(sd_bus_message* message, char type,
                                  void* value) override
    {
        return ::sd_bus_message_read_basic(message, type, value);
    }

    int sd_bus_message_exit_container(sd_bus_message* message) override
    {
        return ::sd_bus_message_exit_container(message);
    }

    int sd_bus_error_set_errno(sd_bus_error* error, int number) override
    {
        return ::sd_bus_error_set_errno(error, number);
    }

    int sd_bus_error_get_errno(const sd_bus_error* error) override
    {
        return ::sd_bus_error_get_errno(error);
    }

    void sd_bus_error_free(sd_bus_error* error) override
    {
        ::sd_bus_error_free(error);
    }
};

/** The implementation that is used unless another is given. */
constinit inline SdBusImpl sdbus_impl;

} // namespace fenmarch_subset
} // namespace sdbusplus
