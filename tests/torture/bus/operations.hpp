// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libfenmarch.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace torture::bus
{

/** What an operation returns to its caller. */
struct Returned
{
    /** The status, as text; empty for an operation without one. */
    std::string status;
    /** The text that was read, or the argument for it. */
    std::string read;

    bool operator==(const Returned&) const = default;
};

/** How an operation uses its text argument. */
enum class Column
{
    text,  //!< it is the value that is sent
    list,  //!< it is the first element of the list that is sent, before "b"
    plain, //!< it is not sent
    get    //!< there is no such argument: the operation reads
};

/** One bus call of an operation of the library, made for a given object and
 *  text. An operation with two calls has two entries. */
struct Operation
{
    std::string_view name;
    Column column;
    Returned (*run)(phosphor::software::updater::FwManager&,
                    const std::string& object, const std::string& text);

    std::string_view service;
    /** The path, without the object if there is one. */
    std::string_view path;
    /** The name of the object; empty if the path is complete. */
    std::string_view object;
    /** The property or the method. */
    std::string_view member;
    /** What the property holds afterwards; for a text its beginning. */
    std::string_view sent;

    /** Its log record, as written. */
    std::string_view failure;
    /** The field of the record that holds the object. */
    std::string_view field;
    Returned failed;
    /** The item of /etc/bios-release that goes with it. */
    std::string_view releaseItem;
    /** An earlier call of the same operation goes to the same service. */
    bool second = false;
};

const std::vector<Operation>& operations();

} // namespace torture::bus
