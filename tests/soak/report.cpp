// SPDX-License-Identifier: Apache-2.0
#include "report.h"

#include <chrono>
#include <cstdio>
#include <fstream>
#include <numeric>
#include <stdexcept>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace kxcam::soak {

namespace {

using Json = nlohmann::ordered_json;

double milliseconds(CallWatch::Clock::duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}

Json to_json(const HostBook& book) {
  return {{"delivered", book.delivered}, {"taken but not delivered", book.not_delivered},
          {"flushed", book.flushed},     {"of an old geometry", book.old_geometry},
          {"short", book.short_frames},  {"long", book.long_frames},
          {"timed out", book.timed_out}, {"waiting", book.waiting}};
}

Json to_json(const DeviceBook& book) {
  return {{"made", book.made},           {"sent", book.sent},   {"without an end", book.unended},
          {"withdrawn", book.withdrawn}, {"stale", book.stale}, {"lost to back-pressure", book.lost}};
}

Json to_json(const ProcessUsage& usage) {
  return {
      {"resident KiB", usage.resident_kib}, {"descriptors", usage.descriptors}, {"threads", usage.threads}};
}

Json calls_json(const CallWatch& watch) {
  Json calls = Json::object();
  for (const auto& [function, statistics] : watch.statistics()) {
    calls[function] = {{"calls", statistics.calls},
                       {"failures", statistics.failures},
                       {"longest ms", milliseconds(statistics.longest)},
                       {"limit ms", milliseconds(statistics.limit)}};
  }
  return calls;
}

void print_book(const char* title, const Json& book) {
  fmt::print("    {:<8}", title);
  for (const auto& [name, count] : book.items()) fmt::print(" {} {},", count.dump(), name);
  fmt::print("\n");
}

void print_usage(const char* when, const ProcessUsage& usage) {
  fmt::print("  {}: {:.1f} MiB resident, {} descriptors, {} threads\n", when,
             static_cast<double>(usage.resident_kib) / 1024, usage.descriptors, usage.threads);
}

void print_cameras(const Report& report) {
  for (const CameraBooks& camera : report.cameras) {
    fmt::print("  {}: {:.1f} frames a second sent, {:.1f} delivered\n", camera.model,
               static_cast<double>(camera.device.sent) / report.seconds,
               static_cast<double>(camera.host.delivered) / report.seconds);
    print_book("camera:", to_json(camera.device));
    print_book("library:", to_json(camera.host));
  }
}

uint64_t total_of(const std::map<std::string, uint64_t>& events) {
  return std::accumulate(events.begin(), events.end(), uint64_t{0},
                         [](uint64_t sum, const auto& event) { return sum + event.second; });
}

}  // namespace

void print_progress(const Report& report, const Stage& stage) {
  fmt::print("[{:6.0f} s] {} quiet points, {} faults, {} violations\n", report.seconds, report.quiet_points,
             total_of(stage.faults.all()), stage.violations.count());
  print_cameras(report);
  print_usage("now", report.last_usage);
  std::fflush(stdout);
}

void print_summary(const Report& report, const Stage& stage) {
  fmt::print("After {:.0f} s with seed {}:\n", report.seconds, report.seed);
  print_cameras(report);
  const auto faults = stage.faults.all();
  fmt::print("  {} faults:", total_of(faults));
  for (const auto& [fault, count] : faults) fmt::print(" {} {},", count, fault);
  const auto calls = stage.watch.statistics();
  const auto reconnects = calls.find("CameraReconnect");
  if (reconnects != calls.end())
    fmt::print("\n  {} reconnects, of which {} found no camera or failed;", reconnects->second.calls,
               reconnects->second.failures);
  fmt::print(" all cameras closed and opened {} times\n", report.reopenings);
  for (const auto& [function, statistics] : calls) {
    fmt::print("  {:<28} {:>9} calls {:>8} failed, longest {:>9.1f} ms of {:>6.0f} ms\n", function,
               statistics.calls, statistics.failures, milliseconds(statistics.longest),
               milliseconds(statistics.limit));
  }
  print_usage("at most in the warm-up", report.first_usage);
  print_usage("at the end", report.last_usage);
  fmt::print("  {} quiet points, {} violations\n", report.quiet_points, stage.violations.count());
  std::fflush(stdout);
}

void write_json(const std::filesystem::path& path, const Report& report, const Stage& stage) {
  Json cameras = Json::array();
  for (const CameraBooks& camera : report.cameras) {
    cameras.push_back(
        {{"model", camera.model}, {"camera", to_json(camera.device)}, {"library", to_json(camera.host)}});
  }
  Json document = {{"seed", report.seed},
                   {"seconds", report.seconds},
                   {"violations", stage.violations.count()},
                   {"quiet points", report.quiet_points},
                   {"reopenings", report.reopenings},
                   {"cameras", cameras},
                   {"faults", stage.faults.all()},
                   {"most usage in the warm-up", to_json(report.first_usage)},
                   {"usage at the end", to_json(report.last_usage)},
                   {"calls", calls_json(stage.watch)}};
  std::ofstream file(path);
  file << document.dump(2) << '\n';
  if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

}  // namespace kxcam::soak
