#include "tamradeps/core/memoryDynamicPoolAllocator.h"

#include <algorithm>
#include <new>

#if defined(TAMRADEPS_POOL_POISONS)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(address, size) ((void)(address), (void)(size))
#define ASAN_UNPOISON_MEMORY_REGION(address, size) ((void)(address), (void)(size))
#endif

// As large as a cache line, so that elements of that size do not straddle two.
struct alignas(64) CMemoryDynamicPoolAllocator::Block
{
    Block* previous;
    std::size_t size;
};

namespace
{
// The largest power of two that divides the element size is all the alignment that its objects can ask for.
std::size_t RoundedElementSize(std::size_t size, std::size_t linkSize)
{
    const std::size_t alignment = std::max(linkSize, std::min(size & (~size + 1), alignof(std::max_align_t)));
    return (std::max(size, linkSize) + alignment - 1) / alignment * alignment;
}
} // namespace

CMemoryDynamicPoolAllocator::CMemoryDynamicPoolAllocator(std::size_t elementSize, std::size_t count) noexcept
    : m_elementSize(RoundedElementSize(elementSize, sizeof(FreeElement))),
      m_blockElements(std::max<std::size_t>(count, 1))
{
}

CMemoryDynamicPoolAllocator::~CMemoryDynamicPoolAllocator()
{
    while (m_blocks)
    {
        Block* block = m_blocks;
        m_blocks = block->previous;
        ASAN_UNPOISON_MEMORY_REGION(block + 1, block->size);
        ::operator delete (block, std::align_val_t{alignof(Block)});
    }
}

void CMemoryDynamicPoolAllocator::i_AddBlock() noexcept
{
    const std::size_t size = m_blockElements * m_elementSize;
    auto* block = static_cast<Block*>(::operator new (sizeof(Block) + size, std::align_val_t{alignof(Block)}));
    block->previous = m_blocks;
    block->size = size;
    m_blocks = block;
    m_next = reinterpret_cast<std::byte*>(block + 1);
    m_end = m_next + size;
    m_capacity += m_blockElements;
    m_blockElements *= 2;
    ASAN_POISON_MEMORY_REGION(m_next, size);
}

#if defined(TAMRADEPS_POOL_POISONS)
void CMemoryDynamicPoolAllocator::i_Unpoison(void* element) const noexcept
{
    ASAN_UNPOISON_MEMORY_REGION(element, m_elementSize);
}

void CMemoryDynamicPoolAllocator::i_Poison(void* element) const noexcept
{
    ASAN_POISON_MEMORY_REGION(element, m_elementSize);
}
#endif
