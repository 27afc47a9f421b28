/* SPDX-License-Identifier: Apache-2.0 */

/* Links with a libostrel.so.0 that has all that the library calls. */
#include "libostrel.h"

int main(void)
{
    char buffer[2] = "";
    json_config_t* const config = json_config_load("", NULL, 0);
    return json_config_get_string(config, "", "", buffer, sizeof(buffer)) +
           json_config_set_string(config, "", "", "") +
           json_config_delete_item(config, "", "") +
           json_config_release(config);
}
