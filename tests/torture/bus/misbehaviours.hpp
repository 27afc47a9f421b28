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
        fails, //!< its failure result, and the record with this ERROR
        leaves //!< SdBusError with this text, and no record
    };
    Kind kind = Kind::succeeds;
    /** The beginning of the error's text: the rest is the platform's. */
    std::string error;
    /** What is read on success. */
    std::string read = "held";
    /** Of the text argument, what arrives. */
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
 *  has to take it. */
struct Misbehaviour
{
    std::string_view name;
    /** By the column of the operation; without an entry it is not for such
     *  operations. */
    std::map<Column, Ending> endings;

    support::Answer answer = support::Answer::accept();
    Peer peer = Peer::lives;
    /** Until nobody waits any longer. */
    bool timesOut = false;
    /** Takes its time, so few operations are enough for every day. */
    bool slow = false;
    /** Nothing of this connection works any more. */
    bool disconnects = false;
    /** Instead of the operation's own. */
    std::optional<std::string> object = std::nullopt;
    std::optional<std::string> text = std::nullopt;
};

/** All of them, long texts of this size. */
std::vector<Misbehaviour> misbehaviours(size_t longBytes);

} // namespace torture::bus
