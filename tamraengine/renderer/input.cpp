#include "tamraengine/renderer/input.h"

#include <algorithm>

namespace renderer
{
const char* CInputListener::GetTypeString()
{
    return "CInputListener";
}
bool CInputListener::OnKeyChar(int)
{
    return false;
}
bool CInputListener::OnKeyDown(int)
{
    return false;
}
bool CInputListener::OnKeyUp(int)
{
    return false;
}
bool CInputListener::OnMouseDown(int)
{
    return false;
}
bool CInputListener::OnMouseUp(int)
{
    return false;
}
bool CInputListener::OnMouseMove(int, int)
{
    return false;
}
int CInputListener::GetPriority()
{
    return 0;
}

void CInput::AddListener(CInputListener* listener)
{
    const auto isSame = [listener](const Entry& entry) { return entry.listener == listener; };
    if (!listener || std::any_of(m_listeners.begin(), m_listeners.end(), isSame))
        return;
    const int priority = listener->GetPriority();
    const Entry entry{listener, priority, m_depth > 0};
    // While an event is delivered positions must stay; the list is sorted afterwards.
    if (m_depth > 0)
    {
        m_listeners.push_back(entry);
        return;
    }
    const auto place = std::find_if(m_listeners.begin(), m_listeners.end(),
                                    [priority](const Entry& other) { return other.priority < priority; });
    m_listeners.insert(place, entry);
}

void CInput::RemoveListener(CInputListener* listener)
{
    Release(listener);
    const auto isSame = [listener](const Entry& entry) { return entry.listener == listener; };
    const auto found = std::find_if(m_listeners.begin(), m_listeners.end(), isSame);
    if (!listener || found == m_listeners.end())
        return;
    if (m_depth > 0)
        found->listener = nullptr;
    else
        m_listeners.erase(found);
}

void CInput::Release(CInputListener* listener) noexcept
{
    if (m_captured == listener)
        m_captured = nullptr;
}

template <class Event>
bool CInput::i_Deliver(const Event& event)
{
    if (m_captured)
    {
        event(*m_captured);
        return true;
    }
    ++m_depth;
    bool isConsumed = false;
    for (std::size_t i = 0; i < m_listeners.size() && !isConsumed; ++i)
    {
        if (m_listeners[i].listener && !m_listeners[i].isNew)
            isConsumed = event(*m_listeners[i].listener);
    }
    if (--m_depth == 0)
    {
        std::erase_if(m_listeners, [](const Entry& entry) { return !entry.listener; });
        const auto isNew = [](const Entry& entry) { return entry.isNew; };
        if (std::any_of(m_listeners.begin(), m_listeners.end(), isNew))
        {
            std::stable_sort(m_listeners.begin(), m_listeners.end(),
                             [](const Entry& a, const Entry& b) { return a.priority > b.priority; });
            for (Entry& entry : m_listeners)
                entry.isNew = false;
        }
    }
    return isConsumed;
}

bool CInput::KeyChar(int character)
{
    return i_Deliver([=](CInputListener& listener) { return listener.OnKeyChar(character); });
}
bool CInput::KeyDown(int key)
{
    return i_Deliver([=](CInputListener& listener) { return listener.OnKeyDown(key); });
}
bool CInput::KeyUp(int key)
{
    return i_Deliver([=](CInputListener& listener) { return listener.OnKeyUp(key); });
}
bool CInput::MouseDown(int button)
{
    return i_Deliver([=](CInputListener& listener) { return listener.OnMouseDown(button); });
}
bool CInput::MouseUp(int button)
{
    return i_Deliver([=](CInputListener& listener) { return listener.OnMouseUp(button); });
}
bool CInput::MouseMove(int x, int y)
{
    return i_Deliver([=](CInputListener& listener) { return listener.OnMouseMove(x, y); });
}
} // namespace renderer
