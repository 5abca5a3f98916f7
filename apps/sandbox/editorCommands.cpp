#include "apps/sandbox/editorCommands.h"

#include "apps/sandbox/editorProperties.h"
#include "gameengine/engine/componentTransform.h"
#include "tamradeps/core/tools.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <utility>

namespace
{
constexpr std::size_t kMaxListed = 20;
constexpr float kMaxSide = 2000.0F; // metres of what is spawned
constexpr float kMaxPlace = 1.0e6F; // metres from the origin
constexpr float kPlaceDistance = 150.0F;
constexpr float kMostDistance = 2000.0F; // of what is spawned

std::string_view TakeWord(std::string_view& text)
{
    text = Tools_StringTrim(text);
    const std::string_view word = text.substr(0, text.find(' '));
    text.remove_prefix(word.size());
    text = Tools_StringTrim(text);
    return word;
}

// As many numbers as the text is made of; none when anything in it is not one.
std::vector<float> GetNumbers(std::string_view text)
{
    std::vector<float> numbers;
    while (!Tools_StringTrim(text).empty())
    {
        const std::string_view word = TakeWord(text);
        float number = 0.0F;
        const auto result = std::from_chars(word.data(), word.data() + word.size(), number);
        if (result.ec != std::errc{} || result.ptr != word.data() + word.size() || !(std::abs(number) <= kMaxPlace))
            return {};
        numbers.push_back(number);
    }
    return numbers;
}
} // namespace

CEditorCommands::CEditorCommands(CEditorTown& town, CGuiConsole& console, std::function<std::string()> getFigures)
    : m_town(town),
      m_console(console),
      m_getFigures(std::move(getFigures))
{
    i_Add("spawn", &CEditorCommands::i_Spawn,
          "spawn [WIDTH DEPTH HEIGHT] [NAME]: a building where the view's middle is");
    i_Add("delete", &CEditorCommands::i_Delete, "delete [NUMBER]: takes the selected entity away, or that one");
    i_Add("goto", &CEditorCommands::i_GoTo, "goto PLACE, or goto X Y [Z]: flies there and selects the place");
    i_Add("resize", &CEditorCommands::i_Resize, "resize WIDTH DEPTH HEIGHT: of the selected entity, which stays below");
    i_Add("undo", &CEditorCommands::i_Undo, "undo: takes the last edit back");
    i_Add("redo", &CEditorCommands::i_Redo, "redo: does again what was taken back");
    i_Add("save", &CEditorCommands::i_Save, "save: writes what was changed to the scene file");
    i_Add("load", &CEditorCommands::i_Load, "load: reads the scene file anew; what was not saved is gone");
    i_Add("culler", &CEditorCommands::i_Culler, "culler [none|bruteforce|tree|software|gpu]: who culls");
    i_Add("stat", &CEditorCommands::i_Stat, "stat: what the last frames cost");
    i_Add("ent.list", &CEditorCommands::i_List, "ent.list [TEXT]: entities whose names have the text in them");
    i_Add("ent.get", &CEditorCommands::i_Get, "ent.get [NUMBER] [PROPERTY]: properties of it, or of the selected one");
    i_Add("ent.set", &CEditorCommands::i_Set, "ent.set [NUMBER] PROPERTY VALUE: changes a property");
}

CEditorCommands::~CEditorCommands()
{
    for (const std::string& name : m_names)
        m_console.RemoveHandler(name);
}

void CEditorCommands::i_Add(const char* name, void (CEditorCommands::*command)(const std::string&), const char* help)
{
    m_console.AddHandler(
        name, [this, command](const std::string&, const std::string& arguments) { (this->*command)(arguments); }, help);
    m_names.emplace_back(name);
}

// The entity whose number comes first, which is taken off, or the selected one. Null, with a message, for none.
CEntity* CEditorCommands::i_TakeEntity(std::string_view& arguments)
{
    std::string_view rest = arguments;
    const std::string_view word = TakeWord(rest);
    int number = -1;
    const auto result = std::from_chars(word.data(), word.data() + word.size(), number);
    if (word.empty() || result.ec != std::errc{} || result.ptr != word.data() + word.size())
    {
        if (!m_town.GetSelected())
            i_Say("No entity is selected.");
        return m_town.GetSelected();
    }
    arguments = rest;
    CEntity* entity = m_town.Get(number);
    if (!entity)
        i_Say("There is no entity " + std::to_string(number) + ".");
    return entity;
}

void CEditorCommands::i_Spawn(const std::string& arguments)
{
    std::string_view name = arguments;
    CVector3 size(20, 20, 60);
    std::string_view rest = arguments;
    std::string_view words[3];
    for (std::string_view& word : words)
        word = TakeWord(rest);
    const auto numbers = GetNumbers(std::string(words[0]) + " " + std::string(words[1]) + " " + std::string(words[2]));
    if (numbers.size() == 3)
    {
        size = {numbers[0], numbers[1], numbers[2]};
        name = rest;
    }
    if (!i_IsSize(size))
        return;
    if (!Tools_IsValidUtf8(name))
    {
        i_Say("That is no name.");
        return;
    }
    // Also right after a "goto", before there is a picture of it.
    const TownViewpoint& view = m_town.GetViewpoint();
    float distance = 0.0F;
    m_town.Cast(view.eye, view.direction, distance);
    const CVector3 place = view.eye + view.direction * std::min(distance, kMostDistance);
    CEntity* entity = m_town.Spawn(std::string(Tools_StringTrim(name)), size,
                                   {place.x, place.y, distance > kMostDistance ? 0.0F : place.z});
    i_Say("New: " + m_town.GetLabel(m_town.GetNumber(*entity)));
}

bool CEditorCommands::i_IsSize(CVector3 size)
{
    const bool isGood = std::min({size.x, size.y, size.z}) > 0.0F && std::max({size.x, size.y, size.z}) <= kMaxSide;
    if (!isGood)
        i_Say("Sides are more than 0 and at most 2000 metres.");
    return isGood;
}

void CEditorCommands::i_Resize(const std::string& arguments)
{
    CEntity* entity = m_town.GetSelected();
    const auto numbers = GetNumbers(arguments);
    if (!entity || numbers.size() != 3)
    {
        i_Say(entity ? "Three sides are needed." : "No entity is selected.");
        return;
    }
    const CVector3 size(numbers[0], numbers[1], numbers[2]);
    if (!i_IsSize(size))
        return;
    CMatrix place = entity->Find<ComponentTransform>()->GetTransform();
    const CVector3 up = place.GetLocalZ().Normalized();
    const CVector3 middle = place.Translation() + up * ((size.z - place.GetLocalZ().Length()) * 0.5F);
    place.SetLocalX(place.GetLocalX().Normalized() * size.x);
    place.SetLocalY(place.GetLocalY().Normalized() * size.y);
    place.SetLocalZ(up * size.z);
    place.SetTranslation(middle);
    i_Say(m_town.SetPlace(*entity, place) ? "Resized: " + m_town.GetLabel(m_town.GetNumber(*entity)) : "Not resized.");
    m_town.EndEdit();
}

void CEditorCommands::i_Undo(const std::string&)
{
    m_town.EndEdit();
    i_Say(m_town.Undo() ? "Undone." : "There is nothing to undo.");
}

void CEditorCommands::i_Redo(const std::string&)
{
    m_town.EndEdit();
    i_Say(m_town.Redo() ? "Redone." : "There is nothing to redo.");
}

void CEditorCommands::i_Delete(const std::string& arguments)
{
    std::string_view rest = arguments;
    CEntity* entity = i_TakeEntity(rest);
    if (!entity)
        return;
    const std::string label = m_town.GetLabel(m_town.GetNumber(*entity));
    if (m_town.Delete(entity))
        i_Say("Deleted: " + label);
}

void CEditorCommands::i_GoTo(const std::string& arguments)
{
    const auto numbers = GetNumbers(arguments);
    if (numbers.size() == 2 || numbers.size() == 3)
    {
        m_town.GoTo({numbers[0], numbers[1], numbers.size() == 3 ? numbers[2] : 0.0F}, kPlaceDistance);
        return;
    }
    CEntity* entity = m_town.FindPlace(arguments);
    if (!entity)
    {
        i_Say("There is no such place.");
        return;
    }
    m_town.Select(entity);
    m_town.GoTo(*entity);
    i_Say(m_town.GetLabel(m_town.GetNumber(*entity)));
}

void CEditorCommands::i_Save(const std::string&)
{
    i_Say(m_town.Save() ? "Saved: " + std::to_string(m_town.GetSavedCount()) + " entities." : "Not saved.");
}

void CEditorCommands::i_Load(const std::string&)
{
    i_Say(m_town.Reload() ? "Loaded: " + std::to_string(m_town.GetModel().GetEntities().size()) + " entities."
                          : "Not loaded.");
}

void CEditorCommands::i_Culler(const std::string& arguments)
{
    if (!arguments.empty())
    {
        const auto culler = FindTownCuller(Tools_StringTrim(arguments));
        if (!culler)
        {
            i_Say("There is no such culler.");
            return;
        }
        m_town.GetViewer().SetCuller(*culler);
    }
    i_Say("culler " + std::string(GetTownCullerName(m_town.GetViewer().GetCuller())));
}

void CEditorCommands::i_Stat(const std::string&)
{
    i_Say(m_getFigures());
}

void CEditorCommands::i_List(const std::string& arguments)
{
    const std::vector<int> numbers = m_town.Find(arguments);
    for (std::size_t i = 0; i < std::min(numbers.size(), kMaxListed); ++i)
        i_Say(m_town.GetLabel(numbers[i]));
    if (numbers.size() > kMaxListed)
        i_Say("and " + std::to_string(numbers.size() - kMaxListed) + " more");
    else if (numbers.empty())
        i_Say("There is none.");
}

void CEditorCommands::i_Get(const std::string& arguments)
{
    std::string_view rest = arguments;
    const CEntity* entity = i_TakeEntity(rest);
    if (!entity)
        return;
    rest = Tools_StringTrim(rest);
    if (rest.empty())
    {
        for (const EditorProperty& property : CollectProperties(*entity))
            i_Say(std::string(property.record.name) + ": " + FormatProperty(property.record));
        return;
    }
    const auto property = TakeProperty(*entity, rest);
    i_Say(property ? std::string(property->record.name) + ": " + FormatProperty(property->record)
                   : "It has no such property.");
}

void CEditorCommands::i_Set(const std::string& arguments)
{
    std::string_view rest = arguments;
    CEntity* entity = i_TakeEntity(rest);
    if (!entity)
        return;
    rest = Tools_StringTrim(rest);
    auto property = TakeProperty(*entity, rest);
    if (!property)
    {
        i_Say("It has no such property.");
        return;
    }
    const std::string text(rest);
    CEntityComponentProperty value = property->record;
    if (!ParseProperty(text, value))
    {
        i_Say("That is no value of it.");
        return;
    }
    m_town.EndEdit();
    m_town.Set(*entity, *property, value);
    m_town.EndEdit();
    if (ReadProperty(*entity, *property))
        i_Say(std::string(property->record.name) + ": " + FormatProperty(property->record));
}
