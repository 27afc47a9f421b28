// SPDX-License-Identifier: Apache-2.0
#include "stores.hpp"

#include "measured.hpp"

#include <chrono>
#include <exception>
#include <iostream>
#include <stdexcept>

namespace
{

constexpr auto usage = R"(usage: in a directory of its own,
PROGRAM count STORE read|save TIMES    one operation on 72 * TIMES records
PROGRAM pair STORE STORE read|save N   nanoseconds of both, N times in turns
PROGRAM keys plain|colliding COUNT     one read of an object of COUNT keys
PROGRAM size TIMES                     the bytes of libostrel's 72 * TIMES
)";

/** Reads or saves one record in the middle, each time with a new value. */
class Operation
{
  public:
    Operation(const Store& filled, const std::string& kind, size_t times) :
        store(filled), saves(kind == "save")
    {
        require(saves || kind == "read", usage);
        const auto all = records(times);
        record = all[all.size() / 2];
        store.fill(all);
    }

    void operator()()
    {
        if (!saves)
        {
            return verify();
        }
        record.value.back() = record.value.back() == 'a' ? 'b' : 'a';
        store.save(record);
    }

    void verify() const
    {
        require(store.read(record) == record.value, "the value is wrong");
    }

  private:
    const Store& store;
    bool saves;
    Record record;
};

long nanosecondsOf(Operation& operation)
{
    const auto start = std::chrono::steady_clock::now();
    operation();
    return std::chrono::nanoseconds(std::chrono::steady_clock::now() - start)
        .count();
}

void countOnce(Operation operation)
{
    measure(std::ref(operation));
    operation.verify();
}

void timeInTurns(Operation first, Operation second, unsigned long count)
{
    for (unsigned long i = 0; i <= count; ++i)
    {
        // What one leaves for the disk to do shall not always slow the other.
        const long before = i % 2 == 0 ? nanosecondsOf(first) : 0;
        const long other = nanosecondsOf(second);
        const long own = i % 2 == 0 ? before : nanosecondsOf(first);
        if (i > 0) // the first are to warm up
        {
            std::cout << own << ' ' << other << '\n';
        }
    }
    first.verify();
    second.verify();
}

void readOneOf(const std::vector<std::string>& keys)
{
    std::vector<Record> all;
    for (const auto& key : keys)
    {
        all.push_back({"BMC", key, "1"});
    }
    ostrel.fill(all);
    measure([&] { require(ostrel.read(all.back()) == "1", "wrong value"); });
}

} // namespace

void require(bool success, const std::string& what)
{
    if (!success)
    {
        throw std::runtime_error(what);
    }
}

int measureStores(int argc, char** argv, const Stores& stores)
try
{
    const std::vector<std::string> words(argv + 1, argv + argc);
    require(words.size() >= 2, usage);
    const size_t number = std::stoul(words.back());
    if (words[0] == "count")
    {
        countOnce({stores.at(words[1]), words[2], number});
    }
    else if (words[0] == "pair")
    {
        timeInTurns({stores.at(words[1]), words[3], 1},
                    {stores.at(words[2]), words[3], 1}, number);
    }
    else if (words[0] == "keys")
    {
        readOneOf(keys(number, words[1] == "colliding"));
    }
    else
    {
        require(words[0] == "size", usage);
        std::cout << document(records(number)).size() << '\n';
    }
    return 0;
}
catch (const std::exception& problem)
{
    std::cerr << problem.what() << '\n';
    return 1;
}
