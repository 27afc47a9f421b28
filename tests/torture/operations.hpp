#pragma once

#include <libfenmarch.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace torture
{

/** What an operation told, and what the files hold after it, in words. */
struct Outcome
{
    std::string told;
    std::string files;

    bool operator==(const Outcome&) const = default;
};

/** A system call whose failure does not end the operation as most do. */
struct Row
{
    /** As in SystemCall; or "short write", on a disk that is full from then
     *  on. */
    std::string_view call;
    /** The end of its path; "" for all. */
    std::string path;
    Outcome outcome;
    /** Which of these calls of the same file, from 1; 0 for all of them. */
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
    /** Puts the files into the state before. */
    void (*prepare)();
    /** Writes what comes right before it, and may not be on the disk yet. */
    void (*arrive)() = [] {};
    /** Runs it; the text is what it told. */
    std::string (*run)(phosphor::software::updater::FwManager&);
    /** Says what the files hold. */
    std::string (*look)();
    Outcome unharmed;
    /** How it ends when a system call fails, but for the rows. */
    Outcome refused;
    std::vector<Row> rows = {};
    /** What the files may hold when it is interrupted for good. */
    std::vector<std::string> interrupted = {};
    /** How it may end when all calls fail from one on, besides as the rows of
     *  these calls say; when empty, the first that harms it decides. */
    std::vector<Outcome> lasting = {};
    /** How it may end when memory runs out, where that is not told. */
    std::vector<Outcome> shortOfMemory = {};
    /** What a caller does before the next try. */
    void (*repair)() = [] {};
    /** The directory that holds its files, which can be a disk of its own;
     *  null when there is none. */
    const char* disk = nullptr;
};

const std::vector<Operation>& operations();

/** Runs it; an exception is told as "threw" and its text up to the colon. */
std::string tell(const Operation& operation,
                 phosphor::software::updater::FwManager& manager);

/** Repairs what an operation left, runs it again, and saves something else.
 *  @return what is wrong, each in a few words */
std::vector<std::string> faultsOfTheNext(const Operation& operation);

/** Whether it holds nothing but the state file, and perhaps its temporary. */
bool stateDirectoryIsTidy();

/** Whether the lock of the state file can be had at once. */
bool lockIsFree();

/** Whether there is a temporary of the state file. */
bool temporaryLeft();

} // namespace torture
