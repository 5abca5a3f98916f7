#include "apps/sandbox/editorPropertyRows.h"

#include "gameengine/gui/draw2D/font.h"
#include "gameengine/gui/draw2D/latin1.h"
#include "gameengine/gui/guiWidget/guiButton.h"
#include "gameengine/gui/guiWidget/guiDropList.h"
#include "gameengine/gui/guiWidget/guiGroupBox.h"
#include "gameengine/gui/guiWidget/guiLabel.h"
#include "gameengine/gui/guiWidget/guiStyle.h"

#include <algorithm>
#include <cmath>
#include <utility>

using namespace gui;
using Property = CEntityComponentProperty;

namespace
{
constexpr int kControlHeight = 22;
constexpr int kRowHeight = kControlHeight + 8;
constexpr int kTitleHeight = 22;
constexpr int kNameWidth = 120;
constexpr int kButtonWidth = 72;
constexpr float kMost = 1.0e6F;
constexpr float kStep = 0.1F;

// "ComponentTransformDirect" as "Transform Direct".
std::string GetTitle(std::string_view component)
{
    if (component.starts_with("Component"))
        component.remove_prefix(9);
    std::string title;
    for (const char c : component)
    {
        if (c >= 'A' && c <= 'Z' && !title.empty() && title.back() >= 'a' && title.back() <= 'z')
            title.push_back(' ');
        title.push_back(c);
    }
    return title;
}

// So many digits as there is room for; an edit starts from what is seen.
float ToShown(float value)
{
    const float size = std::abs(value);
    const float scale = size < 0.01F ? 1.0e6F : (size < 1000.0F ? 1000.0F : (size < 10000.0F ? 100.0F : 10.0F));
    return size < kMost ? std::round(value * scale) / scale : value;
}

/// A list without padding in which the wheel turns a scroll bar.
class RowList final : public GuiList
{
public:
    RowList(GuiListV& parent, GuiScrollBar* bar)
        : GuiList(parent.GetContext(), parent.GetStyle(), {}, GuiSizePolicy::Expand(), true),
          m_bar(bar)
    {
    }
    GuiWidgetType GetType() const override { return GuiWidgetType::ListV; }
    const char* GetTypeString() const override { return "EDITOR_ROWS"; }
    GuiRecti GetContainingRect() const override { return GetRect(); }
    void OnMouseClick(unsigned button) override
    {
        if (m_bar && m_bar->IsVisible() && (button == kGuiMouseWheelUp || button == kGuiMouseWheelDown))
            m_bar->SetValue(m_bar->GetValue() + (button == kGuiMouseWheelUp ? -kNotch : kNotch));
        else
            GuiList::OnMouseClick(button);
    }

private:
    static constexpr float kNotch = 2.0F * kRowHeight;
    GuiScrollBar* m_bar;
};

EditorColor GetColor(const Property& record)
{
    EditorColor color{};
    record.ReadFloats(color.data());
    return color;
}
} // namespace

CEditorPropertyRows::CEditorPropertyRows(CEditorTown& town, CEditorColorPicker& picker, GuiListV& list,
                                         GuiScrollBar* bar)
    : m_town(town),
      m_picker(picker),
      m_list(static_cast<GuiList&>(*list.AddChild(std::make_unique<RowList>(list, bar)))),
      m_bar(bar)
{
    m_list.SetCallback(this);
    if (m_bar)
        m_bar->SetVisible(false);
}

void CEditorPropertyRows::Show(CEntity* entity, const std::string& component)
{
    for (const Row& row : m_rows)
        row.widget->DestroySelf();
    m_rows.clear();
    m_entity = entity;
    if (m_bar)
        m_bar->SetValue(0.0F);
    if (!entity)
        return;
    int shown = -1;
    for (const EditorProperty& property : CollectProperties(*entity))
    {
        if (!component.empty() && property.componentName != component)
            continue;
        if (property.component != shown && component.empty())
            i_AddTitle(property.componentName);
        shown = property.component;
        i_AddProperty(property);
    }
    m_shownRevision = m_town.GetValueRevision();
}

void CEditorPropertyRows::i_AddTitle(const std::string& component)
{
    auto label = std::make_unique<GuiLabel>(m_list.GetContext(), m_list.GetStyle(), GuiRecti(0, 0, 60, kTitleHeight),
                                            GuiSizePolicy(7, 0));
    label->SetText(GetTitle(component));
    label->SetId(component);
    label->SetAlign(GuiAlign::Near, GuiAlign::Far);
    Row& row = m_rows.emplace_back();
    row.isTitle = true;
    row.widget = m_list.AddChild(std::move(label));
}

void CEditorPropertyRows::i_AddProperty(const EditorProperty& property)
{
    auto made = std::make_unique<GuiListH>(m_list.GetContext(), m_list.GetStyle(), GuiRecti(0, 0, 60, kRowHeight),
                                           GuiSizePolicy(7, 0));
    auto& list = static_cast<GuiListH&>(*m_list.AddChild(std::move(made)));
    Row& row = m_rows.emplace_back();
    row.widget = &list;
    row.property = property;
    auto* name = i_Add<GuiLabel>(list, "", kNameWidth);
    name->SetSizePolicy(GuiSizePolicy::Fixed());
    name->SetText(property.record.name);
    i_AddControls(list, row);
    i_ShowValue(row, true);
}

template <class Widget>
Widget* CEditorPropertyRows::i_Add(GuiListH& list, const std::string& id, int width)
{
    auto made = std::make_unique<Widget>(list.GetContext(), list.GetStyle(), GuiRecti(0, 0, width, kControlHeight),
                                         GuiSizePolicy(7, 0));
    made->SetId(id);
    return static_cast<Widget*>(list.AddChild(std::move(made)));
}

void CEditorPropertyRows::i_AddControls(GuiListH& list, Row& row)
{
    const Property& record = row.property.record;
    const std::string id = row.property.componentName + "." + record.name;
    const auto addSpinner = [&](const std::string& name, bool isWhole)
    {
        auto* spinner = i_Add<GuiSpinner>(list, name, 60);
        spinner->SetRange(-kMost, kMost);
        spinner->SetWhole(isWhole);
        spinner->SetStep(isWhole ? 1.0F : kStep);
        return spinner;
    };
    switch (record.kind)
    {
    case Property::kInt:
    case Property::kFloat: row.controls[0] = addSpinner(id, record.kind == Property::kInt); break;
    case Property::kVector3:
        for (std::size_t i = 0; i < 3; ++i)
            row.controls[i] = addSpinner(id + "." + "xyz"[i], false);
        break;
    case Property::kText:
    case Property::kFile: row.controls[0] = i_Add<GuiTextEditLine>(list, id, 60); break;
    case Property::kColor:
        row.controls[0] = i_Add<GuiButton>(list, id, kButtonWidth);
        static_cast<GuiButton*>(row.controls[0])->SetText("Change...");
        row.controls[1] = i_Add<GuiImage>(list, id + ".preview", 60);
        static_cast<GuiImage*>(row.controls[1])->SetName("textures/white.png");
        static_cast<GuiImage*>(row.controls[1])->SetKeepsAspect(false);
        break;
    case Property::kChoice:
        if (row.property.IsFlag())
        {
            row.controls[0] = i_Add<GuiCheckBox>(list, id, 60);
            break;
        }
        row.controls[0] = i_Add<GuiDropList>(list, id, 60);
        for (int i = 0; i < CountChoices(record); ++i)
            static_cast<GuiDropList*>(row.controls[0])->AddItem(ToLatin1(record.choices[i]));
        break;
    default: row.controls[0] = i_Add<GuiLabel>(list, id, 60); break;
    }
}

void CEditorPropertyRows::i_ShowValue(Row& row, bool isForced)
{
    Property& record = row.property.record;
    float values[4] = {};
    record.ReadFloats(values);
    switch (record.kind)
    {
    case Property::kInt:
        static_cast<GuiSpinner*>(row.controls[0])->SetValue(static_cast<float>(record.GetInt()));
        break;
    case Property::kFloat: static_cast<GuiSpinner*>(row.controls[0])->SetValue(ToShown(record.GetFloat())); break;
    case Property::kVector3:
        for (std::size_t i = 0; i < 3; ++i)
            static_cast<GuiSpinner*>(row.controls[i])->SetValue(ToShown(values[i]));
        break;
    case Property::kText:
    case Property::kFile:
    {
        auto* line = static_cast<GuiTextEditLine*>(row.controls[0]);
        const std::string text = ToLatin1(record.GetText());
        // What the line cannot show would be lost by an edit.
        line->SetFlags(ToUtf8(text) == record.GetText() ? 0U : static_cast<unsigned>(kTextReadOnly));
        if (isForced || m_list.GetContext().GetFocusWidget() != line)
            line->SetText(text);
        break;
    }
    case Property::kColor: static_cast<GuiImage*>(row.controls[1])->SetTint(ToGuiColor(GetColor(record))); break;
    case Property::kChoice:
        if (row.property.IsFlag())
        {
            static_cast<GuiCheckBox*>(row.controls[0])->SetChecked(record.GetInt() == 1);
            static_cast<GuiCheckBox*>(row.controls[0])->SetText(FormatProperty(record));
        }
        else
            static_cast<GuiDropList*>(row.controls[0])->SetSelected(record.GetInt());
        break;
    default: static_cast<GuiLabel*>(row.controls[0])->SetText(FormatProperty(record)); break;
    }
}

void CEditorPropertyRows::Update()
{
    if (m_entity && m_shownRevision != m_town.GetValueRevision())
    {
        m_shownRevision = m_town.GetValueRevision();
        const bool isForced = m_shownUndo != m_town.GetUndoRevision();
        m_shownUndo = m_town.GetUndoRevision();
        for (Row& row : m_rows)
        {
            if (!row.isTitle && ReadProperty(*m_entity, row.property))
                i_ShowValue(row, isForced);
        }
    }
    i_Place();
}

bool CEditorPropertyRows::OnGuiEvent(const char*, const GuiEvent& event)
{
    for (Row& row : m_rows)
    {
        const auto found = std::find(row.controls.begin(), row.controls.end(), event.source);
        if (event.source && found != row.controls.end() && ReadProperty(*m_entity, row.property))
        {
            i_Apply(row, static_cast<std::size_t>(found - row.controls.begin()), event);
            return true;
        }
    }
    return false;
}

void CEditorPropertyRows::i_Apply(Row& row, std::size_t control, const GuiEvent& event)
{
    Property value = row.property.record;
    std::string text; // lives until the value is set
    float values[4] = {};
    value.ReadFloats(values);
    if (event.type == GET_SPINNER_CHANGED && value.kind == Property::kVector3)
    {
        values[control] = event.GetFloat(0);
        value.SetVector3(value.name, values[0], values[1], values[2]);
    }
    else if (event.type == GET_SPINNER_CHANGED && value.kind == Property::kInt)
        value.SetInt(value.name, static_cast<int>(event.GetFloat(0)));
    else if (event.type == GET_SPINNER_CHANGED)
        value.SetFloat(value.name, event.GetFloat(0));
    else if (event.type == GET_CHECKBOX_CHANGED || event.type == GET_DROPLIST_CHANGED)
        value.SetChoice(value.name, event.GetInt(0), value.choices);
    else if (event.type == GET_TEXTEDIT_CHANGED)
    {
        text = ToUtf8(static_cast<GuiTextEditLine*>(row.controls[0])->GetText());
        value.SetText(value.name, text.c_str(), static_cast<Property::Kind>(value.kind));
    }
    else
    {
        if (event.type == GET_BUTTON_RELEASED && event.GetInt(0) == 1)
            i_OpenPicker(row);
        else if (event.type == GET_TEXTEDIT_RETURNPRESSED)
            m_town.EndEdit();
        return;
    }
    m_town.Set(*m_entity, row.property, value);
}

void CEditorPropertyRows::i_OpenPicker(Row& row)
{
    const EditorProperty property = row.property;
    m_picker.Open(property.record.name, GetColor(property.record),
                  [this, entity = m_entity, property](const EditorColor& color)
                  {
                      Property value;
                      value.SetColor(property.record.name, color.data());
                      m_town.Set(*entity, property, value);
                  });
}

int CEditorPropertyRows::i_GetHeight(const Row& row) const
{
    return (row.isTitle ? kTitleHeight : kRowHeight) + m_list.GetContext().GetStyleData(m_list.GetStyle()).spacing;
}

// Brings the row in focus into view, and those beside it: Tab finds only what is seen.
void CEditorPropertyRows::i_FollowFocus(int room)
{
    const GuiWidget* focus = m_list.GetContext().GetFocusWidget();
    if (focus == std::exchange(m_focus, focus) || !focus)
        return;
    int top = 0;
    int before = 0; // height of the row before
    for (std::size_t i = 0; i < m_rows.size(); ++i)
    {
        const int height = i_GetHeight(m_rows[i]);
        if (focus->IsWithin(*m_rows[i].widget))
        {
            const int next = i + 1 < m_rows.size() ? i_GetHeight(m_rows[i + 1]) : 0;
            const int title = i + 2 < m_rows.size() && m_rows[i + 1].isTitle ? i_GetHeight(m_rows[i + 2]) : 0;
            const int above = i > 1 && m_rows[i - 1].isTitle ? i_GetHeight(m_rows[i - 2]) : 0;
            const int shown = static_cast<int>(m_bar->GetValue());
            const int lowest = top + height + next + title - room;
            m_bar->SetValue(static_cast<float>(std::min(std::max(shown, lowest), top - before - above)));
            return;
        }
        top += height;
        before = height;
    }
}

// Rows that do not wholly fit are left out; the bar says from which one on.
void CEditorPropertyRows::i_Place()
{
    if (!m_bar)
        return;
    const int room = m_list.GetContainingRect().h;
    const int spacing = m_list.GetContext().GetStyleData(m_list.GetStyle()).spacing;
    int total = -spacing;
    for (const Row& row : m_rows)
        total += i_GetHeight(row);
    const bool needsBar = total > room;
    if (m_bar->IsVisible() != needsBar)
        m_bar->SetVisible(needsBar);
    // At its end the bar has what does not fit before it.
    const int length = std::max(total + m_bar->GetRect().h - room, 0);
    if (m_bar->GetContentLength() != length)
        m_bar->SetContentLength(length);
    if (needsBar)
        i_FollowFocus(room);
    const int skipped = needsBar ? static_cast<int>(m_bar->GetValue()) : 0;
    int before = 0;
    int shown = -spacing;
    for (Row& row : m_rows)
    {
        const int height = i_GetHeight(row);
        const bool isSeen = before >= skipped && (shown += height) <= room;
        before += height;
        if (row.widget->IsVisible() != isSeen)
            row.widget->SetVisible(isSeen);
    }
}
