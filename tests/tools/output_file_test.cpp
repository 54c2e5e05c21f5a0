// SPDX-License-Identifier: Apache-2.0
#include "output_file.h"

#include <fstream>
#include <iterator>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "error.h"
#include "saved_picture.h"
#include "temporary_folder.h"

namespace kxcam {
namespace {

namespace fs = std::filesystem;

std::ptrdiff_t entries(const fs::path& folder) {
  return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

TEST(OutputFile, ReplacesAFileAndLeavesNothingBesideIt) {
  const TemporaryFolder folder;
  const fs::path path = folder.path() / "f.raw";
  std::ofstream(path) << "a much longer text than the new one";
  umask(027);
  write_file(path, std::vector<uint8_t>{'n', 'e', 'w'});
  EXPECT_EQ(read_file(path), "new");
  EXPECT_EQ(entries(folder.path()), 1);
  EXPECT_EQ(fs::status(path).permissions(), fs::perms(0640));
}

TEST(OutputFile, FollowsSymbolicLinksAndLeavesThem) {
  const TemporaryFolder folder;
  fs::create_directory(folder.path() / "other");
  fs::create_symlink("other/second", folder.path() / "first");
  fs::create_symlink("target", folder.path() / "other" / "second");
  for (const std::string text : {"made", "replaced"}) {
    write_file(folder.path() / "first", std::vector<uint8_t>(text.begin(), text.end()));
    EXPECT_EQ(read_file(folder.path() / "other" / "target"), text);
  }
  EXPECT_TRUE(fs::is_symlink(folder.path() / "first") && fs::is_symlink(folder.path() / "other" / "second"));
  EXPECT_EQ(entries(folder.path()), 2) << "nothing beside it";
}

TEST(OutputFile, AFailureLeavesNothing) {
  const TemporaryFolder folder;
  fs::create_directory(folder.path() / "taken");
  EXPECT_THROW(write_file(folder.path() / "none" / "f.raw", {}), Error);
  EXPECT_THROW(write_file(folder.path() / "taken", {}), Error);
  EXPECT_EQ(entries(folder.path()), 1);
}

TEST(OutputFile, WritesToADeviceInsteadOfReplacingIt) {
  const TemporaryFolder folder;
  fs::create_symlink("/dev/null", folder.path() / "sink.raw");
  write_file(folder.path() / "sink.raw", std::vector<uint8_t>(100));
  EXPECT_TRUE(fs::is_symlink(folder.path() / "sink.raw"));
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
  EXPECT_THROW(write_file("/dev/full", std::vector<uint8_t>(100)), Error);
}

}  // namespace
}  // namespace kxcam
