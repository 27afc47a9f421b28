#pragma once

#include "support/fake_services.hpp"
#include "support/private_bus.hpp"

#include <gtest/gtest.h>

namespace platform
{

/** A bus on which one service, "a.b.Service", answers as it is told. */
class PrivateService : public testing::Test
{
  protected:
    support::PrivateBus daemon;
    support::FakeServices service{{"a.b.Service"}};
};

} // namespace platform
