#include "gameengine/gui/guiWidget/guiWidgetFile.h"

#include "gameengine/gui/guiWidget/guiButton.h"
#include "gameengine/gui/guiWidget/guiDropList.h"
#include "gameengine/gui/guiWidget/guiGroupBox.h"
#include "gameengine/gui/guiWidget/guiImage.h"
#include "gameengine/gui/guiWidget/guiLabel.h"
#include "gameengine/gui/guiWidget/guiList.h"
#include "gameengine/gui/guiWidget/guiListBox.h"
#include "gameengine/gui/guiWidget/guiNodeWidget.h"
#include "gameengine/gui/guiWidget/guiSlider.h"
#include "gameengine/gui/guiWidget/guiSpinner.h"
#include "gameengine/gui/guiWidget/guiStream.h"
#include "gameengine/gui/guiWidget/guiTextEdit.h"
#include "gameengine/gui/guiWidget/guiWindow.h"
#include "tamradeps/core/log.h"
#include "tamradeps/io/fileSystem.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <string_view>
#include <unordered_set>

namespace gui
{
namespace
{
constexpr std::size_t kMaxFileSize = std::size_t{64} << 20;
constexpr int kMaxFaults = 1000;
constexpr std::size_t kMaxWord = 60; // of a fault
constexpr std::string_view kBlanks = " \t\r\v\f";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

template <class Widget, auto... variant>
std::unique_ptr<GuiWidget> Make(GuiContext& context)
{
    return std::make_unique<Widget>(context, variant..., GuiStyle{});
}

struct Kind
{
    std::string_view keyword;
    std::unique_ptr<GuiWidget> (*make)(GuiContext&);
};

// A slider is no part of stored trees.
constexpr std::array kKinds{
    Kind{"GWT_LABEL", Make<GuiLabel>},
    Kind{"GWT_BUTTON", Make<GuiButton>},
    Kind{"GWT_CHECKBOX", Make<GuiCheckBox>},
    Kind{"GWT_RADIOBUTTON", Make<GuiRadioButton>},
    Kind{"GWT_SCROLLBAR_H", Make<GuiScrollBar, false>},
    Kind{"GWT_SCROLLBAR_V", Make<GuiScrollBar, true>},
    Kind{"GWT_TEXTEDIT_LINE", Make<GuiTextEditLine>},
    Kind{"GWT_TEXTEDIT_BOX", Make<GuiTextEditBox>},
    Kind{"GWT_SPINNER", Make<GuiSpinner>},
    Kind{"GWT_DROPLIST", Make<GuiDropList>},
    Kind{"GWT_SPACER_H", Make<GuiSpacer, false>},
    Kind{"GWT_SPACER_V", Make<GuiSpacer, true>},
    Kind{"GWT_FREELAYOUT", Make<GuiFreeLayout>},
    Kind{"GWT_LIST_H", Make<GuiListH>},
    Kind{"GWT_LIST_V", Make<GuiListV>},
    Kind{"GWT_LISTBOX", Make<GuiListBox>},
    Kind{"GWT_GROUPBOX", Make<GuiGroupBox>},
    Kind{"GWT_WINDOW", Make<GuiWindow>},
    Kind{"GWT_IMAGE", Make<GuiImage>},
    Kind{"GWT_NODEWIDGET", Make<GuiNodeWidget>},
};

// Reads the lines of one text.
class Reader : public NonCopyable
{
public:
    Reader(GuiWidget& target, GuiStream& stream, std::vector<GuiReadFault>* faults)
        : m_target(target),
          m_stream(stream),
          m_faults(faults)
    {
    }

    bool ReadAll();

private:
    void i_ReadLine();
    const char* i_Place(int depth, std::int32_t word);
    const char* i_CheckFieldCount();
    std::int32_t i_FindWord(std::int32_t from) const;
    void i_AddFault(const char* reason, bool leftOut);

    static constexpr int kNone = std::numeric_limits<int>::max();

    GuiWidget& m_target;
    GuiStream& m_stream;
    std::vector<GuiReadFault>* m_faults;
    std::int32_t m_lineStart = 0;
    int m_line = 0;
    int m_faultCount = 0;
    int m_lastDepth = -1;  // of the last widget that was placed
    int m_leftOut = kNone; // lines deeper than this belong to one that was left out
    bool m_begun = false;
    std::unordered_set<GuiLayout*> m_withRadios;
};

bool Reader::ReadAll()
{
    const std::string& data = m_stream.GetData();
    if (m_stream.GetDataPosition() == 0 && data.starts_with(kByteOrderMark))
        m_stream.SetDataPosition(static_cast<std::int32_t>(kByteOrderMark.size()));
    bool more = m_stream.GetDataPosition() < m_stream.GetReadEnd();
    for (m_line = 1; more && m_faultCount < kMaxFaults; ++m_line)
    {
        m_lineStart = m_stream.GetDataPosition();
        m_stream.BeginLine();
        i_ReadLine();
        more = m_stream.EndLine();
    }
    for (GuiLayout* const layout : m_withRadios)
        GuiRadioButton::KeepLastSelected(*layout);
    return m_faultCount == 0;
}

void Reader::i_ReadLine()
{
    const int depth = m_stream.ReadNumberOfTabs();
    const std::int32_t word = m_stream.GetDataPosition();
    m_stream.SetDataPosition(m_lineStart);
    m_stream.ClearFaults();
    if (i_FindWord(word) == m_stream.GetReadEnd() || depth > m_leftOut)
        return;
    m_leftOut = kNone;
    if (const char* reason = i_Place(depth, word))
    {
        m_leftOut = depth;
        m_stream.MarkFault(word);
        i_AddFault(reason, true);
    }
    else
    {
        m_lastDepth = depth;
        if (m_stream.GetFaultPosition() >= 0)
            i_AddFault("this is no value of its field", false);
    }
}

// Null, or why the line is left out.
const char* Reader::i_Place(int depth, std::int32_t word)
{
    if (depth >= GuiStream::kMaxDepth)
        return "nested too deeply";
    if (i_FindWord(word) != word)
        return "indented by something else than tabs";
    if (!m_begun)
    {
        // A tree may have been saved from the middle of another one.
        for (int above = 0; above < depth; ++above)
            m_stream.SetParent(above, &m_target);
        m_lastDepth = depth - 1;
        m_begun = true;
    }
    if (depth > m_lastDepth + 1)
        return "there is no line of the level above it";
    auto* const parent = dynamic_cast<GuiLayout*>(depth > 0 ? m_stream.GetParent(depth - 1) : &m_target);
    if (!parent)
        return "its parent takes no children";

    std::unique_ptr<GuiWidget> widget = CreateWidgetFromStream(m_target.GetContext(), m_stream);
    if (!widget)
        return "unknown type";
    const bool isRadio = widget->GetType() == GuiWidgetType::RadioButton;
    const char* reason = i_CheckFieldCount();
    if (!reason && !parent->AddChild(std::move(widget)))
        reason = "its parent takes no more children";
    if (reason)
        m_stream.SetParent(depth, nullptr);
    else if (isRadio)
        m_withRadios.insert(parent);
    return reason;
}

const char* Reader::i_CheckFieldCount()
{
    if (m_stream.HasReadPastEnd())
        return "fields are missing";
    const std::int32_t rest = i_FindWord(m_stream.GetDataPosition());
    if (rest == m_stream.GetReadEnd())
        return nullptr;
    m_stream.MarkFault(rest);
    return "there are more fields than the type has";
}

// Of the line, or its end.
std::int32_t Reader::i_FindWord(std::int32_t from) const
{
    const std::size_t found = m_stream.GetData().find_first_not_of(kBlanks, static_cast<std::size_t>(from));
    return static_cast<std::int32_t>(std::min(found, static_cast<std::size_t>(m_stream.GetReadEnd())));
}

void Reader::i_AddFault(const char* reason, bool leftOut)
{
    ++m_faultCount;
    if (!m_faults)
        return;
    const std::int32_t start = i_FindWord(m_stream.GetFaultPosition());
    const std::string_view line =
        std::string_view(m_stream.GetData()).substr(0, static_cast<std::size_t>(m_stream.GetReadEnd()));
    const std::string_view rest = line.substr(static_cast<std::size_t>(start));
    m_faults->push_back({m_line, start - m_lineStart + 1,
                         tamra::log::Quoted(rest.substr(0, rest.find_first_of(kBlanks)), kMaxWord), reason, leftOut});
}
} // namespace

std::unique_ptr<GuiWidget> CreateWidgetFromStream(GuiContext& context, GuiStream& stream)
{
    const std::int32_t start = stream.GetDataPosition();
    std::string word;
    const int depth = stream.ReadNumberOfTabs();
    const bool found = stream.ReadSimpleString(word);
    stream.SetDataPosition(start);
    if (!found)
        return nullptr;
    if (depth >= GuiStream::kMaxDepth)
    {
        tamra::log::Error("a widget of a stream is nested too deeply: \"" + tamra::log::Quoted(word) + "\"");
        return nullptr;
    }
    const auto kind = std::find_if(kKinds.begin(), kKinds.end(), [&](const Kind& k) { return k.keyword == word; });
    if (kind == kKinds.end())
    {
        std::printf("GUI CreateWidgetFromStream: Unknown type \"%s\"\n",
                    tamra::log::Quoted(word, GuiStream::kMaxWordLength).c_str());
        return nullptr;
    }
    std::unique_ptr<GuiWidget> widget = kind->make(context);
    widget->Load(stream);
    return widget;
}

bool ReadWidgets(GuiWidget& parent, GuiStream& stream, std::vector<GuiReadFault>* faults)
{
    return Reader(parent, stream, faults).ReadAll();
}

bool LoadWidgetFile(GuiWidget& parent, const std::string& name)
{
    std::vector<std::byte> content;
    if (!GetFileSystem().FileIn(name, content, kMaxFileSize))
        return false;
    GuiStream stream(reinterpret_cast<const char*>(content.data()), static_cast<std::int32_t>(content.size()));
    std::vector<GuiReadFault> faults;
    ReadWidgets(parent, stream, &faults);
    for (const GuiReadFault& fault : faults)
    {
        const std::string text = tamra::log::Quoted(name) + ":" + std::to_string(fault.line) + ":" +
                                 std::to_string(fault.column) + ": \"" + fault.word + "\": " + fault.reason;
        if (fault.leftOut)
            tamra::log::Error(text);
        else
            tamra::log::Warning(text);
    }
    return true;
}

bool WriteWidgets(GuiWidget& root, GuiStream& stream)
{
    int deepest = 0;
    IterateOverWidgets(
        root,
        [](GuiWidget& widget, void* user)
        {
            int& depth = *static_cast<int*>(user);
            depth = std::max(depth, widget.GetDepth());
        },
        &deepest);
    if (deepest >= GuiStream::kMaxDepth)
    {
        tamra::log::Error("a tree of widgets is nested too deeply to be stored: \"" + tamra::log::Quoted(root.GetId()) +
                          "\"");
        return false;
    }
    IterateOverWidgets(
        root, [](GuiWidget& widget, void* user) { widget.Save(*static_cast<GuiStream*>(user)); }, &stream);
    return true;
}

bool SaveWidgetFile(GuiWidget& root, const std::string& path)
{
    GuiStream stream;
    return WriteWidgets(root, stream) &&
           GetFileSystem().FileReplace(path, stream.GetData().data(), stream.GetData().size());
}
} // namespace gui
