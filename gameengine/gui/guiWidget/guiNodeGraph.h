#pragma once

#include "gameengine/export.h"
#include "gameengine/gui/guiWidget/guiTypes.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace gui
{
/// Names a node for as long as it lives; 0 names none.
using GuiNodeId = std::uint32_t;

/// From an output to an input. Pins count from 0, inputs and outputs apart.
struct GuiNodeLink
{
    GuiNodeId from = 0;
    int output = 0;
    GuiNodeId to = 0;
    int input = 0;

    friend bool operator==(const GuiNodeLink&, const GuiNodeLink&) = default;
};

/// A box with pins for links on both sides.
struct GuiNode
{
    GuiNodeId id = 0;
    int kind = 0; ///< Whatever the program makes of it; stored with the node.
    std::string title;
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;
    GuiRecti rect; ///< In the units of the graph, which are pixels when it is seen at 100 percent.
    bool isSelected = false;
    std::uint64_t order = 0; ///< Nodes with a greater one lie over those with a smaller one.
};

/// What lies at a point.
struct GuiNodeHit
{
    /// Of a node, or none.
    enum class Part
    {
        None,
        Body,
        Input,
        Output
    };
    Part part = Part::None;
    GuiNodeId node = 0;
    int pin = 0;

    friend bool operator==(const GuiNodeHit&, const GuiNodeHit&) = default;
};

/// Which part of a graph is seen.
struct GuiNodeView
{
    float x = 0.0F; ///< The graph's point in the upper left corner.
    float y = 0.0F;
    int percent = 100;

    friend bool operator==(const GuiNodeView&, const GuiNodeView&) = default;
};

/// Nodes with input and output pins, and links between these: what a `GuiNodeWidget` shows. An output may have any
/// number of links, an input has one at most. Nothing is drawn here.
///
/// Nodes are found by place through a grid, without visiting all of them. Adding a node costs its pins and cells of the
/// grid; moving or removing one its links too, and the nodes that lie in these cells, however many there are elsewhere.
///
/// The text of a graph is records with a semicolon between them, and their fields with one space between them:
///
///     v 0 -20 75;n 40 60 7 Texture uv,scale colour;n 300 80 0 Mix%20two a,b,t -;l 0 0 1 2
///
/// `v` is the view: its upper left corner, and percent; without it 0 0 100. `a`, alone, says that loops are refused.
/// `n` is a node: x, y, kind, title, inputs, outputs; the lowest one comes first. Names of pins have commas between
/// them, `-` stands for no pins. `l` is a link: node, output, node, input, all by number from 0. In titles and names
/// control characters, spaces and any of % , ; " \ are written as % and two hexadecimal digits in capitals, as is
/// a lone - of a list. An empty graph with the usual view is an empty text.
class TAMRAGAMEENGINE_API GuiNodeGraph : public NonCopyable
{
public:
    static constexpr std::size_t kMaxNodes = 10'000;
    static constexpr std::size_t kMaxPins = 256; ///< Of a node, inputs and outputs together.
    static constexpr std::size_t kMaxName = 255; ///< Bytes of a title or of a pin's name.
    static constexpr int kMaxPosition = 1'000'000;
    static constexpr int kMinPercent = 25;
    static constexpr int kMaxPercent = 200;

    static constexpr int kTitleHeight = 24;
    static constexpr int kRowHeight = 20; ///< Of a pin.
    static constexpr int kPinRadius = 5;
    static constexpr int kGrabRadius = 9; ///< Around the middle of a pin.

    /// The width of a text in pixels.
    using Measure = std::function<int(std::string_view text)>;
    /// Without a measure a character is 8 pixels wide.
    explicit GuiNodeGraph(Measure measure = {});

    /// A node over all others. 0 for one that is too much, or has too many pins or too long names. The position is kept
    /// within `kMaxPosition` of 0.
    GuiNodeId AddNode(std::string_view title, Vec2<int> position, const std::vector<std::string>& inputs,
                      const std::vector<std::string>& outputs, int kind = 0);
    /// With its links. False when there is none.
    bool RemoveNode(GuiNodeId id);
    void Clear();
    /// Null for none. Valid until a node is added or removed.
    const GuiNode* GetNode(GuiNodeId id) const;
    std::size_t GetNodeCount() const noexcept { return m_nodeCount; }
    /// From the lowest to the highest.
    std::vector<GuiNodeId> GetNodes() const;
    void SetPosition(GuiNodeId id, Vec2<int> position);
    /// Over all others.
    void Raise(GuiNodeId id);
    /// Finds the widths of all nodes anew, after the measure has changed.
    void MeasureAll();

    /// Where the middle of a pin lies; the node's corner for a pin that it does not have.
    Vec2<int> GetInputPlace(const GuiNode& node, int input) const;
    Vec2<int> GetOutputPlace(const GuiNode& node, int output) const;

    /// Whether both pins exist, the input is free (or `mayReplace`) and no loop would arise where those are refused.
    bool CanLink(const GuiNodeLink& link, bool mayReplace = false) const;
    /// False, and nothing is changed, where `CanLink` says so.
    bool AddLink(const GuiNodeLink& link);
    bool RemoveLink(const GuiNodeLink& link);
    /// The link that ends at an input; `from` is 0 for none.
    GuiNodeLink GetLinkTo(GuiNodeId id, int input) const;
    std::size_t GetLinkCount() const noexcept { return m_linkCount; }
    /// Those of one node, first the ones into it.
    std::vector<GuiNodeLink> GetLinksOf(GuiNodeId id) const;
    /// Calls `visit(const GuiNodeLink&, const GuiNode& from, const GuiNode& to)` for each. It must not change the
    /// graph.
    template <class Visit>
    void VisitLinks(Visit&& visit) const
    {
        for (const Slot& slot : m_slots)
        {
            for (const Target& target : slot.targets)
            {
                const Slot& to = m_slots[target.slot];
                visit(GuiNodeLink{slot.node.id, target.output, to.node.id, target.input}, slot.node, to.node);
            }
        }
    }
    bool RefusesLoops() const noexcept { return m_refusesLoops; }
    /// Loops that are there stay.
    void SetRefusesLoops(bool refuses) noexcept { m_refusesLoops = refuses; }
    /// The node and everything that its inputs depend on (`upstream`), or that depends on its outputs; sorted by id.
    std::vector<GuiNodeId> FindConnected(GuiNodeId id, bool upstream) const;

    void SetSelected(GuiNodeId id, bool selected);
    void SelectAll(bool selected);
    std::vector<GuiNodeId> GetSelection() const;
    std::size_t GetSelectedCount() const noexcept { return m_selectedCount; }

    /// Replaces `found` by the nodes that touch an area, pins included, from the lowest to the highest.
    void FindNodes(const GuiRecti& area, std::vector<GuiNodeId>& found) const;
    /// The highest node's part there.
    GuiNodeHit FindAt(Vec2<int> point) const;
    /// Nodes that the last call of the two above looked at.
    std::size_t GetVisitCount() const noexcept { return m_visitCount; }

    const GuiNodeView& GetView() const noexcept { return m_view; }
    /// Kept within `kMaxPosition` of 0 and the two percentages.
    void SetView(const GuiNodeView& view);

    std::string WriteText() const;
    /// Replaces everything, also the view and whether loops are refused. Answers how many records could not be used;
    /// they are left out, and `firstFault`, if given, becomes the first of them. The cost is that of the bytes.
    std::size_t ReadText(std::string_view text, std::string* firstFault = nullptr);

private:
    using SlotIndex = std::uint16_t;
    static constexpr SlotIndex kNoSlot = 0xFFFF;

    struct Source // of an input
    {
        SlotIndex slot = kNoSlot;
        int output = 0;
        std::uint32_t place = 0; // among the targets over there
    };
    struct Target
    {
        SlotIndex slot;
        int output;
        int input;
    };
    struct Cells // first and last, in x and y
    {
        int left = 0;
        int top = 0;
        int right = -1;
        int bottom = -1;

        friend bool operator==(const Cells&, const Cells&) = default;
    };
    struct Slot
    {
        GuiNode node; // its id is 0 while the slot is free
        std::vector<Source> sources;
        std::vector<Target> targets;
        Cells cells;
        std::uint16_t generation = 0;
        mutable std::uint32_t stamp = 0; // of the last search that came here
    };
    struct TextReader;

    Slot* i_Find(GuiNodeId id);
    const Slot* i_Find(GuiNodeId id) const;
    SlotIndex i_IndexOf(const Slot& slot) const { return static_cast<SlotIndex>(&slot - m_slots.data()); }
    bool i_HavePins(const GuiNodeLink& link) const;
    void i_Connect(const GuiNodeLink& link);
    void i_Disconnect(SlotIndex to, int input);
    std::size_t i_BreakLoops();
    int i_FindWidth(const GuiNode& node) const;
    void i_UpdateCells(Slot& slot);
    void i_LeaveCells(Slot& slot);
    static Cells i_CellsOf(const GuiRecti& area, int margin);
    std::uint32_t i_NewStamp() const;

    Measure m_measure;
    std::vector<Slot> m_slots;
    std::vector<SlotIndex> m_freeSlots;
    std::unordered_map<std::uint64_t, std::vector<SlotIndex>> m_cells;
    std::size_t m_nodeCount = 0;
    std::size_t m_linkCount = 0;
    std::size_t m_selectedCount = 0;
    std::uint64_t m_lastOrder = 0;
    GuiNodeView m_view;
    bool m_refusesLoops = false;
    mutable std::uint32_t m_stamp = 0;
    mutable std::size_t m_visitCount = 0;
};
} // namespace gui
