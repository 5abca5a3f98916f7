#include "tamraengine/renderer/input.h"

#include <functional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace
{
class Listener : public renderer::CInputListener
{
public:
    Listener(std::string& heard, char name, int priority) : m_heard(heard), m_name(name), m_priority(priority) {}

    bool OnKeyDown(int key) override
    {
        m_heard += m_name;
        if (const auto action = std::exchange(m_action, nullptr))
            action();
        return key == m_consumed;
    }
    int GetPriority() override { return m_priority; }

    std::function<void()> m_action;
    int m_consumed = 0;

private:
    std::string& m_heard;
    char m_name;
    int m_priority;
};
} // namespace

TEST(Input, GoesToTheHighestPriorityFirstUntilConsumed)
{
    renderer::CInput input;
    std::string heard;
    Listener a(heard, 'a', 0);
    Listener b(heard, 'b', 5);
    Listener c(heard, 'c', 0);
    for (Listener* listener : {&a, &b, &c, &a})
        input.AddListener(listener);
    input.AddListener(nullptr);
    a.m_consumed = 65;
    EXPECT_TRUE(input.KeyDown(65));
    EXPECT_FALSE(input.KeyDown(66));
    EXPECT_EQ(heard, "babac");

    // Captured input is consumed, also by somebody who was never added.
    Listener d(heard, 'd', 0);
    input.Capture(&d);
    EXPECT_TRUE(input.KeyDown(66));
    input.Release(&a);
    EXPECT_TRUE(input.KeyDown(66));
    input.Release(&d);
    EXPECT_FALSE(input.KeyUp(66));
    EXPECT_EQ(heard, "babacdd");
}

TEST(Input, ListenersMayComeAndGoMeanwhile)
{
    renderer::CInput input;
    std::string heard;
    Listener a(heard, 'a', 1);
    Listener b(heard, 'b', 0);
    Listener late(heard, 'l', 9);
    input.AddListener(&a);
    input.AddListener(&b);
    a.m_action = [&]
    {
        input.KeyDown(1); // nested
        input.AddListener(&late);
        input.RemoveListener(&b);
        input.RemoveListener(&a);
        input.RemoveListener(&late);
        input.AddListener(&late);
    };
    input.KeyDown(1);
    EXPECT_EQ(heard, "aab");
    input.KeyDown(1);
    EXPECT_EQ(heard, "aabl");
}
