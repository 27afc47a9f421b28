// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

/** A string of the state file; the name is that in a store without sections. */
struct Record
{
    std::string section;
    std::string key;
    std::string value;

    std::string name() const
    {
        return section + '_' + key;
    }
};

/** What three firmwares keep, 72 records in all, or several times as many. */
std::vector<Record> records(size_t times);

/** The document that libostrel makes of records, sorted by section. */
std::string document(const std::vector<Record>& records);

/** So many different keys of one length. Colliding ones start and end in the
 *  same bytes, by which libostrel sorts them first. */
std::vector<std::string> keys(size_t count, bool colliding);
