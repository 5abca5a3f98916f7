#include "tamradeps/core/pointerArray.h"

#include <cstring>
#include <new>

namespace tamra
{
void* GrowPointers(void* old, bool isOwned, std::uint32_t count, std::uint32_t capacity)
{
    void* grown = ::operator new (std::size_t{capacity} * sizeof(void*));
    std::memcpy(grown, old, std::size_t{count} * sizeof(void*));
    if (isOwned)
        FreePointers(old);
    return grown;
}

void FreePointers(void* pointers) noexcept
{
    ::operator delete(pointers);
}
} // namespace tamra
