// All memory of the test, each block with a note of whose it is.

#include <cstdlib>
#include <new>

#include "tests/faults/Scenario.h"

namespace {

constexpr std::size_t kNote = alignof(std::max_align_t);

void* obtain(std::size_t size) noexcept {
  const bool counts = ScriptedFramework::inPlugin;
  if (counts) {
    const long number = ++Memory::made;
    if (number < std::ssize(Memory::places))
      Memory::places[static_cast<std::size_t>(number)] = Memory::journal;
    if (number == Memory::refused) return nullptr;
  }
  void* const block = std::malloc(kNote + size);
  if (block == nullptr) return nullptr;
  *static_cast<bool*>(block) = counts;
  Memory::live += counts ? 1 : 0;
  return static_cast<char*>(block) + kNote;
}

void giveBack(void* pointer) noexcept {
  if (pointer == nullptr) return;
  void* const block = static_cast<char*>(pointer) - kNote;
  Memory::live -= *static_cast<bool*>(block) ? 1 : 0;
  std::free(block);
}

void* obtainOrThrow(std::size_t size) {
  void* const pointer = obtain(size);
  if (pointer == nullptr) throw std::bad_alloc();
  return pointer;
}

}  // namespace

void* operator new(std::size_t size) { return obtainOrThrow(size); }
void* operator new[](std::size_t size) { return obtainOrThrow(size); }
void* operator new(std::size_t size, std::nothrow_t const&) noexcept { return obtain(size); }
void* operator new[](std::size_t size, std::nothrow_t const&) noexcept { return obtain(size); }
void operator delete(void* pointer) noexcept { giveBack(pointer); }
void operator delete[](void* pointer) noexcept { giveBack(pointer); }
void operator delete(void* pointer, std::size_t) noexcept { giveBack(pointer); }
void operator delete[](void* pointer, std::size_t) noexcept { giveBack(pointer); }
