/* SPDX-License-Identifier: Apache-2.0 */

/* Lists the devices on the bus, one a line: ids and the first character of the serial number. */

#include <libusb.h>
#include <stdio.h>

static void print_device(libusb_device* device) {
  struct libusb_device_descriptor descriptor;
  libusb_device_handle* handle;
  unsigned char reply[10] = "?";
  if (libusb_get_device_descriptor(device, &descriptor) != 0) return;
  if (libusb_open(device, &handle) == 0) {
    libusb_control_transfer(handle, 0xC0, 0xB0, 0, 0x1D00, reply, sizeof reply, 1000);
    libusb_close(handle);
  }
  printf("%04x:%04x %c\n", descriptor.idVendor, descriptor.idProduct, reply[0]);
}

int main(void) {
  libusb_device** list;
  ssize_t count;
  ssize_t i;
  if (libusb_init(NULL) != 0) return 1;
  count = libusb_get_device_list(NULL, &list);
  for (i = 0; i < count; ++i) print_device(list[i]);
  if (count >= 0) libusb_free_device_list(list, 1);
  libusb_exit(NULL);
  return 0;
}
