// SPDX-License-Identifier: Apache-2.0
#include "private_service.hpp"
#include "support/thrown.hpp"

#include <gtest/gtest.h>
#include <sdbusplus/bus.hpp>
#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace
{

using Value =
    std::variant<std::string, bool, uint8_t, std::vector<std::string>>;

class Append : public platform::PrivateService
{
  protected:
    /** The arguments that the service gets, behind their signature. */
    template <typename... Values>
    std::string arrived(const Values&... values)
    {
        auto bus = connect();
        auto call = bus.new_method_call("a.b.Service", "/a/b", "a.b.I", "Do");
        call.append(values...);
        bus.call(call);
        const auto calls = service.takeCalls();
        return calls.at(0).signature + ' ' + calls.at(0).arguments;
    }
};

TEST_F(Append, TextIsAString)
{
    const char* text = "pointer";

    EXPECT_EQ(arrived("literal"), R"(s "literal")");
    EXPECT_EQ(arrived(text), R"(s "pointer")");
    EXPECT_EQ(arrived(std::string("object")), R"(s "object")");
    EXPECT_EQ(arrived(std::string()), R"(s "")");
}

TEST_F(Append, BoolIsABoolean)
{
    EXPECT_EQ(arrived(true), "b true");
    EXPECT_EQ(arrived(false), "b false");
}

TEST_F(Append, UnsignedCharIsAByte)
{
    EXPECT_EQ(arrived(uint8_t{0}), "y 0");
    EXPECT_EQ(arrived(uint8_t{255}), "y 255");
}

TEST_F(Append, VectorIsAnArray)
{
    EXPECT_EQ(arrived(std::vector<std::string>{"b", "a"}), R"(as 2 "b" "a")");
    EXPECT_EQ(arrived(std::vector<std::string>()), "as 0");
}

TEST_F(Append, VariantHoldsItsActiveAlternative)
{
    EXPECT_EQ(arrived(Value("text")), R"(v s "text")");
    EXPECT_EQ(arrived(Value(true)), "v b true");
    EXPECT_EQ(arrived(Value(uint8_t{7})), "v y 7");
    EXPECT_EQ(arrived(Value(std::vector<std::string>{"a", "b"})),
              R"(v as 2 "a" "b")");
    EXPECT_EQ(arrived(std::variant<bool>(false)), "v b false");
}

TEST_F(Append, SeveralValuesKeepTheirOrder)
{
    EXPECT_EQ(arrived("a.b.I", std::string("Mask"), Value(true)),
              R"(ssv "a.b.I" "Mask" b true)");
}

TEST_F(Append, IncompleteMessageIsRefusedWhenItIsSent)
{
    auto bus = connect();
    auto call = bus.new_method_call("a.b.Service", "/a/b", "a.b.I", "Do");

    // Not UTF-8: the string is not appended and leaves its variant open.
    EXPECT_NO_THROW(call.append(Value("\xff")));

    EXPECT_EQ(support::thrownText<sdbusplus::exception::SdBusError>(
                  [&] { bus.call(call); }),
              "sd_bus_call: org.freedesktop.DBus.Error.InconsistentMessage: "
              "Bad message");
    EXPECT_TRUE(service.takeCalls().empty());
}

} // namespace
