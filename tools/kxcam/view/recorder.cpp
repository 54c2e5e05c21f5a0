// SPDX-License-Identifier: Apache-2.0
#include "recorder.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <ctime>
#include <system_error>
#include <utility>

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <sys/statvfs.h>

#include "error.h"
#include "output_file.h"

namespace kxcam::view {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostWaiting = 8;
constexpr uint64_t kReserve = 1'000'000'000;  ///< bytes that stay free on the disk

uint64_t free_on_disk(const fs::path& folder) {
  struct statvfs disk {};
  return statvfs(folder.c_str(), &disk) == 0 ? uint64_t{disk.f_bavail} * disk.f_frsize : 0;
}

/// A folder that was not there before.
fs::path make_folder(const fs::path& directory, const std::string& name) {
  const std::time_t now = std::time(nullptr);
  const std::string stem = fmt::format("kxcam-{}-{:%Y%m%d-%H%M%S}", name, fmt::localtime(now));
  std::error_code error;
  fs::create_directories(directory, error);
  for (int number = 1; number < 100 && !error; ++number) {
    fs::path folder = directory / (number == 1 ? stem : fmt::format("{}-{}", stem, number));
    if (fs::create_directory(folder, error)) return folder;
  }
  throw Error(ExitCode::kFailure, fmt::format("no folder can be made in {}{}{}", directory.string(),
                                              error ? ": " : "", error ? error.message() : ""));
}

}  // namespace

std::string fit_for_file_names(std::string text) {
  std::erase_if(text, [](unsigned char c) { return (std::isalnum(c) == 0 || c > 0x7E) && c != '-'; });
  return text;
}

Recorder::Recorder(fs::path directory, const std::string& name, FreeBytes free_bytes)
    : directory_(std::move(directory)),
      name_(fit_for_file_names(name)),
      free_bytes_(free_bytes ? std::move(free_bytes) : FreeBytes(free_on_disk)),
      thread_([this] { run(); }) {}

Recorder::~Recorder() {
  {
    const std::lock_guard lock(mutex_);
    quit_ = true;
    on_ = false;
  }
  changed_.notify_all();
  thread_.join();
}

void Recorder::start(FileType type) {
  const std::lock_guard lock(mutex_);
  if (on_ || writing_ || !queue_.empty()) throw Error(ExitCode::kInUse, "frames are being recorded already");
  folder_ = make_folder(directory_, name_);
  list_ = std::ofstream(folder_ / "frames.csv");
  list_ << "file,sequence,arrived_ns,exposure_ns,gain\n";
  type_ = type;
  frames_ = accepted_ = 0;
  end_.clear();
  on_ = true;
}

void Recorder::stop() {
  end("");
}

void Recorder::end(const std::string& reason) {
  {
    const std::lock_guard lock(mutex_);
    on_ = false;
    if (!reason.empty()) {
      end_ = reason;
      // What waits is lost, too.
      accepted_ -= queue_.size();
      queue_.clear();
    }
  }
  changed_.notify_all();
}

bool Recorder::is_on() const {
  const std::lock_guard lock(mutex_);
  return on_;
}

bool Recorder::needs_picture() const {
  const std::lock_guard lock(mutex_);
  return on_ && type_ != FileType::kRaw;
}

bool Recorder::wants_grey() const {
  const std::lock_guard lock(mutex_);
  return on_ && type_ == FileType::kPgm;
}

Recorder::Progress Recorder::progress() const {
  const std::lock_guard lock(mutex_);
  return {.on = on_ || writing_ || !queue_.empty(),
          .folder = folder_.string(),
          .type = folder_.empty() ? std::string() : std::string(name_of(type_)),
          .frames = frames_,
          .lost = accepted_ == 0 ? 0 : last_ - first_ + 1 - accepted_,
          .end = end_,
          .free_bytes = free_bytes_(folder_.empty() ? directory_ : folder_)};
}

void Recorder::add(const std::shared_ptr<const Frame>& frame) {
  {
    const std::lock_guard lock(mutex_);
    // One from before the recording may not be what its files hold.
    const bool fits = type_ == FileType::kRaw ||
                      (frame->has_picture && (type_ != FileType::kPgm || frame->layout().channels == 1));
    if (!on_ || !fits) return;
    last_ = frame->about.sequence;
    if (queue_.size() < kMostWaiting) {
      if (accepted_ == 0) first_ = last_;
      ++accepted_;
      queue_.push_back(frame);
    }
  }
  changed_.notify_all();
}

void Recorder::run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [&] { return quit_ || !queue_.empty(); });
    if (queue_.empty()) return;
    const auto frame = std::move(queue_.front());
    queue_.pop_front();
    writing_ = true;
    lock.unlock();
    const std::string failure = write(*frame);
    if (!failure.empty()) end(failure);
    lock.lock();
    writing_ = false;
    if (failure.empty()) {
      ++frames_;
    } else {
      --accepted_;
    }
    if (!on_ && queue_.empty()) list_.close();
  }
}

std::string Recorder::write(const Frame& frame) try {
  const auto bytes = encode(type_, type_ == FileType::kRaw ? frame.raw() : frame.picture());
  if (free_bytes_(folder_) < kReserve + bytes.size())
    return "the disk is nearly full: less than 1 GB is free";
  const std::string name = fmt::format("{:06}.{}", frames_ + 1, name_of(type_));
  write_file(folder_ / name, bytes);
  const kxcam_frame& about = frame.about;
  list_ << fmt::format("{},{},{},{},{}\n", name, about.sequence, about.arrived_ns, about.exposure_ns,
                       about.gain)
        << std::flush;
  return "";
} catch (const std::exception& error) {
  return error.what();
}

}  // namespace kxcam::view
