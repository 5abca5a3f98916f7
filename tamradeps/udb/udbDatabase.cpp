#include "tamradeps/udb/udbDatabase.h"

#include "tamradeps/udb/udbGroup.h"

#include <algorithm>
#include <new>

#if defined(TAMRADEPS_POOL_POISONS)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(address, size) ((void)(address), (void)(size))
#define ASAN_UNPOISON_MEMORY_REGION(address, size) ((void)(address), (void)(size))
#endif

struct alignas(std::max_align_t) UDBDatabase::Block
{
    Block* next;
    std::size_t size;

    std::byte* Begin() { return reinterpret_cast<std::byte*>(this + 1); }
    std::byte* End() { return Begin() + size; }
};

namespace
{
// Bytes of the first block: a saved entity fits.
constexpr std::size_t kSmallestBlock = 4096;
// Blocks double the reserved memory up to this size, which bounds what a large tree leaves unused.
constexpr std::size_t kLargestBlock = std::size_t{1} << 20;
} // namespace

UDBDatabase::~UDBDatabase()
{
    while (m_firstBlock)
    {
        Block* block = m_firstBlock;
        m_firstBlock = block->next;
        ASAN_UNPOISON_MEMORY_REGION(block->Begin(), block->size);
        ::operator delete(block);
    }
}

UDBGroup* UDBDatabase::AllocateGroup()
{
    return new (i_Allocate(sizeof(UDBGroup))) UDBGroup(*this);
}

void UDBDatabase::Clear() noexcept
{
    i_GoBack({nullptr, nullptr});
}

// Continues in the first unused block that is large enough, moved to the front of the unused ones, or in a new one.
void UDBDatabase::i_OpenBlock(std::size_t size)
{
    Block** link = m_block ? &m_block->next : &m_firstBlock;
    Block** fitting = link;
    while (*fitting && (*fitting)->size < size)
        fitting = &(*fitting)->next;

    Block* block = *fitting;
    if (block)
    {
        *fitting = block->next;
    }
    else
    {
        const std::size_t blockSize = std::max(size, std::clamp(m_reserved, kSmallestBlock, kLargestBlock));
        block = new (::operator new(sizeof(Block) + blockSize)) Block{nullptr, blockSize};
        m_reserved += blockSize;
        ASAN_POISON_MEMORY_REGION(block->Begin(), block->size);
    }
    block->next = *link;
    *link = block;
    m_block = block;
    m_next = block->Begin();
    m_end = block->End();
}

void UDBDatabase::i_GoBack(const Mark& mark) noexcept
{
#if defined(TAMRADEPS_POOL_POISONS)
    for (Block* block = mark.block ? mark.block->next : m_firstBlock; block; block = block->next)
        ASAN_POISON_MEMORY_REGION(block->Begin(), block->size);
    if (mark.block)
        ASAN_POISON_MEMORY_REGION(mark.next, mark.block->End() - mark.next);
#endif
    m_block = mark.block;
    m_next = mark.next;
    m_end = mark.block ? mark.block->End() : nullptr;
}

#if defined(TAMRADEPS_POOL_POISONS)
void UDBDatabase::i_Unpoison(void* memory, std::size_t size) noexcept
{
    ASAN_UNPOISON_MEMORY_REGION(memory, size);
}
#endif
