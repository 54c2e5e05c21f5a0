// SPDX-License-Identifier: Apache-2.0
// Takes a colour picture with the first camera: first_picture_cpp > picture.ppm
#include <cstdint>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <kxcam/kxcam.h>

namespace {

void require(const std::string& action, uint32_t result) {
  if (result == 0) return;
  int code = 0;
  CameraGetLastError(&code);
  throw std::runtime_error(action + " failed: code " + std::to_string(code));
}

struct Picture {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> rgb;
};

/// An open camera; closed at the end of its life.
class Camera {
 public:
  explicit Camera(int index) : index_(index) { require("opening", CameraInit(index)); }
  ~Camera() { CameraFree(index_); }
  Camera(const Camera&) = delete;
  Camera& operator=(const Camera&) = delete;

  Picture take_picture() const {
    Picture picture;
    int size = 0;
    require("asking for the size", CameraGetImageSize(index_, &picture.width, &picture.height));
    require("asking for the size", CameraGetImageBufferSize(index_, &size, KXCAM_FORMAT_COLOR));
    picture.rgb.resize(static_cast<std::size_t>(size));
    require("setting the time-out", CameraSetTimeout(index_, 10000));  // ms
    require("taking a picture", CameraQueryImage(index_, picture.rgb.data(), &size, KXCAM_FORMAT_COLOR));
    return picture;
  }

 private:
  int index_;
};

}  // namespace

int main() try {
  const Picture picture = Camera(0).take_picture();
  std::cout << "P6\n" << picture.width << ' ' << picture.height << "\n255\n";
  std::cout.write(reinterpret_cast<const char*>(picture.rgb.data()),
                  static_cast<std::streamsize>(picture.rgb.size()));
  return std::cout.flush() ? 0 : 1;
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
