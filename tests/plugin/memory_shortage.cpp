#include "memory_shortage.h"

#include <pthread.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

constexpr int IDLE = -1, FAILED = -2;

std::atomic<std::size_t> failingSize{ANY_SIZE};
std::atomic<int> allocationsLeft{IDLE}; // before the one that fails
std::atomic<pthread_t> failingThread{}; // for any size

bool isToFail(std::size_t size) {
  if (allocationsLeft.load(std::memory_order_relaxed) < 0) return false;
  if (failingSize == ANY_SIZE ? !pthread_equal(pthread_self(), failingThread) : size != failingSize)
    return false;
  return allocationsLeft-- == 0 && (allocationsLeft = FAILED, true);
}

void* allocate(std::size_t size, std::size_t alignment) {
  if (isToFail(size)) return nullptr;
  if (alignment <= alignof(std::max_align_t)) return std::malloc(size == 0 ? 1 : size);
  return std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
}

void* allocateOrThrow(std::size_t size, std::size_t alignment = 1) {
  if (void* memory = allocate(size, alignment)) return memory;
  throw std::bad_alloc();
}

} // namespace

MemoryShortage::MemoryShortage(std::size_t size, int later) {
  failingSize = size;
  failingThread = pthread_self();
  allocationsLeft = later;
}

MemoryShortage::~MemoryShortage() {
  allocationsLeft = IDLE;
}

bool MemoryShortage::hasFailed() {
  return allocationsLeft == FAILED;
}

// Replace the library's functions in the whole test program; the address sanitizer requires every form that
// matches these deletes.
void* operator new(std::size_t size) {
  return allocateOrThrow(size);
}

void* operator new(std::size_t size, std::align_val_t alignment) {
  return allocateOrThrow(size, static_cast<std::size_t>(alignment));
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size, 1);
}

void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return allocate(size, static_cast<std::size_t>(alignment));
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::align_val_t) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
  std::free(memory);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
  std::free(memory);
}
