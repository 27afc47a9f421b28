// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "journal_record.hpp"

#include <memory>
#include <vector>

namespace support
{

/**
 * A datagram socket at the journal's own path: receives what this process and
 * its children log. enterSandbox() comes first.
 *
 * Senders never wait for take(): a thread empties the socket. A record that the
 * journal would not accept has the field malformedField.
 */
class JournalSocket
{
  public:
    /** @throws std::system_error when the path cannot be bound */
    JournalSocket();
    ~JournalSocket();

    JournalSocket(const JournalSocket&) = delete;
    JournalSocket& operator=(const JournalSocket&) = delete;

    /**
     * Every record sent before this call and not yet taken, in order. A record
     * that a call sent before it returned is always among them.
     *
     * @throws std::runtime_error when the socket is not read within ten seconds
     */
    std::vector<JournalRecord> take();

  private:
    class Reader;
    std::unique_ptr<Reader> reader;
};

} // namespace support
