#pragma once

#include "gameengine/gui/guiWidget/guiWidget.h"

#include <cstddef>
#include <memory>
#include <unordered_map>
#include <vector>

namespace gui
{
class CHitGrid;

/// Common to widgets that hold others: input and drawing go to those inside, and their places are found anew only when
/// something asked for it. A child lies inside of its rectangle: points outside of it are none of its.
///
/// Layouts of this library are drawn again when something asked for it; one that draws more than they do calls `Redraw`
/// when that changes.
class TAMRAGAMEENGINE_API GuiLayout : public GuiWidget
{
public:
    GuiLayout(GuiContext& context, GuiStyle style, const GuiRecti& rect, GuiSizePolicy sizePolicy);

    void OnUpdateRect(const GuiRecti& rect) override;
    /// What those inside have no use for goes further up.
    void OnKeyPress(unsigned key) override;
    void OnMouseClick(unsigned button) override;
    void SetLocked(bool locked) override;

    /// Who is inside, by number from 0; null beyond.
    virtual GuiWidget* GetChild(std::size_t index) const = 0;
    virtual std::size_t GetChildCount() const = 0;
    /// Takes ownership of a widget that has no parent. Null, with the widget destroyed, when there is no room.
    virtual GuiWidget* AddChild(std::unique_ptr<GuiWidget> child) = 0;
    /// Gives a child away; null for others.
    virtual std::unique_ptr<GuiWidget> RemoveChild(GuiWidget* child) = 0;
    /// A button of the mouse goes down on it or on something below, which hears of it afterwards.
    virtual void OnClickBelow(unsigned button);
    /// The rectangle of a child changed.
    virtual void OnChildMoved();

    bool NeedsLayout() const noexcept { return m_needsLayout || m_childNeedsLayout; }
    /// Calls `AdjustLayout` where it is needed, here and below, and answers how often.
    int UpdateLayout();

protected:
    void myAdopt(GuiWidget& child);
    void myDisown(GuiWidget& child);
    /// How children are drawn: by their `Render`, and remembered.
    void myRenderChild(GuiWidget& child);

private:
    friend class GuiWidget;

    bool m_needsLayout = true;
    bool m_childNeedsLayout = true;
};

/// Holds one widget.
class TAMRAGAMEENGINE_API GuiLayoutSingle : public GuiLayout
{
public:
    using GuiLayout::GuiLayout;
    ~GuiLayoutSingle() override;

    GuiWidget* GetHoverWidget(int x, int y) override;
    void Render() override;
    GuiWidget* GetChild(std::size_t index) const override;
    std::size_t GetChildCount() const override { return m_child ? 1 : 0; }
    GuiWidget* AddChild(std::unique_ptr<GuiWidget> child) override;
    std::unique_ptr<GuiWidget> RemoveChild(GuiWidget* child) override;

private:
    std::unique_ptr<GuiWidget> m_child;
};

/// Holds any number of widgets, later ones over earlier ones. Finding one at a point does not ask all of them.
class TAMRAGAMEENGINE_API GuiLayoutMulti : public GuiLayout
{
public:
    GuiLayoutMulti(GuiContext& context, GuiStyle style, const GuiRecti& rect, GuiSizePolicy sizePolicy);
    ~GuiLayoutMulti() override;

    GuiWidget* GetHoverWidget(int x, int y) override;
    void Render() override;
    GuiWidget* GetChild(std::size_t index) const override;
    std::size_t GetChildCount() const override { return m_children.size(); }
    GuiWidget* AddChild(std::unique_ptr<GuiWidget> child) override;
    std::unique_ptr<GuiWidget> RemoveChild(GuiWidget* child) override;
    /// Moves a child over all others.
    void RaiseChild(GuiWidget* child);
    void OnChildMoved() override;

protected:
    const std::vector<std::unique_ptr<GuiWidget>>& myGetChildren() const noexcept { return m_children; }

private:
    std::vector<std::unique_ptr<GuiWidget>> m_children;
    std::shared_ptr<CHitGrid> m_hitGrid; // null until it is needed, and when it is not true any more
};

/// Places its children by dock and anchor. Docked ones take their edge in the order in which they were added, each from
/// what the ones before left over; `Center` takes the rest. The others keep their distance from the edges that they are
/// anchored to: from both of a pair they are stretched, from none of a pair they stay in proportion. The distances are
/// those from the rectangle that the layout had when they were put there, by a file or a call.
class TAMRAGAMEENGINE_API GuiFreeLayout : public GuiLayoutMulti
{
public:
    explicit GuiFreeLayout(GuiContext& context, GuiStyle style = 0, const GuiRecti& rect = {},
                           GuiSizePolicy sizePolicy = GuiSizePolicy::Expand());

    GuiWidgetType GetType() const override { return GuiWidgetType::FreeLayout; }
    const char* GetTypeString() const override { return "GWT_FREELAYOUT"; }
    void AdjustLayout() override;
    void OnUpdateLayout(const GuiRectf& rect) override;
    GuiWidget* AddChild(std::unique_ptr<GuiWidget> child) override;
    std::unique_ptr<GuiWidget> RemoveChild(GuiWidget* child) override;

private:
    // Where a child was put, in which room, and where that has brought it.
    struct Anchored
    {
        std::uint32_t mask;
        GuiRectf room;
        GuiRectf rect;
        GuiRectf placed;
    };

    void i_PlaceAnchored(GuiWidget& child, const GuiRectf& before, const GuiRectf& now);

    GuiRectf m_lastRect; // at the last adjustment, or when the first child came
    bool m_hasLast = false;
    std::unordered_map<const GuiWidget*, Anchored> m_anchored; // but those that follow the upper left corner
};
} // namespace gui
