// SPDX-License-Identifier: Apache-2.0
#include <chrono>
#include <filesystem>
#include <optional>
#include <thread>

#include <fmt/format.h>

#include "commands.h"
#include "interrupt.h"
#include "view/browser.h"
#include "view/guard.h"
#include "view/http_server.h"
#include "view/viewer.h"

namespace kxcam {

void view_camera(const ViewOptions& options, StandardOutput& output) {
  const AttachedCamera camera = find_camera(options.camera);
  const std::string token = view::make_token();
  // First, so that a port that is taken leaves the camera alone.
  view::HttpServer server(options.port);
  view::Viewer viewer(camera, std::filesystem::absolute(options.directory),
                      view::Guard(server.port(), token));
  server.start(viewer);
  // What follows a # is not sent to a server, so that it is in no log.
  const std::string address = fmt::format("http://127.0.0.1:{}/#{}", server.port(), token);
  output.print(fmt::format("{}\n", address));
  print_message("kxcam: this address is for you alone; Ctrl-C ends the viewer\n");

  std::optional<view::Browser> browser;
  if (!options.no_open) browser.emplace(address);
  while (!interrupted()) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    if (browser && viewer.was_visited()) browser->arrived();
  }
  viewer.stop();
  server.stop();
}

}  // namespace kxcam
