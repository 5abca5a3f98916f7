#include "gameengine/engine/entityComponentTypeDatabase.h"

#include "gameengine/engine/componentAlwaysVisible.h"
#include "gameengine/engine/componentCamera.h"
#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentLight.h"
#include "gameengine/engine/componentRenderSettings.h"
#include "gameengine/engine/componentShadowCaster.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "gameengine/engine/componentTransformParent.h"
#include "gameengine/engine/interfaceCollection.h"

#include <string_view>

CEntityComponentTypeDatabase& CEntityComponentTypeDatabase::Instance()
{
    static auto& instance = *new CEntityComponentTypeDatabase;
    return instance;
}

CEntityComponentTypeDatabase::CEntityComponentTypeDatabase()
{
    static auto& interfaces = *new RefPtr<CInterfaceCollection>(new CInterfaceCollection);
    m_prototypeOwner = new CEntity(interfaces.Get());
    // Open for good: prototypes come and go at any time.
    m_prototypeOwner->LockComponentList();
}

CEntityComponentTypeDatabase::~CEntityComponentTypeDatabase() = default;

const char* CEntityComponentTypeDatabase::GetTypeString()
{
    return "CEntityComponentTypeDatabase";
}

void CEntityComponentTypeDatabase::Add(const char* name, std::int32_t typeId, Factory factory)
{
    if (name && factory)
        m_entries.push_back({name, typeId, factory, nullptr});
}

void CEntityComponentTypeDatabase::Remove(int position)
{
    if (!i_IsValid(position))
        return;
    Entry& entry = m_entries[static_cast<std::size_t>(position)];
    CEntityComponent* const prototype = entry.prototype;
    if (&entry != &m_entries.back())
        entry = std::move(m_entries.back());
    m_entries.pop_back();
    m_lastFound = -1;
    // Last: its destructor may change the records.
    delete prototype;
}

const char* CEntityComponentTypeDatabase::GetName(int position) const noexcept
{
    return i_IsValid(position) ? m_entries[static_cast<std::size_t>(position)].name.c_str() : nullptr;
}

std::int32_t CEntityComponentTypeDatabase::GetTypeID(int position) const noexcept
{
    return i_IsValid(position) ? m_entries[static_cast<std::size_t>(position)].typeId : -1;
}

int CEntityComponentTypeDatabase::FindByName(const char* name) const noexcept
{
    if (!name)
        return -1;
    const std::string_view wanted(name);
    // Additions come behind it, so it stays the first of its name.
    if (i_IsValid(m_lastFound) && m_entries[static_cast<std::size_t>(m_lastFound)].name == wanted)
        return m_lastFound;
    for (int i = 0; i < GetCount(); ++i)
    {
        if (m_entries[static_cast<std::size_t>(i)].name == wanted)
            return m_lastFound = i;
    }
    return -1;
}

int CEntityComponentTypeDatabase::FindByType(std::int32_t typeId) const noexcept
{
    for (int i = 0; i < GetCount(); ++i)
    {
        if (m_entries[static_cast<std::size_t>(i)].typeId == typeId)
            return i;
    }
    return -1;
}

CEntityComponent* CEntityComponentTypeDatabase::Create(int position, CEntity* entity)
{
    return i_IsValid(position) ? m_entries[static_cast<std::size_t>(position)].factory(entity) : nullptr;
}

CEntityComponent* CEntityComponentTypeDatabase::GetComponent(int position)
{
    if (!i_IsValid(position))
        return nullptr;
    const auto i = static_cast<std::size_t>(position);
    if (!m_entries[i].prototype)
    {
        // The factory may add types, which moves the records.
        CEntityComponent* const made = m_entries[i].factory(m_prototypeOwner.Get());
        m_entries[i].prototype = made;
    }
    return m_entries[i].prototype;
}

void RegisterBuiltInComponents()
{
    auto& types = CEntityComponentTypeDatabase::Instance();
    const auto add = [&types]<class Component>(const char* name)
    {
        if (types.FindByName(name) < 0)
            types.Add(name, Component::TYPEID(), &Component::CreateComponent);
    };
    add.operator()<ComponentTransformDirect>("ComponentTransformDirect");
    add.operator()<ComponentTransformParent>("ComponentTransformParent");
    add.operator()<ComponentEditorData>("ComponentEditorData");
    add.operator()<ComponentAlwaysVisible>("ComponentAlwaysVisible");
    add.operator()<ComponentCamera>("ComponentCamera");
    add.operator()<ComponentLight>("ComponentLight");
    add.operator()<ComponentRenderSettings>("ComponentRenderSettings");
    add.operator()<ComponentShadowCaster>("ComponentShadowCaster");
}
