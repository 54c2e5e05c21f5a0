// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "frame.h"
#include "image_files.h"

namespace kxcam::view {

/// What may be part of a file's name, of what a camera calls itself.
std::string fit_for_file_names(std::string text);

/// Writes frames to numbered files in a new folder, in a thread of its own.
class Recorder {
 public:
  struct Progress {
    bool on = false;
    std::string folder;       ///< of this recording, or the last one
    std::string type;         ///< of its files
    uint64_t frames = 0;      ///< files written
    uint64_t lost = 0;        ///< frames in between that are in no file
    std::string end;          ///< why it ended, unless somebody ended it
    uint64_t free_bytes = 0;  ///< on the disk
  };
  /// Bytes that are free where the folder is.
  using FreeBytes = std::function<uint64_t(const std::filesystem::path&)>;

  /// `name` becomes part of the names of folders.
  Recorder(std::filesystem::path directory, const std::string& name, FreeBytes free_bytes = {});
  ~Recorder();
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  /// Makes a new folder. Throws Error when that fails, or when frames are being recorded.
  void start(FileType type);
  /// Ends when all frames that wait are written.
  void stop();
  Progress progress() const;

  bool is_on() const;
  bool needs_picture() const;  ///< beside the raw frame
  bool wants_grey() const;     ///< pictures without colours
  /// Takes over a frame; it is lost when too many wait.
  void add(const std::shared_ptr<const Frame>& frame);

 private:
  void run();
  /// Returns why the frame could not be written, or nothing.
  std::string write(const Frame& frame);
  void end(const std::string& reason);

  std::filesystem::path directory_;
  std::string name_;
  FreeBytes free_bytes_;

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  bool quit_ = false;
  bool writing_ = false;
  FileType type_ = FileType::kRaw;
  std::filesystem::path folder_;
  std::deque<std::shared_ptr<const Frame>> queue_;
  uint64_t frames_ = 0;
  uint64_t first_ = 0;  ///< number that the camera gave to the first frame, and to the last one
  uint64_t last_ = 0;
  uint64_t accepted_ = 0;
  bool on_ = false;
  std::string end_;
  std::ofstream list_;
  std::thread thread_;
};

}  // namespace kxcam::view
