#pragma once

#include "tamradeps/core/refClass.h"
#include "tamradeps/core/variant.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <type_traits>
#include <utility>

class CEventHandler;

/// What a listener receives: the event's number, as its sender documents it, and two values. Valid during the call.
struct EventMessage
{
    std::int32_t id;
    const variant& first;
    const variant& second;
};

/// A place in a handler's list of listeners, held by whoever listens.
///
/// The subscription leaves the handler when it is destroyed, and is told when the handler dies first, so neither side
/// can call or keep a dead one. It neither moves nor copies: make it a member of the listening object.
///
///     class CFollower {
///         CEventSubscription m_moved{[this](const EventMessage& message) { OnMoved(message); }};
///         void Follow(ComponentTransform& t) { m_moved.Subscribe(t.Events()); }
///     };
///
/// A callback may subscribe and leave as it likes, its own subscription too. When it destroys the object that holds the
/// subscription, it must not touch its captures afterwards, as after `delete this`.
class TAMRADEPS_API CEventSubscription
{
public:
    CEventSubscription() noexcept = default;
    /// Calls `callable(const EventMessage&)`. One that fits a pointer, like a lambda that captures `this`, is called
    /// without touching the subscription's memory.
    template <class Callable>
    explicit CEventSubscription(Callable callable)
    {
        SetCallback(std::move(callable));
    }
    CEventSubscription(const CEventSubscription&) = delete;
    CEventSubscription& operator=(const CEventSubscription&) = delete;
    ~CEventSubscription() { Leave(); }

    /// Replaces what is called. Not during a call of the old one.
    template <class Callable>
    void SetCallback(Callable callable)
    {
        if constexpr (sizeof(Callable) <= sizeof(void*) && alignof(Callable) <= alignof(void*) &&
                      std::is_trivially_copyable_v<Callable> &&
                      std::is_invocable_v<const Callable&, const EventMessage&>)
        {
            void* context = nullptr;
            std::memcpy(&context, &callable, sizeof(Callable));
            m_function = nullptr;
            i_SetCall(&i_CallSmall<Callable>, context);
        }
        else
        {
            m_function = std::move(callable);
            i_SetCall(&i_CallFunction, this);
        }
    }

    /// Joins the end of the handler's list, leaving the former handler if there is one. A listener that joins while an
    /// event is being delivered receives the next one.
    void Subscribe(CEventHandler& handler);

    /// Leaves the handler; harmless when there is none.
    void Leave() noexcept;

    /// The handler listened to, null before `Subscribe`, after `Leave` and after the handler's death.
    CEventHandler* GetHandler() const noexcept { return m_handler; }

    /// Position in the handler's list, -1 when there is no handler.
    std::int32_t GetPosition() const noexcept { return m_position; }

private:
    friend class CEventHandler;
    using Call = void (*)(void* context, const EventMessage& message);

    template <class Callable>
    static void i_CallSmall(void* context, const EventMessage& message)
    {
        std::invoke(*reinterpret_cast<const Callable*>(&context), message);
    }
    static void i_CallFunction(void* context, const EventMessage& message);
    void i_SetCall(Call call, void* context) noexcept;

    CEventHandler* m_handler = nullptr;
    std::int32_t m_position = -1;
    Call m_call = &i_CallFunction;
    void* m_context = this;
    std::function<void(const EventMessage&)> m_function;
};

/// Sends numbered events, each with two values, to the listeners that subscribed, in the order in which they did.
///
/// During delivery a listener may subscribe others, leave, raise further events on the same handler, or destroy the
/// handler together with its owner: delivery then goes on with those who still listen, or ends. Raising an event
/// allocates nothing; with no listener it costs one comparison.
///
/// A listener keeps its position while it stays, save that a list at least half empty is closed up, in order, instead
/// of growing; the subscriptions then know their new positions.
class TAMRADEPS_API CEventHandler final : public RefClass
{
public:
    CEventHandler() noexcept = default;
    CEventHandler(const CEventHandler&) = delete;
    CEventHandler& operator=(const CEventHandler&) = delete;
    ~CEventHandler() override
    {
        if (m_length != 0)
            i_Destroy();
    }

    const char* GetTypeString() override;

    /// Handlers come from a pool: scenes own one for each component that somebody listens to.
    static void* operator new(std::size_t size);
    static void operator delete(void* memory, std::size_t size) noexcept;
    static void* operator new(std::size_t, void* place) noexcept { return place; }

    /// True when nobody listens.
    bool Empty() const noexcept { return m_used == 0; }

    /// Delivers the event to everybody who listened when it was raised. False when a listener destroyed the handler or
    /// its owner meanwhile: the caller, if it is that owner, must then return without touching its members.
    bool Raise(std::int32_t id, const variant& first, const variant& second)
    {
        if (m_used == 0)
            return true;
        const EventMessage message{id, first, second};
        if (m_length != 1)
            return i_Deliver(message);
        // By far the most handlers have one listener.
        Delivery delivery{m_deliveries, false};
        m_deliveries = &delivery;
        const Listener listener = m_list[0];
        listener.call(listener.context, message);
        if (delivery.ownerDied) [[unlikely]]
            return false;
        m_deliveries = delivery.outer;
        return true;
    }

    /// Lets every listener go, as the handler's death does. Called by owners that die before their handler.
    void DropAll() noexcept;

    /// Number of places in the list, empty ones included.
    std::int32_t GetListLength() const noexcept { return static_cast<std::int32_t>(m_length); }

private:
    friend class CEventSubscription;

    // One per delivery under way, on the raising function's stack.
    struct Delivery
    {
        Delivery* outer;
        bool ownerDied;
    };

    // A place in the list; without a subscription it is empty.
    struct Listener
    {
        CEventSubscription* subscription;
        CEventSubscription::Call call;
        void* context;
    };

    std::int32_t i_Join(CEventSubscription& subscription);
    void i_Leave(std::int32_t position) noexcept;
    bool i_Deliver(const EventMessage& message);
    void i_MakeRoom();
    void i_Destroy() noexcept;

    std::uint32_t m_used = 0;
    std::uint32_t m_length = 0;
    std::uint32_t m_capacity = 1;
    Delivery* m_deliveries = nullptr;
    // The first place is inside the handler: most handlers have one listener.
    Listener m_single = {};
    Listener* m_list = &m_single;
};
