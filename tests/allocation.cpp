// The allocation functions of the whole process, of which a test can make one call fail.
#include <cstdlib>
#include <new>

namespace Common::Test {
int allocationsUntilFailure = 0;
}

void* operator new(std::size_t size) {
  int& left = Common::Test::allocationsUntilFailure;
  if (left > 0 && --left == 0) throw std::bad_alloc();
  if (void* const memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
