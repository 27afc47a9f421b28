// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libfenmarch.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace torture
{

/** What an operation reported, and what the files hold after it, in words. */
struct Outcome
{
    std::string reported;
    std::string files;

    bool operator==(const Outcome&) const = default;
};

/** A system call whose failure has another outcome than Operation::refused. */
struct SpecialFailure
{
    /** A name as in SystemCall, or "short write": the disk is full from then
     *  on. */
    std::string_view call;
    /** The end of its path; "" for all. */
    std::string path;
    Outcome outcome;
    /** Counts these calls on the same file from 1; 0 means all of them. */
    size_t occurrence = 0;

    [[nodiscard]] bool isAbout(std::string_view itsCall,
                               std::string_view itsPath,
                               size_t itsOccurrence) const;

    /** "open of verifying/version" */
    [[nodiscard]] std::string text() const;
};

/** An operation of the library on its files, and how it may end. */
struct Operation
{
    std::string_view name;
    /** Creates the files that the operation starts with. */
    void (*prepare)();
    /** Writes what arrives just before the operation and may not yet be on the
     *  disk. */
    void (*arrive)() = [] {};
    /** Runs the operation and returns its result as text. */
    std::string (*run)(phosphor::software::updater::FwManager&);
    /** Describes what the files hold. */
    std::string (*look)();
    Outcome unharmed;
    /** The outcome when a system call fails that is not in specialFailures. */
    Outcome refused;
    std::vector<SpecialFailure> specialFailures = {};
    /** What the files may hold when it is interrupted for good. */
    std::vector<std::string> interrupted = {};
    /** Further outcomes that are allowed when a call and all later calls fail.
     *  When empty, the first call that changes the outcome decides. */
    std::vector<Outcome> lasting = {};
    /** Allowed outcomes that do not report that memory ran out. */
    std::vector<Outcome> shortOfMemory = {};
    /** What a caller does before it tries again. */
    void (*repair)() = [] {};
    /** The directory that holds its files and can be a separate disk; null if
     *  there is none. */
    const char* disk = nullptr;
};

const std::vector<Operation>& operations();

/** Runs an operation and returns its result; for an exception "threw" and its
 *  text up to the colon. */
std::string resultOf(const Operation& operation,
                     phosphor::software::updater::FwManager& manager);

/** Repairs what an operation left, runs it again, and saves something else.
 *  @return the faults that this finds, each in a few words */
std::vector<std::string> faultsOfTheNext(const Operation& operation);

/** Whether it holds only the state file, and perhaps its temporary file. */
bool stateDirectoryIsTidy();

/** Whether the lock of the state file can be taken without waiting. */
bool lockIsFree();

/** Whether the state file has a temporary file beside it. */
bool temporaryLeft();

} // namespace torture
