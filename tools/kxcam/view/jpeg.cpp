// SPDX-License-Identifier: Apache-2.0
#include "jpeg.h"

#include <memory>
#include <stdexcept>

#include <turbojpeg.h>

namespace kxcam::view {
namespace {

struct Destroy {
  void operator()(void* handle) const { tjDestroy(handle); }
};
struct Free {
  void operator()(unsigned char* bytes) const { tjFree(bytes); }
};

}  // namespace

std::string encode_jpeg(const Preview& preview, int quality) {
  thread_local const std::unique_ptr<void, Destroy> compressor(tjInitCompress());
  const bool grey = preview.channels == 1;
  unsigned char* bytes = nullptr;
  unsigned long size = 0;
  const int failed = tjCompress2(compressor.get(), preview.samples.data(), preview.width, 0, preview.height,
                                 grey ? TJPF_GRAY : TJPF_RGB, &bytes, &size, grey ? TJSAMP_GRAY : TJSAMP_420,
                                 quality, TJFLAG_FASTDCT);
  const std::unique_ptr<unsigned char, Free> owned(bytes);
  if (failed != 0) throw std::runtime_error(tjGetErrorStr2(compressor.get()));
  return {reinterpret_cast<const char*>(bytes), size};
}

}  // namespace kxcam::view
