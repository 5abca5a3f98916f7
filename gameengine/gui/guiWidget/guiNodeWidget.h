#pragma once

#include "gameengine/gui/guiWidget/guiNodeGraph.h"
#include "gameengine/gui/guiWidget/guiWidget.h"

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace gui
{
class GuiNodeWidget;

/// Hears of what the user did to a graph, after it was done. It may destroy the widget, the context or itself, and may
/// be destroyed at any time.
class TAMRAGAMEENGINE_API GuiNodeListener
{
public:
    GuiNodeListener() : m_self(std::make_shared<GuiNodeListener*>(this)) {}
    GuiNodeListener(const GuiNodeListener&) = delete;
    GuiNodeListener& operator=(const GuiNodeListener&) = delete;
    virtual ~GuiNodeListener() { *m_self = nullptr; }

    virtual void OnNodesMoved(GuiNodeWidget&, std::span<const GuiNodeId>) {}
    virtual void OnLinkAdded(GuiNodeWidget&, const GuiNodeLink&) {}
    /// Not called for links of a node that was deleted.
    virtual void OnLinkRemoved(GuiNodeWidget&, const GuiNodeLink&) {}
    /// They are gone already.
    virtual void OnNodesDeleted(GuiNodeWidget&, std::span<const GuiNodeId>) {}
    virtual void OnSelectionChanged(GuiNodeWidget&) {}

    /// Holds null once the listener is gone.
    const std::shared_ptr<GuiNodeListener*>& GetSelf() const noexcept { return m_self; }

private:
    std::shared_ptr<GuiNodeListener*> m_self;
};

/// Shows a graph of nodes, which the user selects, moves, links and deletes.
///
/// A click selects a node, with Control it adds or removes one; dragging the background selects what the frame touches.
/// Dragging a node moves the selection, on a grid while Control is held. Dragging from pin to pin links them, in either
/// direction, and replaces what the input had; dragging a link off its input moves or removes it. The middle button, or
/// the left one while space is held, moves the view, the wheel zooms around the mouse. Escape takes back what the mouse
/// is about to do, or clears the selection.
///
/// Delete deletes the selection and Control+A selects everything; arrows move the selection, with Shift by one, or the
/// view when nothing is selected, with Control they select the next node over there; PageUp and PageDown zoom, Home
/// shows everything. Enter goes to the pins of the selected node: there arrows go from pin to pin, Delete takes away a
/// pin's links, Enter begins a link, for which arrows choose the other end and Enter makes it; Escape leads back. What
/// a locked or invisible one is told by mouse or keyboard does nothing.
///
/// It emits no events; a `GuiNodeListener` hears of what the user does. Calls tell it nothing.
class TAMRAGAMEENGINE_API GuiNodeWidget final : public GuiWidget
{
public:
    explicit GuiNodeWidget(GuiContext& context, GuiStyle style = 0, const GuiRecti& rect = {},
                           GuiSizePolicy sizePolicy = GuiSizePolicy::Expand());
    ~GuiNodeWidget() override;

    GuiWidgetType GetType() const override { return GuiWidgetType::NodeWidget; }
    const char* GetTypeString() const override { return "GWT_NODEWIDGET"; }
    void OnKeyPress(unsigned key) override;
    void OnMouseClick(unsigned button) override;
    void OnMouseRelease(unsigned button) override;
    GuiWidget* GetHoverWidget(int x, int y) override;
    void Tick(float seconds) override;
    void Render() override;
    void SetVisible(bool visible) override;
    void SetLocked(bool locked) override;

    const GuiNodeGraph& GetGraph() const noexcept { return m_graph; }
    /// For changing it, also while the user does: call it for each change, it is what draws the widget anew.
    GuiNodeGraph& EditGraph();
    /// Replaces the graph by one from its text. What cannot be used is left out; then it logs one line and answers
    /// false.
    bool SetGraphText(std::string_view text);
    /// Moves the view and zooms out so far that all nodes can be seen.
    void ShowAll();
    Vec2<int> ToGraph(Vec2<int> screen) const;
    Vec2<int> ToScreen(Vec2<int> graph) const;

    /// Not owned; forgotten when it dies.
    void SetListener(GuiNodeListener* listener);

    /// Nodes and links that the last picture shows.
    Vec2<int> GetDrawnCounts() const noexcept { return m_drawn; }

protected:
    /// The graph's text, if there is any.
    void mySave(GuiStream& stream) const override;
    void myLoad(GuiStream& stream) override;

private:
    static constexpr int kSnap = 16;
    static constexpr int kShowMargin = 20;
    enum class Action
    {
        None,
        Press, // on a node that has not moved yet
        Move,
        Frame,
        Pan,
        Link
    };
    struct Change
    {
        enum class Kind
        {
            Moved,
            LinkAdded,
            LinkRemoved,
            Deleted,
            Selected
        };
        Kind kind;
        GuiNodeLink link = {};
        std::vector<GuiNodeId> nodes = {};
    };
    // A link that is being dragged: the end that stays, and what it was before.
    struct LooseLink
    {
        GuiNodeHit start;
        GuiNodeLink old;
        std::vector<GuiNodeId> blocked; // that it cannot go to, sorted
    };

    bool i_TakesInput() const noexcept { return IsVisible() && !IsLocked(); }
    float i_GetZoom() const;
    void i_Measure();
    void i_ZoomAt(int steps, Vec2<int> point);

    void i_Start(Action action, unsigned button);
    void i_Press();
    void i_StartLink(const GuiNodeHit& hit);
    void i_Follow();
    void i_FollowMove(Vec2<int> by);
    void i_FollowFrame();
    void i_FollowHover();
    void i_FinishPress();
    void i_FinishLink(const GuiNodeHit& hit);
    void i_RemoveLink(const GuiNodeLink& link);
    void i_Cancel();
    void i_Stop();

    bool i_PressCommand(unsigned key);
    bool i_PressArrow(unsigned key);
    void i_PressLinkKey(unsigned key);
    bool i_PressPinKey(unsigned key);
    void i_SelectTowards(Vec2<int> by);
    void i_Show(const GuiNode& node);
    void i_GoToPin(GuiNodeHit::Part part, int pin);
    void i_StartKeyLink();
    void i_ChooseTarget(int step);
    void i_UnlinkPin();
    void i_DeleteSelection();
    void i_MoveSelection(Vec2<int> by);

    GuiRecti i_GetFrame() const;
    bool i_IsTarget(const GuiNodeHit& hit) const;
    GuiNodeLink i_LinkTo(const GuiNodeHit& hit) const;
    void i_AddSelectionChange(const std::vector<GuiNodeId>& before);
    void i_Tell();
    void i_TellOf(GuiNodeListener& listener, const Change& change);

    GuiRecti i_ToScreenRect(const GuiRecti& rect) const;
    int i_GetTextFont() const;
    void i_DrawGrid();
    void i_DrawLinks();
    bool i_DrawCurve(Vec2<int> from, Vec2<int> to, Color color);
    void i_DrawNode(const GuiNode& node);
    void i_DrawPins(const GuiNode& node, bool areInputs);
    void i_DrawPin(Vec2<int> place, const GuiNodeHit& pin, bool isLinked);
    void i_DrawLooseLink();

    GuiNodeGraph m_graph;
    std::shared_ptr<GuiNodeWidget*> m_self;
    std::shared_ptr<GuiNodeListener*> m_listener;
    std::vector<Change> m_changes; // that the listener will hear of

    Action m_action = Action::None;
    unsigned m_button = 0; // that began it
    Vec2<int> m_startMouse;
    Vec2<int> m_lastMouse;
    unsigned m_startModifiers = 0;
    unsigned m_lastModifiers = 0;
    GuiNodeView m_startView;
    Vec2<int> m_frameStart; // in the graph
    GuiNodeId m_pressed = 0;
    bool m_deselects = false; // when it comes up without having moved
    std::vector<GuiNodeId> m_selectionBefore;
    std::vector<std::pair<GuiNodeId, Vec2<int>>> m_moved; // and where they were
    LooseLink m_link;
    GuiNodeHit m_hot;         // under the mouse, or where the keyboard is
    GuiNodeHit m_pin;         // where the keyboard is; part `None`: among the nodes
    bool m_isKeyLink = false; // linking from there
    std::vector<GuiNodeHit> m_targets;
    int m_target = 0; // of these

    int m_measuredFont = -1;
    GuiRecti m_seen; // of the widget, by the last picture
    Vec2<int> m_drawn;
    std::vector<GuiNodeId> m_found;
    std::string m_shortened;
};
} // namespace gui
