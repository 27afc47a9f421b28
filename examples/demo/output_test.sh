#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# The demo is short unless everything is asked for, and fits 80 columns.
#
#   output_test.sh DEMO SERVICE CONFIGURATION
set -eu

brief=$("$1" "$2" "$3")
everything=$("$1" --verbose "$2" "$3")

fail()
{
    echo "$brief"
    echo "$everything"
    echo "$1" >&2
    exit 1
}

[ "$(echo "$brief" | wc -l)" -le 150 ] || fail 'more than 150 lines'
[ "$(echo "$everything" | wc -l)" -gt 300 ] || fail '--verbose is short, too'
if printf '%s\n' "$brief" "$everything" | grep '^.\{81\}'; then
    fail 'wider than 80 columns'
fi
