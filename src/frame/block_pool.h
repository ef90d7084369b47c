#pragma once

#include <cassert>
#include <cstddef>
#include <memory>
#include <vector>

namespace Common {

// Blocks of one size, side by side in chunks, however fragmented the host's heap is. A freed block
// serves the next allocation; chunks are freed when the pool ends. Under AddressSanitizer, any use
// of a block that is not handed out is an error.
class BlockPool {
 public:
  BlockPool() = default;

  BlockPool(const BlockPool&) = delete;
  BlockPool& operator=(const BlockPool&) = delete;

  // Returns a block for pointers and numbers. Changes nothing if it throws std::bad_alloc.
  // REQUIRES: all calls ask for the same size, of at least a pointer.
  void* Allocate(std::size_t size);

  void Free(void* block) noexcept;

 private:
  struct FreedBlock {
    FreedBlock* next;
  };

  void* TakeFreed() noexcept;
  void* TakeUnused();
  void OpenNextChunk();
  void Reset() noexcept;

  std::vector<std::unique_ptr<std::byte[]>> chunks;
  std::size_t chunksOpened = 0;
  std::byte* unused = nullptr;  // the rest of the chunk that was opened last
  std::byte* endOfChunk = nullptr;
  FreedBlock* freed = nullptr;
  std::size_t blockSize = 0;
  std::size_t blocksInUse = 0;
};

// Lets a container of the standard library take its nodes from a pool.
// NOLINTBEGIN(readability-identifier-naming): the names are the standard library's
template <class T>
struct BlockAllocator {
  using value_type = T;

  explicit BlockAllocator(BlockPool* pool) : pool(pool) {}
  template <class U>
  BlockAllocator(const BlockAllocator<U>& other) : pool(other.pool) {}

  T* allocate([[maybe_unused]] std::size_t count) {
    assert(count == 1 && "a container of nodes asks for one at a time");
    return static_cast<T*>(pool->Allocate(sizeof(T)));
  }
  void deallocate(T* node, std::size_t /*count*/) { pool->Free(node); }

  bool operator==(const BlockAllocator&) const = default;

  BlockPool* pool;
};
// NOLINTEND(readability-identifier-naming)

}  // namespace Common
