#pragma once

#include <cstddef>
#include <new>

namespace Vorn::Detail {

// A value that is never destroyed, since its users may be at file scope in any module and outlive
// this library's statics. Only for types that hold no heap memory while they are empty, so that
// unloading the library leaks none.
template <class T>
class NoDestructor {
 public:
  NoDestructor() : value(new (memory) T()) {}

  NoDestructor(const NoDestructor&) = delete;
  NoDestructor& operator=(const NoDestructor&) = delete;

  T& operator*() const { return *value; }

 private:
  alignas(T) std::byte memory[sizeof(T)];
  T* const value;
};

}  // namespace Vorn::Detail
