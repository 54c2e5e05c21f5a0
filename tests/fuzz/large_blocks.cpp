// SPDX-License-Identifier: Apache-2.0
// Memory for frames. A life of a camera with a large sensor spends most of its time in the sanitizer's
// allocator, which paints the shadow of every block; these are mapped and end at a page that may not be
// touched.
#include <cstdlib>
#include <map>

#include <sys/mman.h>

#include "require.h"

namespace kxcam {
namespace {

constexpr size_t kLarge = 1 << 18;
constexpr size_t kPage = 4096;
constexpr size_t kAlignment = 16;

struct Mapping {
  void* begin;
  size_t size;
};

// Only the thread that runs allocates any (virtual_time.h).
std::map<void*, Mapping> blocks;

void* allocate(size_t size) {
  const size_t aligned = (size + kAlignment - 1) / kAlignment * kAlignment;
  const size_t pages = (aligned + kPage - 1) / kPage * kPage;
  void* begin = mmap(nullptr, pages + kPage, PROT_READ | PROT_WRITE,
                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (begin == MAP_FAILED) return nullptr;
  auto* bytes = static_cast<char*>(begin);
  require(mprotect(bytes + pages, kPage, PROT_NONE) == 0, "a page is guarded");
  void* block = bytes + pages - aligned;
  blocks[block] = {begin, pages + kPage};
  return block;
}

bool release(void* block) {
  const auto found = blocks.extract(block);
  return !found.empty() && munmap(found.mapped().begin, found.mapped().size) == 0;
}

}  // namespace
}  // namespace kxcam

// The linker puts these in the place of the functions they are named for.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

void* __real_calloc(size_t count, size_t size);
void __real_free(void* block);

void* __wrap_calloc(size_t count, size_t size) {
  size_t bytes = 0;
  const bool large = !__builtin_mul_overflow(count, size, &bytes) && bytes >= kxcam::kLarge;
  return large ? kxcam::allocate(bytes) : __real_calloc(count, size);
}

void __wrap_free(void* block) {
  if (!kxcam::release(block)) __real_free(block);
}
}
// NOLINTEND(bugprone-reserved-identifier)
