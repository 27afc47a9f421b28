// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "records.hpp"

#include <functional>
#include <map>
#include <string>

/** A place in the working directory for records that survive a power cut. */
struct Store
{
    /** Makes it anew. */
    void (*fill)(const std::vector<Record>& records);
    /** Opens it, reads the value of a record and closes it. */
    std::string (*read)(const Record& record);
    /** Opens it, changes a record, makes that durable and closes it. */
    void (*save)(const Record& record);
};

/** By the names that the table gives them. */
using Stores = std::map<std::string, Store>;

/** Our own. */
extern const Store ostrel;

/** @throws std::runtime_error with this text when it is not so */
void require(bool success, const std::string& what);

/** The command line of a program with these stores; see stores.cpp. */
int measureStores(int argc, char** argv, const Stores& stores);
