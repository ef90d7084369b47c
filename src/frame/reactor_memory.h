// Where reactors and the entries of their map live: in a pool of the utility, side by side, however
// scattered the free pieces of the host's heap are. A pool keeps what it gets back for the next
// reactor, and returns it to the heap when the utility ends.
#pragma once

#include <cstddef>
#include <new>
#include <type_traits>
#include <version>
#ifdef __cpp_lib_memory_resource
#include <memory_resource>
#endif

namespace Common {

// The address sanitizer notices the use of a reactor that is gone only if the heap holds it.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool HeapIsWatched = true;
#elif defined(__clang__)
constexpr bool HeapIsWatched = __has_feature(address_sanitizer);
#else
constexpr bool HeapIsWatched = false;
#endif

class HeapMemory {
 public:
  static void* Allocate(std::size_t size) { return ::operator new(size); }
  static void Free(void* memory, std::size_t /*size*/) { ::operator delete(memory); }
};

#ifdef __cpp_lib_memory_resource
class PoolMemory {
 public:
  void* Allocate(std::size_t size) { return pool.allocate(size); }
  void Free(void* memory, std::size_t size) { pool.deallocate(memory, size); }

 private:
  // Whatever the host makes the default resource may end before the utility does.
  std::pmr::unsynchronized_pool_resource pool{std::pmr::new_delete_resource()};
};
#else
using PoolMemory = HeapMemory;  // Clang's library has pools from version 16 on
#endif

using ReactorMemory = std::conditional_t<HeapIsWatched, HeapMemory, PoolMemory>;

// Lets a container of the standard library take its memory from there.
// NOLINTBEGIN(readability-identifier-naming): the names are the standard library's
template <class T>
struct ReactorAllocator {
  using value_type = T;

  explicit ReactorAllocator(ReactorMemory* memory) : memory(memory) {}
  template <class U>
  ReactorAllocator(const ReactorAllocator<U>& other) : memory(other.memory) {}

  T* allocate(std::size_t count) { return static_cast<T*>(memory->Allocate(count * sizeof(T))); }
  void deallocate(T* objects, std::size_t count) { memory->Free(objects, count * sizeof(T)); }

  bool operator==(const ReactorAllocator&) const = default;

  ReactorMemory* memory;
};
// NOLINTEND(readability-identifier-naming)

}  // namespace Common
