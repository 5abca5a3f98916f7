#include "gameengine/gui/guiWidget/guiLayout.h"

#include <algorithm>
#include <utility>

namespace gui
{
void GuiLayout::OnUpdateRect(const GuiRecti& rect)
{
    const bool isSame = rect == GetRect();
    GuiWidget::OnUpdateRect(rect);
    if (!isSame)
        InvalidateLayout();
}

void GuiLayout::SetLocked(bool locked)
{
    GuiWidget::SetLocked(locked);
    for (std::size_t i = 0; i < GetChildCount(); ++i)
        GetChild(i)->SetLocked(locked);
}

int GuiLayout::UpdateLayout()
{
    int count = 0;
    if (std::exchange(m_needsLayout, false))
    {
        // The rectangles that it gives to those inside mark them in turn.
        AdjustLayout();
        ++count;
        m_needsLayout = false;
    }
    if (!std::exchange(m_childNeedsLayout, false) && count == 0)
        return 0;
    for (std::size_t i = 0; i < GetChildCount(); ++i)
    {
        auto* layout = dynamic_cast<GuiLayout*>(GetChild(i));
        if (layout && layout->NeedsLayout())
            count += layout->UpdateLayout();
    }
    m_childNeedsLayout = false;
    return count;
}

void GuiLayout::myAdopt(GuiWidget& child)
{
    child.SetParent(this);
    if (IsLocked())
        child.SetLocked(true);
    InvalidateLayout();
    m_childNeedsLayout = true;
}

void GuiLayout::myDisown(GuiWidget& child)
{
    child.SetParent(nullptr);
    InvalidateLayout();
}

GuiLayoutSingle::~GuiLayoutSingle() = default;

GuiWidget* GuiLayoutSingle::GetHoverWidget(int x, int y)
{
    GuiWidget* const self = GuiWidget::GetHoverWidget(x, y);
    GuiWidget* const inside = self && m_child ? m_child->GetHoverWidget(x, y) : nullptr;
    return inside ? inside : self;
}

void GuiLayoutSingle::Render()
{
    if (m_child && m_child->IsVisible())
        m_child->Render();
}

GuiWidget* GuiLayoutSingle::GetChild(std::size_t index) const
{
    return index == 0 ? m_child.get() : nullptr;
}

GuiWidget* GuiLayoutSingle::AddChild(std::unique_ptr<GuiWidget> child)
{
    if (m_child || !child)
        return nullptr;
    m_child = std::move(child);
    myAdopt(*m_child);
    return m_child.get();
}

std::unique_ptr<GuiWidget> GuiLayoutSingle::RemoveChild(GuiWidget* child)
{
    if (!child || child != m_child.get())
        return nullptr;
    myDisown(*child);
    return std::move(m_child);
}

GuiLayoutMulti::~GuiLayoutMulti() = default;

GuiWidget* GuiLayoutMulti::GetHoverWidget(int x, int y)
{
    GuiWidget* const self = GuiWidget::GetHoverWidget(x, y);
    if (!self)
        return nullptr;
    // The last one lies over the others.
    for (auto child = m_children.rbegin(); child != m_children.rend(); ++child)
    {
        if (GuiWidget* const found = (*child)->GetHoverWidget(x, y))
            return found;
    }
    return self;
}

void GuiLayoutMulti::Render()
{
    for (const auto& child : m_children)
    {
        if (child->IsVisible())
            child->Render();
    }
}

GuiWidget* GuiLayoutMulti::GetChild(std::size_t index) const
{
    return index < m_children.size() ? m_children[index].get() : nullptr;
}

GuiWidget* GuiLayoutMulti::AddChild(std::unique_ptr<GuiWidget> child)
{
    if (!child)
        return nullptr;
    m_children.push_back(std::move(child));
    myAdopt(*m_children.back());
    return m_children.back().get();
}

std::unique_ptr<GuiWidget> GuiLayoutMulti::RemoveChild(GuiWidget* child)
{
    const auto found =
        std::find_if(m_children.begin(), m_children.end(), [child](const auto& other) { return other.get() == child; });
    if (found == m_children.end())
        return nullptr;
    std::unique_ptr<GuiWidget> removed = std::move(*found);
    m_children.erase(found);
    myDisown(*removed);
    return removed;
}

void GuiLayoutMulti::RaiseChild(GuiWidget* child)
{
    const auto found =
        std::find_if(m_children.begin(), m_children.end(), [child](const auto& other) { return other.get() == child; });
    if (found != m_children.end())
        std::rotate(found, found + 1, m_children.end());
}
} // namespace gui
