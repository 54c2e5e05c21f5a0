// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "guard.h"
#include "http_server.h"
#include "station.h"

namespace kxcam::view {

/// Answers the page: what it asks for and what it changes.
class Viewer : public HttpService {
 public:
  /// Opens the first camera; the others when they are asked for. Throws Error.
  Viewer(const AttachedCamera& first, std::filesystem::path directory, Guard guard);

  Admission admit(const HttpRequest& request, HttpReply& reply) override;
  HttpReply answer(const HttpRequest& request) override;

  /// Whether a request with the token has come.
  bool was_visited() const { return visited_; }
  /// Ends waits for frames: nothing new is shown.
  void stop();

 private:
  using Json = nlohmann::json;
  struct Route;

  HttpReply dispatch(const HttpRequest& request);
  Station& station(const HttpRequest& request);
  std::shared_ptr<const Frame> shown_frame(const HttpRequest& request);

  HttpReply cameras(const HttpRequest& request);
  HttpReply open_camera(const HttpRequest& request);
  HttpReply describe(const HttpRequest& request);
  HttpReply settings(const HttpRequest& request);
  HttpReply frame(const HttpRequest& request);
  HttpReply pixels(const HttpRequest& request);
  HttpReply snapshot(const HttpRequest& request);
  HttpReply download_settings(const HttpRequest& request);
  HttpReply set_control(const HttpRequest& request);
  HttpReply set_region(const HttpRequest& request);
  HttpReply select_preset(const HttpRequest& request);
  HttpReply white_balance(const HttpRequest& request);
  HttpReply trigger(const HttpRequest& request);
  HttpReply record(const HttpRequest& request);
  HttpReply store(const HttpRequest& request);
  HttpReply upload_settings(const HttpRequest& request);

  static const Route kRoutes[];

  std::filesystem::path directory_;
  Guard guard_;
  std::atomic<bool> visited_ = false;
  std::mutex mutex_;  ///< of the list
  std::vector<std::unique_ptr<Station>> stations_;
};

}  // namespace kxcam::view
