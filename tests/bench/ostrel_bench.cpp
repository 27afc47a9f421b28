// SPDX-License-Identifier: Apache-2.0
#include "stores.hpp"

int main(int argc, char** argv)
{
    return measureStores(argc, argv, {{"libostrel", ostrel}});
}
