#include "block_pool.h"

#include <algorithm>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#define COMMON_SERVICES_ADDRESS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define COMMON_SERVICES_ADDRESS_SANITIZER
#endif
#endif
#ifdef COMMON_SERVICES_ADDRESS_SANITIZER
#include <sanitizer/asan_interface.h>
#endif

namespace Common {
namespace {

// Chunks grow: a small game takes little memory, and a walk over many blocks seldom changes chunk.
constexpr std::size_t BlocksOfFirstChunk = 64;
constexpr std::size_t MaxDoublings = 6;

std::size_t BlocksOfChunk(std::size_t index) {
  return BlocksOfFirstChunk << std::min(index, MaxDoublings);
}

#ifdef COMMON_SERVICES_ADDRESS_SANITIZER
void ForbidUse(const void* bytes, std::size_t size) noexcept {
  __asan_poison_memory_region(bytes, size);
}
void AllowUse(const void* bytes, std::size_t size) noexcept {
  __asan_unpoison_memory_region(bytes, size);
}
#else
void ForbidUse(const void* /*bytes*/, std::size_t /*size*/) noexcept {}
void AllowUse(const void* /*bytes*/, std::size_t /*size*/) noexcept {}
#endif

}  // namespace

void* BlockPool::Allocate(std::size_t size) {
  assert((blockSize == 0 || size == blockSize) && "a pool has blocks of one size");
  blockSize = size;
  void* const block = freed != nullptr ? TakeFreed() : TakeUnused();
  ++blocksInUse;
  return block;
}

void BlockPool::Free(void* block) noexcept {
  freed = new (block) FreedBlock{freed};
  ForbidUse(block, blockSize);
  if (--blocksInUse == 0) Reset();
}

void* BlockPool::TakeFreed() noexcept {
  FreedBlock* const block = freed;
  AllowUse(block, blockSize);
  freed = block->next;
  return block;
}

void* BlockPool::TakeUnused() {
  if (unused == endOfChunk) OpenNextChunk();
  std::byte* const block = unused;
  AllowUse(block, blockSize);
  unused += blockSize;
  return block;
}

void BlockPool::OpenNextChunk() {
  const std::size_t size = BlocksOfChunk(chunksOpened) * blockSize;
  if (chunksOpened == chunks.size()) {
    chunks.push_back(std::unique_ptr<std::byte[]>(new std::byte[size]));
    ForbidUse(chunks.back().get(), size);
  }
  unused = chunks[chunksOpened].get();
  endOfChunk = unused + size;
  ++chunksOpened;
}

// Hands the blocks out in address order again, so that the next ones lie side by side.
void BlockPool::Reset() noexcept {
  freed = nullptr;
  chunksOpened = 0;
  unused = nullptr;
  endOfChunk = nullptr;
}

}  // namespace Common
