#include "tamradeps/core/eventHandler.h"

#include "tamradeps/core/memoryDynamicPoolAllocator.h"

#include <algorithm>

namespace
{
CMemoryDynamicPoolAllocator& HandlerPool()
{
    static auto& pool = *new CMemoryDynamicPoolAllocator(sizeof(CEventHandler), 256);
    return pool;
}
} // namespace

void CEventSubscription::Subscribe(CEventHandler& handler)
{
    Leave();
    m_position = handler.i_Join(*this);
    m_handler = &handler;
}

void CEventSubscription::i_CallFunction(void* context, const EventMessage& message)
{
    if (const auto& function = static_cast<CEventSubscription*>(context)->m_function)
        function(message);
}

void CEventSubscription::i_SetCall(Call call, void* context) noexcept
{
    m_call = call;
    m_context = context;
    if (m_handler)
        m_handler->m_list[m_position] = {this, call, context};
}

void CEventSubscription::Leave() noexcept
{
    if (!m_handler)
        return;
    m_handler->i_Leave(m_position);
    m_handler = nullptr;
    m_position = -1;
}

void CEventHandler::i_Destroy() noexcept
{
    DropAll();
    if (m_list != &m_single)
        delete[] m_list;
}

const char* CEventHandler::GetTypeString()
{
    return "CEventHandler";
}

void* CEventHandler::operator new(std::size_t)
{
    return HandlerPool().Allocate();
}

void CEventHandler::operator delete(void* memory, std::size_t) noexcept
{
    HandlerPool().Deallocate(memory);
}

void CEventHandler::DropAll() noexcept
{
    for (std::uint32_t i = 0; i < m_length; ++i)
    {
        if (CEventSubscription* subscription = std::exchange(m_list[i].subscription, nullptr))
        {
            subscription->m_handler = nullptr;
            subscription->m_position = -1;
        }
    }
    m_used = 0;
    for (Delivery* delivery = m_deliveries; delivery; delivery = delivery->outer)
        delivery->ownerDied = true;
    m_deliveries = nullptr;
}

std::int32_t CEventHandler::i_Join(CEventSubscription& subscription)
{
    if (m_length == m_capacity)
        i_MakeRoom();
    m_list[m_length] = {&subscription, subscription.m_call, subscription.m_context};
    ++m_used;
    return static_cast<std::int32_t>(m_length++);
}

void CEventHandler::i_Leave(std::int32_t position) noexcept
{
    m_list[position].subscription = nullptr;
    --m_used;
}

void CEventHandler::i_MakeRoom()
{
    // Positions must not shift under a delivery that walks them.
    if (!m_deliveries && m_used <= m_length / 2)
    {
        std::uint32_t kept = 0;
        for (std::uint32_t i = 0; i < m_length; ++i)
        {
            if (!m_list[i].subscription)
                continue;
            m_list[i].subscription->m_position = static_cast<std::int32_t>(kept);
            m_list[kept++] = m_list[i];
        }
        m_length = kept;
        return;
    }
    auto* grown = new Listener[std::size_t{m_capacity} * 2];
    std::copy_n(m_list, m_length, grown);
    if (m_list != &m_single)
        delete[] m_list;
    m_list = grown;
    m_capacity *= 2;
}

bool CEventHandler::i_Deliver(const EventMessage& message)
{
    Delivery delivery{m_deliveries, false};
    m_deliveries = &delivery;
    const std::uint32_t end = m_length;
    for (std::uint32_t i = 0; i < end; ++i)
    {
        // A copy: the call may change the list.
        const Listener listener = m_list[i];
        if (!listener.subscription)
            continue;
        listener.call(listener.context, message);
        if (delivery.ownerDied)
            return false;
    }
    m_deliveries = delivery.outer;
    return true;
}
