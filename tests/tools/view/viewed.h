// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>
#include <sys/types.h>

#include "eventually.h"
#include "http_client.h"
#include "simulated_run.h"
#include "temporary_folder.h"

/// A running `kxcam view` with simulated cameras, and what its page would do with it.
class Viewed {
 public:
  using json = nlohmann::json;

  /// `environment` is of the kind NAME=VALUE. Throws when no address is printed.
  explicit Viewed(const Cameras& cameras, const std::vector<std::string>& environment = {});
  /// Ends it, if it still runs.
  ~Viewed();
  Viewed(const Viewed&) = delete;
  Viewed& operator=(const Viewed&) = delete;

  int port() const { return port_; }
  const std::string& token() const { return token_; }
  const std::filesystem::path& folder() const { return folder_.path(); }
  std::string error() const;
  void signal(int number) const;
  int wait();  ///< exit status

  /// Head of a request of the page, without the empty line.
  std::string head(const std::string& method, const std::string& path) const;
  Answer ask(const std::string& path);
  Answer post(const std::string& path, const json& body);
  json get_json(const std::string& path) { return json::parse(ask(path).body); }
  json post_json(const std::string& path, const json& body) { return json::parse(post(path, body).body); }

  /// What stands in front of the next picture; of the status alone where none comes.
  json frame(const std::string& query = "") { return json_in_front(ask("/frame?" + query).body); }

  /// Asks for pictures until what is told about one fits.
  template <class Condition>
  bool sees(Condition condition) {
    return kxcam::test::eventually([&] { return condition(frame()); });
  }

  /// A command for the simulated bus. Throws when it is refused.
  void tell_simulator(const std::string& words) const;

 private:
  TemporaryFolder folder_;
  pid_t process_ = -1;
  int port_ = 0;
  std::string token_;
  std::unique_ptr<HttpClient> page_;
};
