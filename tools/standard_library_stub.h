// Names of the standard library, without what is behind them: just enough to compile the headers
// for systems whose own library is not at hand.
#pragma once

#include <stddef.h>
#include <stdint.h>

#define assert(condition) ((void)0)

namespace std {
using ::size_t, ::ptrdiff_t, ::uint8_t, ::uint16_t, ::uint32_t, ::uint64_t, ::uintptr_t;
using nullptr_t = decltype(nullptr);

template <class T, T V>
struct integral_constant {
  static constexpr T value = V;
};
template <bool, class T, class>
struct conditional {
  using type = T;
};
template <class T, class U>
struct conditional<false, T, U> {
  using type = U;
};
template <bool B, class T, class U>
using conditional_t = typename conditional<B, T, U>::type;
template <bool>
struct enable_if {};
template <>
struct enable_if<true> {
  using type = void;
};
template <bool B>
using enable_if_t = typename enable_if<B>::type;
template <class T, class U>
inline constexpr bool is_convertible_v = __is_convertible_to(T, U);
template <class T>
struct remove_reference {
  using type = T;
};
template <class T>
struct remove_reference<T&> {
  using type = T;
};
template <class T>
typename remove_reference<T>::type&& move(T&& value) noexcept;
template <class T, class U = T>
T exchange(T& object, U&& value) noexcept;
template <class T>
void swap(T& left, T& right) noexcept;

struct strong_ordering {};
struct compare_three_way {
  template <class T, class U>
  strong_ordering operator()(T, U) const;
};
enum memory_order { memory_order_relaxed, memory_order_acquire, memory_order_acq_rel };
template <class T>
struct atomic {
  T value;
  T fetch_add(T, memory_order) noexcept;
  T fetch_sub(T, memory_order) noexcept;
  T load(memory_order) const noexcept;
};

enum class byte : unsigned char {};
enum class align_val_t : size_t;
struct destroying_delete_t {};
class type_info {
 public:
  virtual ~type_info();
  size_t hash_code() const noexcept;
};

class string {
  void* text;

 public:
  string(const char* = "");
};
class string_view;
template <class T>
class vector {
  T* first;
};
template <class T = void>
struct less;
template <class T>
struct hash {
  size_t operator()(T) const noexcept;
};
template <class K, class T>
struct pair {
  K first;
  T second;
};
template <class T>
struct allocator {};
template <class K, class T, class = less<K>, class = allocator<T>>
class map {
 public:
  using iterator = pair<const K, T>*;
  bool contains(const K& key) const;
  iterator find(const K& key);
  const iterator find(const K& key) const;
  iterator end() const;
  void emplace(const K& key, T value);
  void erase(const K& key);
  void erase(iterator entry);
};
template <class>
class function;
template <class R, class... A>
class function<R(A...)> {};
template <class>
class shared_ptr;
template <class>
class unique_ptr;
}  // namespace std
