#pragma once

#include <cassert>
#include <cstddef>
#include <memory>
#include <vector>

namespace Common {

// Blocks of one size, side by side in chunks, however scattered the free pieces of the host's heap
// are. A block that is given back serves the next allocation; chunks return to the heap when the
// pool ends. The address sanitizer reports each use of a block that is not handed out.
class BlockPool {
 public:
  BlockPool() = default;

  BlockPool(const BlockPool&) = delete;
  BlockPool& operator=(const BlockPool&) = delete;

  // A block for pointers and numbers. Changes nothing where it throws std::bad_alloc. REQUIRES: all
  // calls name the same size, of at least a pointer.
  void* Allocate(std::size_t size);

  void Free(void* block) noexcept;

 private:
  struct FreedBlock {
    FreedBlock* next;
  };

  void* TakeFreed() noexcept;
  void* TakeUnused();
  void OpenNextChunk();
  void StartOver() noexcept;

  std::vector<std::unique_ptr<std::byte[]>> chunks;
  std::size_t chunksOpened = 0;
  std::byte* unused = nullptr;  // what was not handed out yet of the chunk that was opened last
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
