// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include <libusb.h>

namespace kxcam {

/// Most devices that are opened at once; further ones on the bus are left alone.
inline constexpr int kMaxUsbDevices = 16;

/// Reads the configuration file, enumerates the bus and opens every device that the file lists.
///
/// Returns the number of open devices, numbered from 0 until the next call; -1 without a configuration file
/// (a message goes to standard output), -2 when libusb cannot be initialised, -4 when the bus cannot
/// be listed, -5 when a listed device cannot be opened (messages likewise; those opened before it stay
/// open and kxusb_opened_count() tells their number). A malformed file ends the process.
///
/// Each call opens devices anew: whoever calls it closes the handles. Exclusive with itself and with
/// the use of the device numbers; core/discovery.h serialises both.
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
void kxusb_close(libusb_device_handle* handle);

// The libusb calls of the same name. Results are libusb's.
int kxusb_get_configuration(libusb_device_handle* handle, int* configuration);
int kxusb_set_configuration(libusb_device_handle* handle, int configuration);
int kxusb_claim_interface(libusb_device_handle* handle, int interface_number);
int kxusb_release_interface(libusb_device_handle* handle, int interface_number);
int kxusb_set_interface_alt_setting(libusb_device_handle* handle, int interface_number, int alt_setting);
int kxusb_clear_halt(libusb_device_handle* handle, uint8_t endpoint);
int kxusb_reset_device(libusb_device_handle* handle);
int kxusb_kernel_driver_active(libusb_device_handle* handle, int interface_number);
int kxusb_detach_kernel_driver(libusb_device_handle* handle, int interface_number);
int kxusb_attach_kernel_driver(libusb_device_handle* handle, int interface_number);
int kxusb_get_device_descriptor(libusb_device_handle* handle, libusb_device_descriptor* descriptor);
int kxusb_get_active_config_descriptor(libusb_device_handle* handle, libusb_config_descriptor** config);
int kxusb_get_config_descriptor(libusb_device_handle* handle, uint8_t index,
                                libusb_config_descriptor** config);
int kxusb_get_config_descriptor_by_value(libusb_device_handle* handle, uint8_t value,
                                         libusb_config_descriptor** config);
int kxusb_get_string_descriptor_ascii(libusb_device_handle* handle, uint8_t index, unsigned char* text,
                                      int length);
int kxusb_get_device_speed(libusb_device* device);

/// Standard GET_DESCRIPTOR requests; time-out 1000 ms.
int kxusb_get_descriptor(libusb_device_handle* handle, uint8_t type, uint8_t index, void* buffer, int length);
int kxusb_get_string_descriptor(libusb_device_handle* handle, uint8_t index, uint16_t language, void* buffer,
                                int length);

/// Bytes transferred, or a negative libusb code.
int kxusb_control_transfer(libusb_device_handle* handle, uint8_t request_type, uint8_t request,
                           uint16_t value, uint16_t index, unsigned char* data, uint16_t length,
                           uint32_t timeout_ms);
/// 0 or a libusb code; `transferred` can be above 0 with a code as well.
int kxusb_bulk_transfer(libusb_device_handle* handle, uint8_t endpoint, unsigned char* data, int length,
                        int* transferred, uint32_t timeout_ms);
int kxusb_interrupt_transfer(libusb_device_handle* handle, uint8_t endpoint, unsigned char* data, int length,
                             int* transferred, uint32_t timeout_ms);

/// Prints the text for a libusb code to standard error.
void kxusb_error(int code);

}  // namespace kxcam
