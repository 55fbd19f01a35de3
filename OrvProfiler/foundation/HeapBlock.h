#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

// A block of the C heap that frees itself.
struct FreeHeapBlock
{
    void operator()(void* block) const noexcept { std::free(block); }
};
template <class Unit>
using HeapBlock = std::unique_ptr<Unit[], FreeHeapBlock>;

// Null when memory is short. The units are not initialised.
template <class Unit>
HeapBlock<Unit> AllocateBlock(uint64_t units) noexcept
{
    return HeapBlock<Unit>(static_cast<Unit*>(std::malloc(units * sizeof(Unit))));
}

// Gives a block another size, with its content. False when memory is short: the block is as before.
template <class Unit>
bool ResizeBlock(HeapBlock<Unit>& block, uint64_t units) noexcept
{
    auto* const resized = static_cast<Unit*>(std::realloc(block.get(), units * sizeof(Unit)));
    if (resized == nullptr)
        return false;
    static_cast<void>(block.release());
    block.reset(resized);
    return true;
}
