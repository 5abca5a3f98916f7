#include "tamradeps/core/eventHandler.h"

#include "support/random.h"
#include "tamradeps/core/refPtr.h"

#include <functional>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

namespace
{
using Ids = std::vector<int>;

// Listeners that note their number in `heard` and then do what the test asks.
class EventHandler : public testing::Test
{
protected:
    EventHandler()
    {
        for (int i = 0; i < 8; ++i)
        {
            m_actions.emplace_back();
            m_listeners.push_back(std::make_unique<CEventSubscription>(
                [this, i](const EventMessage& message)
                {
                    m_heard.push_back(i + 100 * message.id);
                    if (m_actions[static_cast<std::size_t>(i)])
                        m_actions[static_cast<std::size_t>(i)]();
                }));
        }
    }

    void Join(std::initializer_list<std::size_t> listeners)
    {
        for (const std::size_t i : listeners)
            m_listeners[i]->Subscribe(*m_handler);
    }
    Ids Raise(int id = 0)
    {
        m_heard.clear();
        m_handler->Raise(id, variant(), variant());
        return m_heard;
    }

    RefPtr<CEventHandler> m_handler = new CEventHandler;
    std::vector<std::function<void()>> m_actions;
    std::vector<std::unique_ptr<CEventSubscription>> m_listeners;
    Ids m_heard;
};

TEST_F(EventHandler, ListenersLeaveAndJoinDuringDelivery)
{
    Join({0, 1, 2, 3});
    m_actions[0] = [&] { m_listeners[0]->Leave(); };
    m_actions[1] = [&]
    {
        m_listeners[2]->Leave();
        // Enough to make the list grow under the delivery.
        Join({4, 5, 6, 7});
    };
    EXPECT_EQ(Raise(), (Ids{0, 1, 3}));
    m_actions[1] = nullptr;
    EXPECT_EQ(Raise(), (Ids{1, 3, 4, 5, 6, 7}));
    m_actions[1] = [&] { m_listeners[1].reset(); };
    EXPECT_EQ(Raise(), (Ids{1, 3, 4, 5, 6, 7}));
    EXPECT_EQ(Raise(), (Ids{3, 4, 5, 6, 7}));
}

TEST_F(EventHandler, AnEventRaisedInsideAnotherRunsFirst)
{
    Join({0, 1, 2});
    m_actions[1] = [&]
    {
        m_actions[1] = nullptr;
        m_listeners[2]->Leave();
        Join({3});
        m_handler->Raise(1, variant(), variant());
        Join({2});
    };
    EXPECT_EQ(Raise(), (Ids{0, 1, 100, 101, 103})) << "who joined meanwhile waits for the next event";
    EXPECT_EQ(Raise(), (Ids{0, 1, 3, 2}));
}

TEST_F(EventHandler, DeliveryEndsWhenTheHandlerDies)
{
    Join({0, 1, 2});
    bool survived = true;
    m_actions[1] = [&]
    {
        if (m_heard.back() == 101)
            m_handler = nullptr;
        else
            survived = m_handler->Raise(1, variant(), variant());
    };
    CEventHandler& handler = *m_handler;
    EXPECT_FALSE(handler.Raise(0, variant(), variant()));
    EXPECT_FALSE(survived);
    EXPECT_EQ(m_heard, (Ids{0, 1, 100, 101}));
    EXPECT_EQ(m_listeners[0]->GetHandler(), nullptr);
    EXPECT_EQ(m_listeners[2]->GetPosition(), -1);
    m_listeners[0]->Leave();
}

TEST_F(EventHandler, DropAllEndsTheDeliveryAndLeavesAUsableHandler)
{
    Join({0, 1});
    m_actions[0] = [&]
    {
        m_handler->DropAll();
        Join({1, 2});
        m_actions[0] = nullptr;
    };
    EXPECT_EQ(Raise(), Ids{0});
    EXPECT_EQ(Raise(), (Ids{1, 2}));
}

// Joining, leaving, dying and raising at random, against a plain list of who listens.
TEST_F(EventHandler, AgreesWithAPlainList)
{
    for (std::uint64_t seed = 0; seed < 50; ++seed)
    {
        SCOPED_TRACE(seed);
        test::Random random(seed);
        RefPtr<CEventHandler> handler = new CEventHandler;
        std::vector<int> model;
        std::vector<int> heard;
        std::unique_ptr<CEventSubscription> listeners[20];
        for (int step = 0; step < 200; ++step)
        {
            const int i = static_cast<int>(random.Below(20));
            auto& listener = listeners[i];
            std::erase(model, i);
            if (random.Below(3) == 0)
                listener.reset();
            else
            {
                if (!listener)
                    listener =
                        std::make_unique<CEventSubscription>([&heard, i](const EventMessage&) { heard.push_back(i); });
                listener->Subscribe(*handler);
                model.push_back(i);
            }
            heard.clear();
            handler->Raise(0, variant(), variant());
            ASSERT_EQ(heard, model);
            ASSERT_EQ(handler->Empty(), model.empty());
            // Positions name the places, in order, and the list stays in proportion.
            int last = -1;
            for (const int k : model)
            {
                ASSERT_GT(listeners[k]->GetPosition(), last);
                last = listeners[k]->GetPosition();
            }
            ASSERT_LT(last, handler->GetListLength());
            ASSERT_LE(handler->GetListLength(), 64);
        }
    }
}

TEST_F(EventHandler, ASubscriptionHearsItsLatestHandler)
{
    CEventHandler other;
    Join({0});
    m_listeners[0]->Subscribe(other);
    EXPECT_TRUE(m_handler->Empty());
    EXPECT_EQ(Raise(), Ids());
    EXPECT_TRUE(other.Raise(7, variant(), variant()));
    EXPECT_EQ(m_heard, Ids{700});
}
} // namespace
