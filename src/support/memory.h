// Owners of allocated memory, and allocations that report failure instead of throwing. Nothing else calls the
// allocator.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>

namespace tarvel {

struct block_deleter {
  void operator()(void *block) const noexcept { std::free(block); }
};

// An array in a realloc'ed block. The record that owns it also holds the number of elements.
template <typename T>
using owned_array = std::unique_ptr<T[], block_deleter>;
using owned_text = owned_array<char>;

struct record_deleter {
  template <typename T>
  void operator()(T *record) const noexcept {
    std::destroy_at(record);
    std::free(record);
  }
};

// A record that try_make allocated.
template <typename T>
using owned_record = std::unique_ptr<T, record_deleter>;

// realloc and calloc of count elements of size bytes; null when the allocation fails or count * size overflows.
[[nodiscard]] void *resize_block(void *block, std::size_t count, std::size_t size);
[[nodiscard]] void *zeroed_block(std::size_t count, std::size_t size);

// Keeps the first elements and leaves new ones uninitialised. False when memory is short; the array is then unchanged.
// A realloc moves the pages of a large track instead of copying its bytes.
template <typename T>
[[nodiscard]] bool try_resize(owned_array<T> &array, std::size_t count) {
  static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);
  void *const block = resize_block(array.get(), count, sizeof(T));
  if (block == nullptr) return false;
  static_cast<void>(array.release());
  array.reset(static_cast<T *>(block));
  return true;
}

// Makes room for needed elements: the capacity starts at first_capacity, which is positive, and is doubled until it
// suffices. False when memory is short or the capacity would overflow its type; array and capacity are then unchanged.
template <typename T, std::unsigned_integral size_type>
[[nodiscard]] bool try_reserve(owned_array<T> &array, size_type &capacity, std::uint64_t needed,
                               std::type_identity_t<size_type> first_capacity) {
  size_type grown = capacity == 0 ? first_capacity : capacity;
  while (grown < needed) {
    if (grown > std::numeric_limits<size_type>::max() / 2) return false;
    grown = static_cast<size_type>(grown * 2);
  }
  if (grown == capacity) return true;
  if (!try_resize(array, grown)) return false;
  capacity = grown;
  return true;
}

// Appends one element; the capacity grows as in try_reserve. False when memory is short; nothing has then changed.
template <typename T, std::unsigned_integral size_type>
[[nodiscard]] bool try_append(owned_array<T> &array, size_type &count, size_type &capacity,
                              std::type_identity_t<size_type> first_capacity, std::type_identity_t<T> element) {
  if (!try_reserve(array, capacity, std::uint64_t{count} + 1, first_capacity)) return false;
  array[count] = element;
  ++count;
  return true;
}

// Replaces the array by one of zeroed elements. False when memory is short; the array is then unchanged.
template <typename T>
[[nodiscard]] bool try_zeroed(owned_array<T> &array, std::size_t count) {
  static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);
  void *const block = zeroed_block(count, sizeof(T));
  if (block == nullptr) return false;
  array.reset(static_cast<T *>(block));
  return true;
}

// Allocates a value-initialised record; null when memory is short.
template <typename T>
[[nodiscard]] owned_record<T> try_make() {
  static_assert(alignof(T) <= alignof(std::max_align_t));
  void *const block = resize_block(nullptr, 1, sizeof(T));
  return owned_record<T>(block == nullptr ? nullptr : new (block) T());
}

// Copies the text; null when memory is short.
[[nodiscard]] owned_text try_duplicate(const char *text);

}  // namespace tarvel
