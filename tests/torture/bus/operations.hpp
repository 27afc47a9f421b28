#pragma once

#include <libfenmarch.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace torture::bus
{

/** What the caller of an operation gets. */
struct Told
{
    /** The status, as text; empty for an operation without one. */
    std::string status;
    /** The text that was read, or the argument for it. */
    std::string read;

    bool operator==(const Told&) const = default;
};

/** What becomes of the text that an operation is called with. */
enum class Column
{
    text,  //!< it is the value that is sent
    list,  //!< it is an element of the list that is sent, the second is "b"
    plain, //!< it is not sent
    get    //!< there is none: the operation reads
};

/** One bus call of an operation of the library, made for the object and text
 *  given. An operation of two calls stands here twice. */
struct Operation
{
    std::string_view name;
    Column column;
    Told (*run)(phosphor::software::updater::FwManager&,
                const std::string& object, const std::string& text);

    std::string_view service;
    /** Up to the object, where there is one. */
    std::string_view path;
    /** By which name it goes; empty where the path is whole. */
    std::string_view object;
    /** The property or the method. */
    std::string_view member;
    /** What the property holds afterwards; of a text the beginning. */
    std::string_view sent;

    /** Its log record, as written. */
    std::string_view failure;
    /** Which field of the record has the object. */
    std::string_view field;
    Told failed;
    /** The item of /etc/bios-release that goes with it. */
    std::string_view releaseItem;
    /** A call before it reaches the same service. */
    bool second = false;
};

const std::vector<Operation>& operations();

} // namespace torture::bus
