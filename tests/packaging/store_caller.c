/* SPDX-License-Identifier: Apache-2.0 */

/* A C program outside of the tree: keeps an item and reads it back. */
#include <libostrel.h>

#include <stddef.h>
#include <string.h>

static int keep(const char* path, const char* lock)
{
    json_config_t* const config = json_config_load(path, lock, 0);
    if (config == NULL)
    {
        return -1;
    }
    const int set = json_config_set_string(config, "BMC", "state", "idle");
    return json_config_release(config) == 0 ? set : -1;
}

static int compare(const char* path)
{
    char value[8] = "";
    json_config_t* const config = json_config_load(path, NULL, 0);
    if (config == NULL)
    {
        return -1;
    }
    json_config_get_string(config, "BMC", "state", value, sizeof(value));
    json_config_release(config);
    return strcmp(value, "idle");
}

int main(int argc, char** argv)
{
    if (argc != 3 || keep(argv[1], argv[2]) != 0)
    {
        return 1;
    }
    return compare(argv[1]) == 0 ? 0 : 1;
}
