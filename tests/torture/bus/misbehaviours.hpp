// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "operations.hpp"
#include "support/fake_services.hpp"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torture::bus
{

/** How an operation ends. */
struct Ending
{
    enum class Kind
    {
        succeeds,
        fails, //!< returns its failure result; logs a record with this ERROR
        leaves //!< throws SdBusError with this text; logs no record
    };
    Kind kind = Kind::succeeds;
    /** The beginning of the error's text; the platform determines the rest. */
    std::string error;
    /** The text that is read on success. */
    std::string read = "held";
    /** The part of the text argument that arrives. */
    std::string sent = "\"text\"";
};

Ending succeeds();
Ending reads(std::string text);
Ending sends(std::string text);
Ending fails(std::string error);
Ending leaves(std::string error);

/** What the process behind the service does with the call. */
enum class Peer
{
    lives,
    absent,  //!< nobody owns the name
    killed,  //!< by SIGKILL, once it has the call
    stopped, //!< by SIGSTOP, before the call
};

/** Something that goes wrong with a bus call, and how each kind of operation
 *  must end then. */
struct Misbehaviour
{
    std::string_view name;
    /** The ending for each column of operations. A column without an entry is
     *  not tried. */
    std::map<Column, Ending> endings;

    support::Answer answer = support::Answer::accept();
    Peer peer = Peer::lives;
    /** The answer comes only after the caller's time-out. */
    bool timesOut = false;
    /** Takes long, so a quick run tries only a few operations. */
    bool slow = false;
    /** The connection does not work any more. */
    bool disconnects = false;
    /** These replace the object and the text of the operation. */
    std::optional<std::string> object = std::nullopt;
    std::optional<std::string> text = std::nullopt;
};

/** All misbehaviours; long texts have this size. */
std::vector<Misbehaviour> misbehaviours(size_t longBytes);

} // namespace torture::bus
