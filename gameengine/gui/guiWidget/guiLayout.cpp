#include "gameengine/gui/guiWidget/guiLayout.h"

#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiHitGridInternal.h"

#include <algorithm>
#include <utility>

namespace gui
{
namespace
{
// Fewer children are asked one after the other.
constexpr std::size_t kManyChildren = 32;
} // namespace

GuiLayout::GuiLayout(GuiContext& context, GuiStyle style, const GuiRecti& rect, GuiSizePolicy sizePolicy)
    : GuiWidget(context, style, rect, sizePolicy)
{
    m_asLayout = this;
    myKeepPicture();
}

void GuiLayout::OnKeyPress(unsigned key)
{
    myPassKey(key);
}

void GuiLayout::OnMouseClick(unsigned button)
{
    myPassClick(button);
}

void GuiLayout::OnClickBelow(unsigned) {}
void GuiLayout::OnChildMoved() {}

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
    if (!std::exchange(m_childNeedsLayout, false))
        return count;
    for (std::size_t i = 0; i < GetChildCount(); ++i)
    {
        GuiLayout* const layout = GetChild(i)->AsLayout();
        if (layout && layout->NeedsLayout())
            count += layout->UpdateLayout();
    }
    // One that was done may have been marked by another one since: that is for the next pass.
    const bool isAnyMarked = std::exchange(m_childNeedsLayout, false);
    for (std::size_t i = 0; isAnyMarked && !m_childNeedsLayout && i < GetChildCount(); ++i)
    {
        const GuiLayout* const layout = GetChild(i)->AsLayout();
        m_childNeedsLayout = layout && layout->NeedsLayout();
    }
    return count;
}

void GuiLayout::myAdopt(GuiWidget& child)
{
    child.SetParent(this);
    child.m_owner = this;
    if (IsLocked())
        child.SetLocked(true);
    InvalidateLayout();
    m_childNeedsLayout = true;
}

void GuiLayout::myDisown(GuiWidget& child)
{
    child.SetParent(nullptr);
    child.m_owner = nullptr;
    InvalidateLayout();
}

void GuiLayout::myRenderChild(GuiWidget& child)
{
    GetContext().RenderWidget(child);
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
    if (m_child)
        myRenderChild(*m_child);
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

GuiLayoutMulti::GuiLayoutMulti(GuiContext& context, GuiStyle style, const GuiRecti& rect, GuiSizePolicy sizePolicy)
    : GuiLayout(context, style, rect, sizePolicy)
{
}

GuiLayoutMulti::~GuiLayoutMulti() = default;

void GuiLayoutMulti::OnChildMoved()
{
    m_hitGrid = nullptr;
}

GuiWidget* GuiLayoutMulti::GetHoverWidget(int x, int y)
{
    GuiWidget* const self = GuiWidget::GetHoverWidget(x, y);
    if (!self)
        return nullptr;
    GuiWidget* found = nullptr;
    const auto ask = [&](std::size_t child)
    {
        found = child < m_children.size() ? m_children[child]->GetHoverWidget(x, y) : nullptr;
        return found != nullptr;
    };
    if (m_children.size() < kManyChildren)
    {
        // The last one lies over the others.
        for (std::size_t child = m_children.size(); child > 0 && !ask(child - 1); --child)
        {
        }
        return found ? found : self;
    }
    if (!m_hitGrid)
    {
        std::vector<GuiRecti> rects;
        rects.reserve(m_children.size());
        for (const auto& child : m_children)
            rects.push_back(child->GetRect());
        m_hitGrid = std::make_shared<CHitGrid>();
        m_hitGrid->Build(rects);
    }
    // Somebody asked may move.
    const std::shared_ptr<const CHitGrid> grid = m_hitGrid;
    grid->Visit(x, y, ask);
    return found ? found : self;
}

void GuiLayoutMulti::Render()
{
    for (const auto& child : m_children)
        myRenderChild(*child);
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
    m_hitGrid = nullptr;
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
    m_hitGrid = nullptr;
    myDisown(*removed);
    return removed;
}

void GuiLayoutMulti::RaiseChild(GuiWidget* child)
{
    const auto found =
        std::find_if(m_children.begin(), m_children.end(), [child](const auto& other) { return other.get() == child; });
    if (found == m_children.end())
        return;
    std::rotate(found, found + 1, m_children.end());
    m_hitGrid = nullptr;
    Redraw();
}
} // namespace gui
