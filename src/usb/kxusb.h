// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>

#include <libusb.h>

#include "usb/config_file.h"

namespace kxcam {

/// Most devices that are opened at once; further ones on the bus are left alone.
inline constexpr int kMaxUsbDevices = 16;

/// Reads the configuration file into `logfile`, `pidfile` and the table of devices. The rows are appended to
/// those of earlier calls until the table is full. False, with a message on standard output, when the file
/// cannot be read. A malformed line ends the process, with a message, or counts as that
/// where the program takes messages. Not thread-safe.
bool read_config_file();

/// The rows in use, empty ones (vendor 0) among them.
std::span<const VpdRow> listed_devices();

/// Reads the configuration file, enumerates the bus and opens every device that the file lists.
///
/// Returns the number of open devices, numbered from 0 until the next call; -1 without a configuration file
/// (a message goes to standard output), -2 when libusb cannot be initialised, -4 when the bus cannot
/// be listed, -5 when a listed device cannot be opened (messages likewise; those opened before it stay
/// open and kxusb_opened_count() gives their number). A malformed file ends the process, or is as an absent
/// one where the program takes messages.
///
/// Each call opens devices anew: whoever calls it closes the handles. Exclusive with itself and with
/// the use of the device numbers; core/registry/discovery.h serialises both.
int kxusb_open();

/// Devices that the last kxusb_open() opened, also when it failed later on.
int kxusb_opened_count();

/// Handle and device of a device number; the number must be below kxusb_opened_count().
libusb_device_handle* kxusb_gethandle(int i);
libusb_device* kxusb_getdevice(int i);

uint16_t kxusb_getvendor(libusb_device_handle* handle);
uint16_t kxusb_getproduct(libusb_device_handle* handle);
int kxusb_get_busnumber(libusb_device_handle* handle);
int kxusb_get_devaddr(libusb_device_handle* handle);
int kxusb_get_max_packet_size(libusb_device_handle* handle, uint8_t endpoint);

// The libusb calls of the same name; results are libusb's.
inline constexpr auto kxusb_close = libusb_close;
inline constexpr auto kxusb_get_configuration = libusb_get_configuration;
inline constexpr auto kxusb_set_configuration = libusb_set_configuration;
inline constexpr auto kxusb_claim_interface = libusb_claim_interface;
inline constexpr auto kxusb_release_interface = libusb_release_interface;
inline constexpr auto kxusb_set_interface_alt_setting = libusb_set_interface_alt_setting;
inline constexpr auto kxusb_clear_halt = libusb_clear_halt;
inline constexpr auto kxusb_reset_device = libusb_reset_device;
inline constexpr auto kxusb_kernel_driver_active = libusb_kernel_driver_active;
inline constexpr auto kxusb_detach_kernel_driver = libusb_detach_kernel_driver;
inline constexpr auto kxusb_attach_kernel_driver = libusb_attach_kernel_driver;
inline constexpr auto kxusb_get_string_descriptor_ascii = libusb_get_string_descriptor_ascii;
inline constexpr auto kxusb_get_device_speed = libusb_get_device_speed;
inline constexpr auto kxusb_control_transfer = libusb_control_transfer;
inline constexpr auto kxusb_bulk_transfer = libusb_bulk_transfer;
inline constexpr auto kxusb_interrupt_transfer = libusb_interrupt_transfer;

// The same for the device of a handle.
int kxusb_get_device_descriptor(libusb_device_handle* handle, libusb_device_descriptor* descriptor);
int kxusb_get_active_config_descriptor(libusb_device_handle* handle, libusb_config_descriptor** config);
int kxusb_get_config_descriptor(libusb_device_handle* handle, uint8_t index,
                                libusb_config_descriptor** config);
int kxusb_get_config_descriptor_by_value(libusb_device_handle* handle, uint8_t value,
                                         libusb_config_descriptor** config);

/// Standard GET_DESCRIPTOR requests; time-out 1000 ms.
int kxusb_get_descriptor(libusb_device_handle* handle, uint8_t type, uint8_t index, void* buffer, int length);
int kxusb_get_string_descriptor(libusb_device_handle* handle, uint8_t index, uint16_t language, void* buffer,
                                int length);

/// Loads an Intel HEX file into the RAM of an FX2-style bridge with `request`, while its CPU is held in
/// reset. Takes about two seconds and always returns 0; messages go to standard output. Check sums are not
/// verified, and every record but an end record counts as data.
int kxusb_download_fx2(libusb_device_handle* handle, const char* path, uint8_t request);

/// Prints the text for a libusb code to standard error.
void kxusb_error(int code);

}  // namespace kxcam
