/* SPDX-License-Identifier: Apache-2.0 */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/** Plugs a simulated camera into the bus of this process and lists its model in the configuration file.
 * `options` as for `kxsim run --camera`. Call it once, before the library. */
void plug_in_camera(const char* options);

/** Pulls the plug, once every camera is closed. Returns the number of device nodes left open
 * and of requests and registers that the camera does not have. */
int unplug_cameras(void);

#ifdef __cplusplus
}
#endif
