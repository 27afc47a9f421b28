// SPDX-License-Identifier: Apache-2.0

// Our store and those that Debian packages, each doing the same durable work.

#include "stores.hpp"

#include <libuboot.h>
#include <lmdb.h>
#include <sqlite3.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

namespace
{

template <auto release>
struct Releasing
{
    void operator()(auto* object) const
    {
        release(object);
    }
};

template <typename Object, auto release>
using Owned = std::unique_ptr<Object, Releasing<release>>;

/** With a rollback journal, the default. */
namespace sqlite
{

using Database = Owned<sqlite3, sqlite3_close>;
using Statement = Owned<sqlite3_stmt, sqlite3_finalize>;

/** Runs a statement. @return its first text, if any */
std::string run(const Database& database, const std::string& sql,
                const std::vector<std::string>& values = {})
{
    sqlite3_stmt* made = nullptr;
    int status =
        sqlite3_prepare_v2(database.get(), sql.c_str(), -1, &made, nullptr);
    const Statement statement(made);
    for (size_t i = 0; i < values.size(); ++i)
    {
        sqlite3_bind_text(made, static_cast<int>(i) + 1, values[i].c_str(), -1,
                          SQLITE_STATIC);
    }
    status = status == SQLITE_OK ? sqlite3_step(made) : status;
    require(status == SQLITE_ROW || status == SQLITE_DONE,
            sqlite3_errmsg(database.get()));
    const unsigned char* const text =
        status == SQLITE_ROW ? sqlite3_column_text(made, 0) : nullptr;
    return text == nullptr ? "" : reinterpret_cast<const char*>(text);
}

Database open()
{
    sqlite3* made = nullptr;
    const int status = sqlite3_open("records.sqlite", &made);
    Database database(made);
    require(status == SQLITE_OK, "SQLite does not open");
    run(database, "PRAGMA synchronous=FULL");
    return database;
}

void fill(const std::vector<Record>& records)
{
    std::filesystem::remove("records.sqlite");
    const auto database = open();
    run(database, "CREATE TABLE records(section TEXT, key TEXT, value TEXT, "
                  "PRIMARY KEY(section, key)) WITHOUT ROWID");
    run(database, "BEGIN");
    for (const auto& [section, key, value] : records)
    {
        run(database, "INSERT INTO records VALUES(?, ?, ?)",
            {section, key, value});
    }
    run(database, "COMMIT");
}

std::string read(const Record& record)
{
    return run(open(), "SELECT value FROM records WHERE section=? AND key=?",
               {record.section, record.key});
}

void save(const Record& record)
{
    run(open(), "UPDATE records SET value=? WHERE section=? AND key=?",
        {record.value, record.section, record.key});
}

} // namespace sqlite

/** In two files, of which one is always whole. */
namespace uboot
{

using Environment = Owned<uboot_ctx, libuboot_exit>;
using Opened = Owned<uboot_ctx, libuboot_close>;

constexpr size_t copyBytes = 4096;
constexpr std::array<const char*, 2> copies{"environment.1", "environment.2"};

Environment initialize()
{
    std::array<std::string, 2> names{copies[0], copies[1]};
    std::array<uboot_env_device, 2> devices{};
    for (size_t i = 0; i < devices.size(); ++i)
    {
        devices[i] = {names[i].data(), 0, copyBytes, copyBytes, 1};
    }
    uboot_ctx* made = nullptr;
    require(libuboot_initialize(&made, devices.data()) == 0,
            "libubootenv does not start");
    return Environment(made);
}

Opened open(const Environment& environment)
{
    require(libuboot_open(environment.get()) == 0, "libubootenv does not open");
    return Opened(environment.get());
}

void set(const Opened& environment, const Record& record)
{
    require(libuboot_set_env(environment.get(), record.name().c_str(),
                             record.value.c_str()) == 0,
            "libubootenv does not set");
}

void store(const Opened& environment)
{
    require(libuboot_env_store(environment.get()) == 0,
            "libubootenv does not store");
}

void fill(const std::vector<Record>& records)
{
    for (const auto& copy : copies)
    {
        std::ofstream(copy) << std::string(copyBytes, '\0');
    }
    const auto environment = initialize();
    // Reports that it finds no valid copy, and is empty.
    libuboot_open(environment.get());
    const Opened opened(environment.get());
    for (const auto& record : records)
    {
        set(opened, record);
    }
    store(opened);
}

std::string read(const Record& record)
{
    const auto environment = initialize();
    const auto opened = open(environment);
    const Owned<char, std::free> value(
        libuboot_get_env(opened.get(), record.name().c_str()));
    require(value != nullptr, "libubootenv does not read");
    return value.get();
}

void save(const Record& record)
{
    const auto environment = initialize();
    const auto opened = open(environment);
    set(opened, record);
    store(opened);
}

} // namespace uboot

namespace lmdb
{

using Environment = Owned<MDB_env, mdb_env_close>;
using Transaction = Owned<MDB_txn, mdb_txn_abort>;

void check(int status)
{
    require(status == MDB_SUCCESS, mdb_strerror(status));
}

Environment open(unsigned flags)
{
    MDB_env* made = nullptr;
    check(mdb_env_create(&made));
    Environment environment(made);
    check(mdb_env_open(made, "records.lmdb", MDB_NOSUBDIR | flags, 0600));
    return environment;
}

Transaction begin(const Environment& environment, unsigned flags)
{
    MDB_txn* made = nullptr;
    check(mdb_txn_begin(environment.get(), nullptr, flags, &made));
    return Transaction(made);
}

MDB_dbi database(const Transaction& transaction)
{
    MDB_dbi all = 0;
    check(mdb_dbi_open(transaction.get(), nullptr, 0, &all));
    return all;
}

MDB_val valueOf(std::string& text)
{
    return {text.size(), text.data()};
}

void put(const std::vector<Record>& records)
{
    const auto environment = open(0);
    auto transaction = begin(environment, 0);
    const auto all = database(transaction);
    for (auto [section, key, value] : records)
    {
        std::string text = Record{section, key, value}.name();
        MDB_val name = valueOf(text);
        MDB_val content = valueOf(value);
        check(mdb_put(transaction.get(), all, &name, &content, 0));
    }
    check(mdb_txn_commit(transaction.release()));
}

void fill(const std::vector<Record>& records)
{
    std::filesystem::remove("records.lmdb");
    put(records);
}

std::string read(const Record& record)
{
    const auto environment = open(MDB_RDONLY);
    const auto transaction = begin(environment, MDB_RDONLY);
    std::string text = record.name();
    MDB_val name = valueOf(text);
    MDB_val value{};
    check(mdb_get(transaction.get(), database(transaction), &name, &value));
    return {static_cast<const char*>(value.mv_data), value.mv_size};
}

void save(const Record& record)
{
    put({record});
}

} // namespace lmdb

} // namespace

int main(int argc, char** argv)
{
    return measureStores(
        argc, argv,
        {{"libostrel", ostrel},
         {"SQLite", {sqlite::fill, sqlite::read, sqlite::save}},
         {"U-Boot env", {uboot::fill, uboot::read, uboot::save}},
         {"LMDB", {lmdb::fill, lmdb::read, lmdb::save}}});
}
