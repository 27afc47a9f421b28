#!/bin/sh
# The demo notices a service that answers well and leaves the work undone: one
# that unmasks the power button when it is asked to mask it.
#
#   broken_service_test.sh DEMO SERVICE CONFIGURATION
set -u

directory=$(mktemp -d "$(dirname "$1")/broken.XXXXXX")
trap 'rm -rf "$directory"' EXIT

cat >"$directory/service" <<EOF
#!/bin/sh
sed --unbuffered 's/^mask /unmask /' | '$(realpath "$2")'
EOF
chmod +x "$directory/service"

count()
{
    grep -c "$1" "$directory/output"
}

"$1" "$directory/service" "$3" >"$directory/output" 2>&1
status=$?
if [ "$status" -ne 1 ] ||
    [ "$(count '^    EXPECTED bus: .*/chassis/buttons/power')" -ne 4 ] ||
    [ "$(count '^    EXPECTED ')" -ne 4 ]; then
    echo "the demo ended with status $status:"
    cat "$directory/output"
    exit 1
fi
