#include "apps/sandbox/editorHistory.h"

#include "apps/sandbox/editorProperties.h"
#include "gameengine/engine/entityComponent.h"
#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "tamradeps/udb/udbDatabase.h"
#include "tamradeps/udb/udbGroup.h"
#include "tamradeps/udb/udbReadWriteBinary.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace
{
const char* GetType(const CEntityComponent& component)
{
    return component.GetTypeString();
}

CEntityComponent* FindComponent(const CEntity& entity, std::string_view type)
{
    for (int i = 0; i < entity.GetComponentCount(); ++i)
    {
        if (GetType(*entity.GetComponent(i)) == type)
            return entity.GetComponent(i);
    }
    return nullptr;
}

std::vector<std::string> GetValues(CEntityComponent& component)
{
    std::vector<std::string> values;
    CEntityComponentProperty record;
    for (int i = 0; component.GetProperty(i, &record); ++i)
    {
        values.push_back(FormatProperty(record));
        record = {};
    }
    return values;
}

// What saved data left as it was: those of types that save less than they tell.
void RestoreValues(CEntityComponent& component, const std::vector<std::string>& values)
{
    CEntityComponentProperty record;
    for (int i = 0; i < static_cast<int>(values.size()) && component.GetProperty(i, &record); ++i)
    {
        const std::string& value = values[static_cast<std::size_t>(i)];
        if (FormatProperty(record) != value && ParseProperty(value, record))
            component.SetProperty(i, &record);
        record = {};
    }
    component.FinalizeProperties();
}
} // namespace

CEntitySnapshot::CEntitySnapshot(const CEntity& entity)
{
    UDBDatabase database;
    const UDBReadWriteBinary writer;
    for (int i = 0; i < entity.GetComponentCount(); ++i)
    {
        CEntityComponent& component = *entity.GetComponent(i);
        UDBGroup* group = database.AllocateGroup();
        component.SerializerSave(*group);
        Part& part = m_parts.emplace_back();
        part.type = GetType(component);
        if (group->GetEntryCount() > 0)
            writer.Write(*group, part.data);
        part.values = GetValues(component);
    }
    // Components that come back do so at the end of the list.
    std::ranges::sort(m_parts, {}, &Part::type);
}

const CEntitySnapshot::Part* CEntitySnapshot::i_Find(const char* type) const
{
    const auto found = std::ranges::find(m_parts, type, &Part::type);
    return found == m_parts.end() ? nullptr : &*found;
}

void CEntitySnapshot::i_RestoreList(CEntity& entity) const
{
    const auto isMissing = [&entity](const Part& part) { return !FindComponent(entity, part.type); };
    std::vector<CEntityComponent*> superfluous;
    for (int i = 0; i < entity.GetComponentCount(); ++i)
    {
        if (!i_Find(GetType(*entity.GetComponent(i))))
            superfluous.push_back(entity.GetComponent(i));
    }
    if (superfluous.empty() && std::ranges::none_of(m_parts, isMissing))
        return;
    entity.LockComponentList();
    for (CEntityComponent* component : superfluous)
    {
        entity.RemoveComponent(component);
        delete component;
    }
    auto& types = CEntityComponentTypeDatabase::Instance();
    for (const Part& part : m_parts)
    {
        const int type = isMissing(part) ? types.FindByName(part.type.c_str()) : -1;
        if (type >= 0)
            types.Create(type, &entity);
    }
    entity.UnlockComponentList();
}

void CEntitySnapshot::Restore(CEntity& entity) const
{
    i_RestoreList(entity);
    UDBDatabase database;
    const UDBReadWriteBinary reader;
    for (const Part& part : m_parts)
    {
        CEntityComponent* component = FindComponent(entity, part.type);
        if (!component)
            continue;
        UDBGroup* group = database.AllocateGroup();
        if (!part.data.empty() && reader.Read(part.data.data(), part.data.size(), *group))
            component->SerializerLoad(*group);
        RestoreValues(*component, part.values);
    }
}

void CEditorHistory::Begin(CEntity& entity, const std::string& what, unsigned content)
{
    if (m_isOpen && m_edits.back().entity.Get() == &entity && m_edits.back().what == what)
        return;
    Close(content);
    Edit edit;
    edit.entity = &entity;
    edit.what = what;
    edit.before = {.isThere = true, .entity = CEntitySnapshot(entity), .content = content};
    edit.after = edit.before;
    Add(std::move(edit));
    m_isOpen = true;
}

void CEditorHistory::End(unsigned content)
{
    if (!m_isOpen)
        return;
    Edit& edit = m_edits.back();
    edit.after = {.isThere = true, .entity = CEntitySnapshot(*edit.entity), .content = content};
}

void CEditorHistory::Add(Edit edit)
{
    m_edits.resize(m_position);
    m_edits.push_back(std::move(edit));
    if (m_edits.size() > kMaxEdits)
        m_edits.pop_front();
    m_position = m_edits.size();
    m_isOpen = false;
}

bool CEditorHistory::Close(unsigned& content)
{
    if (!std::exchange(m_isOpen, false) || m_edits.back().before.entity != m_edits.back().after.entity)
        return false;
    content = m_edits.back().before.content;
    m_edits.pop_back();
    m_position = m_edits.size();
    return true;
}

void CEditorHistory::Clear()
{
    m_edits.clear();
    m_position = 0;
    m_isOpen = false;
}

const CEditorHistory::Edit* CEditorHistory::Undo()
{
    m_isOpen = false;
    return CanUndo() ? &m_edits[--m_position] : nullptr;
}

const CEditorHistory::Edit* CEditorHistory::Redo()
{
    m_isOpen = false;
    return CanRedo() ? &m_edits[m_position++] : nullptr;
}
