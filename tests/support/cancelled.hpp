// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "checked.hpp"

#include <pthread.h>

#include <cerrno>
#include <functional>
#include <utility>

namespace support
{

/** The result of work in a thread that was cancelled before it began. */
struct Cancelled
{
    bool workDone = false;
    /** Whether the thread ended at the first cancellation point afterwards. */
    bool threadCancelled = false;
};

/** Runs work in a thread whose cancellation is pending. */
inline Cancelled runCancelled(std::function<void()> work)
{
    struct Shared
    {
        std::function<void()> work;
        bool done = false;
    } shared{std::move(work)};
    const auto body = [](void* argument) -> void* {
        auto& own = *static_cast<Shared*>(argument);
        pthread_cancel(pthread_self());
        own.work();
        own.done = true;
        pthread_testcancel();
        return nullptr;
    };

    pthread_t thread{};
    errno = pthread_create(&thread, nullptr, body, &shared);
    checked(errno == 0 ? 0 : -1, "start a thread");
    void* result = nullptr;
    errno = pthread_join(thread, &result);
    checked(errno == 0 ? 0 : -1, "join the thread");
    return {shared.done, result == PTHREAD_CANCELED};
}

} // namespace support
