#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# The demo notices a service that answers well and leaves the work undone: one
# that unmasks the power button when it is to mask it.
#
#   broken_service_test.sh DEMO BROKEN-SERVICE CONFIGURATION
set -u

output=$("$1" "$2" "$3" 2>&1)
status=$?

count()
{
    printf '%s\n' "$output" | grep -c "$1"
}

if [ "$status" -ne 1 ] ||
    [ "$(count '^    EXPECTED bus: .*/chassis/buttons/power')" -ne 3 ] ||
    [ "$(count '^    EXPECTED ')" -ne 3 ]; then
    echo "the demo ended with status $status:"
    printf '%s\n' "$output"
    exit 1
fi
