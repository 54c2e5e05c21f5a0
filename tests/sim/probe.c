/* SPDX-License-Identifier: Apache-2.0 */

/* Lists the devices on the bus, one a line: ids and the first character of the serial number.
   With "wait" it waits until one of two has gone and come back. With "tell" it sends the other words as a
   line to the socket KXSIM_SOCKET and prints the answer. */

#include <libusb.h>
#include <poll.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

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

static ssize_t look(int print) {
  libusb_device** list;
  const ssize_t count = libusb_get_device_list(NULL, &list);
  ssize_t i;
  for (i = 0; print && i < count; ++i) print_device(list[i]);
  if (count >= 0) libusb_free_device_list(list, 1);
  return count;
}

static int tell(char** words) {
  struct sockaddr_un address = {.sun_family = AF_UNIX};
  const char* const name = getenv("KXSIM_SOCKET");
  char text[1024] = "";
  ssize_t length;
  const int connection = socket(AF_UNIX, SOCK_STREAM, 0);
  if (name == NULL) return 1;
  strncpy(address.sun_path, name, sizeof address.sun_path - 1);
  if (name[0] == '@') address.sun_path[0] = '\0';
  if (connect(connection, (struct sockaddr*)&address,
              (socklen_t)(offsetof(struct sockaddr_un, sun_path) + strlen(name))) != 0)
    return 1;
  for (; *words != NULL; ++words) {
    strcat(text, *words);
    strcat(text, words[1] == NULL ? "\n" : " ");
  }
  if (write(connection, text, strlen(text)) < 0 || shutdown(connection, SHUT_WR) != 0) return 1;
  while ((length = read(connection, text, sizeof text)) > 0) fwrite(text, 1, (size_t)length, stdout);
  return 0;
}

int main(int argc, char** argv) {
  if (argc > 1 && strcmp(argv[1], "tell") == 0) return tell(argv + 2);
  if (libusb_init(NULL) != 0) return 1;
  if (argc > 1) {
    while (look(0) != 1) poll(NULL, 0, 5);
    while (look(0) != 2) poll(NULL, 0, 5);
    puts("back");
  } else {
    look(1);
  }
  libusb_exit(NULL);
  return 0;
}
