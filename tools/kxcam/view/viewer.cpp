// SPDX-License-Identifier: Apache-2.0
#include "viewer.h"

#include <algorithm>
#include <chrono>
#include <string_view>
#include <utility>

#include <fmt/chrono.h>
#include <fmt/format.h>

#include "controls.h"
#include "error.h"
#include "frame_figures.h"
#include "image_files.h"
#include "page.h"

namespace kxcam::view {
namespace {

using nlohmann::json;
using std::chrono::milliseconds;

constexpr milliseconds kFrameLimit{1000};
constexpr std::size_t kMostCameras = 16;
constexpr int kMostPixelsAround = 16;

HttpReply json_reply(const json& content, int status = 200) {
  // What a camera calls itself need not be UTF-8.
  return {.status = status,
          .type = "application/json",
          .body = content.dump(-1, ' ', false, json::error_handler_t::replace)};
}

HttpReply error_reply(const std::string& text, int status) {
  return json_reply({{"error", text}}, status);
}

/// The length of a JSON text in four bytes, low byte first, the text, and bytes.
HttpReply framed(const json& about, std::string_view bytes) {
  const std::string text = about.dump(-1, ' ', false, json::error_handler_t::replace);
  std::string body;
  body.reserve(4 + text.size() + bytes.size());
  for (int shift = 0; shift < 32; shift += 8) body += static_cast<char>(text.size() >> shift);
  body.append(text).append(bytes);
  return {.type = "application/octet-stream", .body = std::move(body)};
}

HttpReply download(const std::string& name, const std::string& type, std::string content) {
  HttpReply reply{.type = type, .body = std::move(content)};
  reply.headers.emplace_back("Content-Disposition", fmt::format("attachment; filename=\"{}\"", name));
  return reply;
}

json figures_json(const Frame& frame, const FrameWish& wish) {
  const auto colours = [](const std::vector<Histogram>& histograms) {
    json list = json::array();
    for (const Histogram& histogram : histograms) {
      const Levels levels = levels_of(histogram);
      list.push_back({{"counts", histogram},
                      {"mean", levels.mean},
                      {"clipped", levels.clipped},
                      {"black", levels.black}});
    }
    return list;
  };
  const Picture picture = frame.picture();
  const Rectangle middle = {picture.width / 3, picture.height / 3, picture.width / 3, picture.height / 3};
  const Frame::Histograms& histograms = frame.histograms();
  return {{"picture", colours(histograms.picture)},
          {"raw", colours(histograms.raw)},
          {"focus", sharpness(picture, wish.focus.value_or(middle))}};
}

std::string file_name_of(const ViewedCamera& camera) {
  return fit_for_file_names(camera.identity().serial);
}

std::string time_stamp() {
  return fmt::format("{:%Y%m%d-%H%M%S}", fmt::localtime(std::time(nullptr)));
}

}  // namespace

struct Viewer::Route {
  std::string_view method;
  std::string_view path;
  HttpReply (Viewer::*answer)(const HttpRequest&);
};

const Viewer::Route Viewer::kRoutes[] = {
    {"GET", "/cameras", &Viewer::cameras},       {"POST", "/open", &Viewer::open_camera},
    {"GET", "/camera", &Viewer::describe},       {"GET", "/settings", &Viewer::settings},
    {"GET", "/frame", &Viewer::frame},           {"GET", "/pixels", &Viewer::pixels},
    {"GET", "/snapshot", &Viewer::snapshot},     {"GET", "/settings.txt", &Viewer::download_settings},
    {"POST", "/control", &Viewer::set_control},  {"POST", "/region", &Viewer::set_region},
    {"POST", "/preset", &Viewer::select_preset}, {"POST", "/white-balance", &Viewer::white_balance},
    {"POST", "/trigger", &Viewer::trigger},      {"POST", "/record", &Viewer::record},
    {"POST", "/store", &Viewer::store},          {"POST", "/load", &Viewer::upload_settings},
};

Viewer::Viewer(const AttachedCamera& first, std::filesystem::path directory, Guard guard)
    : directory_(std::move(directory)), guard_(std::move(guard)) {
  stations_.push_back(std::make_unique<Station>(first, directory_));
}

void Viewer::stop() {
  const std::lock_guard lock(mutex_);
  for (const auto& station : stations_) station->grabber().stop();
}

Admission Viewer::admit(const HttpRequest& request, HttpReply& reply) {
  auto refusal = guard_.refuse(request);
  if (refusal) {
    reply = std::move(*refusal);
    return Admission::kRefused;
  }
  return is_page_file(request.path) ? Admission::kStranger : Admission::kFriend;
}

HttpReply Viewer::answer(const HttpRequest& request) {
  if (request.method == "GET") {
    if (const PageFile* file = find_page_file(request.path))
      return {.type = std::string(file->type), .body = std::string(file->content)};
  }
  visited_ = true;
  return dispatch(request);
}

HttpReply Viewer::dispatch(const HttpRequest& request) try {
  const auto* route = std::ranges::find_if(
      kRoutes, [&](const Route& each) { return each.path == request.path && each.method == request.method; });
  if (route == std::end(kRoutes)) return error_reply("there is nothing here", 404);
  return (this->*route->answer)(request);
} catch (const Refusal& refusal) {
  return error_reply(refusal.what(), refusal.status());
} catch (const Error& error) {
  return error_reply(fmt::format("{}{}{}", error.what(), error.cure().empty() ? "" : ". ", error.cure()),
                     409);
}

Station& Viewer::station(const HttpRequest& request) {
  const auto number = parse_number(request, "camera", 0, kMostCameras);
  const std::lock_guard lock(mutex_);
  if (number >= stations_.size()) throw Refusal("there is no such camera", 404);
  return *stations_[number];
}

std::shared_ptr<const Frame> Viewer::shown_frame(const HttpRequest& request) {
  auto frame = station(request).grabber().shown(parse_number(request, "frame", 0, UINT64_MAX));
  if (frame == nullptr) throw Refusal("that picture is gone", 410);
  return frame;
}

/// Those that are open, in the order of their numbers, and then those that could be.
HttpReply Viewer::cameras(const HttpRequest& /*request*/) {
  std::vector<AttachedCamera> attached;
  try {
    attached = attached_cameras();
  } catch (const Error&) {  // none is attached: all have been unplugged
  }
  json list = json::array();
  const std::lock_guard lock(mutex_);
  for (std::size_t i = 0; i < stations_.size(); ++i) {
    const AttachedCamera& open = stations_[i]->camera().identity();
    list.push_back({{"camera", i}, {"name", open.name}, {"serial", open.serial}});
    std::erase_if(attached, [&](const AttachedCamera& each) { return each.serial == open.serial; });
  }
  for (const AttachedCamera& each : attached)
    list.push_back({{"camera", nullptr}, {"name", each.name}, {"serial", each.serial}});
  return json_reply({{"cameras", std::move(list)}});
}

HttpReply Viewer::open_camera(const HttpRequest& request) {
  const std::string serial = text_in(parse_body(request), "serial");
  const std::lock_guard lock(mutex_);
  const auto has_serial = [&](const auto& each) { return each->camera().identity().serial == serial; };
  auto found = std::ranges::find_if(stations_, has_serial);
  if (found == stations_.end()) {
    if (stations_.size() >= kMostCameras) throw Refusal("too many cameras are open");
    const auto attached = attached_cameras();
    const auto meant = std::ranges::find(attached, serial, &AttachedCamera::serial);
    if (meant == attached.end()) throw Refusal("there is no such camera", 404);
    stations_.push_back(std::make_unique<Station>(*meant, directory_));
    found = std::prev(stations_.end());
  }
  return json_reply({{"camera", found - stations_.begin()}});
}

HttpReply Viewer::describe(const HttpRequest& request) {
  return json_reply(station(request).description());
}

HttpReply Viewer::settings(const HttpRequest& request) {
  return json_reply(station(request).settings());
}

HttpReply Viewer::frame(const HttpRequest& request) {
  const FrameWish wish = parse_frame_wish(request);
  Station& from = station(request);
  const auto frame = from.grabber().next(wish.after, kFrameLimit);
  json about = from.status();
  if (frame == nullptr) return framed(about, "");
  Rectangle part;
  int step = 1;
  const auto jpeg = frame->jpeg(wish.look, part, step);
  about["picture"] = {{"number", frame->number},
                      {"sequence", frame->about.sequence},
                      {"width", frame->layout().width},
                      {"height", frame->layout().height},
                      {"part", {part.x, part.y, part.width, part.height}},
                      {"step", step},
                      {"exposure_ms", static_cast<double>(frame->about.exposure_ns) / 1e6},
                      {"gain", frame->about.gain}};
  if (wish.figures) about["figures"] = figures_json(*frame, wish);
  return framed(about, *jpeg);
}

/// The pixels around one, as they are; those outside the picture are black.
HttpReply Viewer::pixels(const HttpRequest& request) {
  const auto frame = shown_frame(request);
  const Picture picture = frame->picture();
  const int x = static_cast<int>(parse_number(request, "x", 0, 1 << 20));
  const int y = static_cast<int>(parse_number(request, "y", 0, 1 << 20));
  const int around = static_cast<int>(parse_number(request, "around", 0, kMostPixelsAround));
  std::string bytes;
  for (int row = y - around; row <= y + around; ++row) {
    for (int column = x - around; column <= x + around; ++column) {
      const bool inside = row >= 0 && row < picture.height && column >= 0 && column < picture.width;
      const std::size_t at = inside
                                 ? (static_cast<std::size_t>(row) * static_cast<std::size_t>(picture.width) +
                                    static_cast<std::size_t>(column)) *
                                       static_cast<std::size_t>(picture.channels)
                                 : 0;
      for (int c = 0; c < picture.channels; ++c)
        bytes += inside ? static_cast<char>(picture.samples[at + static_cast<std::size_t>(c)]) : '\0';
    }
  }
  return framed({{"channels", picture.channels}, {"size", 2 * around + 1}}, bytes);
}

HttpReply Viewer::snapshot(const HttpRequest& request) {
  const auto frame = shown_frame(request);
  const bool raw = parse_number(request, "raw", 0, 1) == 1;
  const auto file = encode(raw ? FileType::kRaw : FileType::kPng, raw ? frame->raw() : frame->picture());
  const std::string name = fmt::format("kxcam-{}-{}-{}", file_name_of(station(request).camera()),
                                       time_stamp(), frame->about.sequence);
  std::string content(file.begin(), file.end());
  if (!raw) return download(name + ".png", "image/png", std::move(content));
  const Picture samples = frame->raw();
  return download(fmt::format("{}-{}x{}-{}bit.raw", name, samples.width, samples.height, samples.bits),
                  "application/octet-stream", std::move(content));
}

HttpReply Viewer::download_settings(const HttpRequest& request) {
  const Station& of = station(request);
  return download(fmt::format("kxcam-{}-settings.txt", file_name_of(of.camera())),
                  "text/plain; charset=utf-8", of.settings_text());
}

HttpReply Viewer::set_control(const HttpRequest& request) {
  const json body = parse_body(request);
  Station& of = station(request);
  of.set_control(text_in(body, "name"), number_in(body, "value"));
  return json_reply(of.settings());
}

HttpReply Viewer::set_region(const HttpRequest& request) {
  Station& of = station(request);
  of.set_region(rectangle_in(parse_body(request)));
  return json_reply(of.settings());
}

HttpReply Viewer::select_preset(const HttpRequest& request) {
  constexpr double kMostPresets = 255;
  const double preset = number_in(parse_body(request), "preset");
  if (!(preset >= 0 && preset <= kMostPresets)) throw Refusal("there is no such preset");
  Station& of = station(request);
  of.select_preset(static_cast<int>(preset));
  return json_reply(of.settings());
}

HttpReply Viewer::white_balance(const HttpRequest& request) {
  Station& of = station(request);
  of.measure_white_balance();
  return json_reply(of.settings());
}

HttpReply Viewer::trigger(const HttpRequest& request) {
  station(request).trigger();
  return json_reply(json::object());
}

HttpReply Viewer::record(const HttpRequest& request) {
  const json body = parse_body(request);
  Recorder& recorder = station(request).recorder();
  if (!flag_in(body, "on")) {
    recorder.stop();
    return json_reply(json::object());
  }
  const auto& types = file_type_names();
  const auto type = types.find(text_in(body, "type"));
  if (type == types.end()) throw Refusal("there is no such type of file");
  recorder.start(type->second);
  return json_reply(json::object());
}

HttpReply Viewer::store(const HttpRequest& request) {
  Station& of = station(request);
  of.store();
  return json_reply(of.settings());
}

HttpReply Viewer::upload_settings(const HttpRequest& request) {
  Station& of = station(request);
  const auto missing = of.load_settings(text_in(parse_body(request), "text"));
  json reply = of.settings();
  reply["missing"] = missing;
  return json_reply(reply);
}

}  // namespace kxcam::view
