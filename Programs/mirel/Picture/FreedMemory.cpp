#include <Programs/mirel/Picture/FreedMemory.h>

#include <cstddef>
#if defined(__GLIBC__)
#include <malloc.h>

// jemalloc's, where the program is linked to it. What is not is null.
extern "C" int mallctl(const char* name, void* old, std::size_t* oldSize, void* next, std::size_t nextSize)
    __attribute__((weak));
#endif

namespace mirel {

void FreedMemory::GiveBack() {
#if defined(__GLIBC__)
  if (mallctl != nullptr) {
    mallctl("arena.4096.purge", nullptr, nullptr, nullptr, 0);  // 4096: all
  } else {
    malloc_trim(0);
  }
#endif
}

}  // namespace mirel
