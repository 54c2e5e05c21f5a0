// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <thread>

#include "camera.h"
#include "port_module.h"

namespace kxcam::gentl {

class Device;

inline constexpr const char* kStreamId = "Stream0";

/// The pictures of a device, put into announced buffers by a thread of its own while the consumer and the
/// camera's features both want them.
class Stream : public PortModule {
 public:
  Stream(std::shared_ptr<Camera> camera, Handle device);
  ~Stream() override;

  FeaturePort& port() override { return port_; }
  std::shared_ptr<Event> new_event(EventKind kind) override;
  Handle device() const { return device_; }

  Handle announce(void* memory, size_t size, void* user);
  Handle allocate(size_t size, void* user);
  void revoke(Handle buffer, void** memory, void** user);
  void queue(Handle buffer);
  Handle buffer_at(uint32_t index);
  void flush(FlushOperation operation);
  void start(uint64_t pictures);
  void stop();
  void info(StreamInfo command, const Answer& answer);
  void buffer_info(Handle buffer, BufferInfo command, const Answer& answer);
  void require_buffer(Handle buffer);

  /// Ends the thread and all waits; every handle of it is void.
  void close();

 private:
  class NewBufferEvent;

  static std::vector<Feature> features(Stream& stream);
  Handle enter(const std::shared_ptr<Buffer>& buffer);
  std::shared_ptr<Buffer> find(Handle buffer) const;
  std::mutex& mutex() const { return camera_->mutex(); }
  void notify();
  void end_thread();
  void run();
  void report_failure() noexcept;
  void take_picture(std::unique_lock<std::mutex>& lock);
  void pass_over(std::unique_lock<std::mutex>& lock);

  const std::shared_ptr<Camera> camera_;
  const Handle device_;
  FeaturePort port_;

  std::mutex control_;  ///< one start, stop or close follows the other; taken before mutex()
  std::thread thread_;  ///< of control_

  // Guarded by mutex().
  BufferPool pool_;
  bool grabbing_ = false;
  bool ending_ = false;
  bool closed_ = false;
  bool counted_ = false;
  uint64_t left_ = 0;
  uint64_t delivered_ = 0;
  uint64_t underrun_ = 0;
  uint64_t started_ = 0;
  uint64_t stops_ = 0;
};

}  // namespace kxcam::gentl
