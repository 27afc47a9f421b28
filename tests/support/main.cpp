// SPDX-License-Identifier: Apache-2.0
#include "sandbox.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <exception>
#include <iostream>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (!GTEST_FLAG_GET(list_tests))
    {
        try
        {
            support::enterSandbox();
        }
        catch (const std::exception& e)
        {
            std::cerr << "sandbox: " << e.what() << '\n';
            return EXIT_FAILURE;
        }
    }
    return RUN_ALL_TESTS();
}
