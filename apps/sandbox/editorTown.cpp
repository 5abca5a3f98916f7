#include "apps/sandbox/editorTown.h"

#include "apps/sandbox/editorProperties.h"
#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentTransform.h"
#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "tamradeps/core/log.h"
#include "tamradeps/core/tools.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace
{
constexpr std::size_t kHits = 64;

// Where a ray enters the unit box of a matrix; below 0 for nowhere.
float Enter(const CMatrix& matrix, CVector3 origin, CVector3 direction)
{
    const CMatrix inverse = matrix.Inverse();
    const CVector3 from = inverse.TransformPoint(origin);
    const CVector3 way = inverse.TransformDirection(direction);
    float enter = 0.0F;
    float leave = CEditorTown::kFarAway;
    for (const auto& [start, step] : {std::pair{from.x, way.x}, {from.y, way.y}, {from.z, way.z}})
    {
        if (step == 0.0F)
        {
            if (std::abs(start) > 0.5F)
                return -1.0F;
            continue;
        }
        const float a = (-0.5F - start) / step;
        const float b = (0.5F - start) / step;
        enter = std::max(enter, std::min(a, b));
        leave = std::min(leave, std::max(a, b));
    }
    return enter <= leave ? enter : -1.0F;
}

// What of a name is meant by a text: 3 all of it, 2 its beginning, 1 a part, 0 nothing. Both in small letters.
int Match(std::string_view name, std::string_view text)
{
    const std::size_t at = name.find(text);
    if (at == std::string_view::npos)
        return 0;
    return at > 0 ? 1 : (name.size() == text.size() ? 3 : 2);
}

// Without the word for its kind, if it has one.
std::string_view GetPlaceName(const CEntity& entity)
{
    const auto* data = entity.Find<ComponentEditorData>();
    return GetTownKind(entity) == TownKind::None && data ? data->GetData() : GetTownName(entity);
}
} // namespace

bool CEditorTown::Load(const std::string& path, int width, int height, TownCuller culler)
{
    auto model = std::make_unique<CTownModel>();
    if (!model->Load(path))
        return false;
    auto viewer = std::make_unique<CTownViewer>(m_renderer, *model);
    if (!viewer->Initialize(width, height, culler))
        return false;
    if (m_viewer)
    {
        viewer->GetDebug() = m_viewer->GetDebug();
        viewer->GetDebug().marked = -1;
    }
    else
        m_viewpoint = CTownPath(*model).GetFlight(0.0);
    m_selected = nullptr;
    m_history.Clear();
    m_query = std::make_unique<CEntityArray_SpatialQuery>(&model->GetTree());
    m_viewer = std::move(viewer); // before the model that it shows
    m_model = std::move(model);
    m_path = path;
    m_content = m_savedContent;
    ++m_listRevision;
    ++m_valueRevision;
    return true;
}

bool CEditorTown::Reload()
{
    const auto& target = m_viewer->GetTarget();
    return Load(m_path, target.GetWidth(), target.GetHeight(), m_viewer->GetCuller());
}

bool CEditorTown::Save()
{
    CEntityArray_SaveLoad_SqliteDB& store = m_model->GetStore();
    const auto before = store.GetCounters();
    if (!store.Save())
        return false;
    const auto& after = store.GetCounters();
    m_savedCount = static_cast<int>(after.inserted - before.inserted + after.updated - before.updated + after.deleted -
                                    before.deleted);
    EndEdit();
    m_savedContent = m_content;
    ++m_valueRevision;
    return true;
}

void CEditorTown::Select(CEntity* entity)
{
    m_selected = entity;
    i_Mark();
    ++m_valueRevision;
}

void CEditorTown::i_Mark()
{
    m_viewer->GetDebug().marked = m_selected ? m_model->GetNumber(m_selected.Get()) : -1;
}

// The viewer's own components can be changed too, but are not saved.
template <class Change>
void CEditorTown::i_Change(CEntity& entity, const std::string& what, const Change& change)
{
    m_history.Begin(entity, what, m_content);
    change();
    if (m_model->GetNumber(&entity) >= 0)
        m_content = ++m_lastContent;
    m_history.End(m_content);
    i_NoteChange(&entity);
}

void CEditorTown::i_NoteChange(CEntity* entity)
{
    ++m_valueRevision;
    if (const int number = m_model->GetNumber(entity); number >= 0)
        m_viewer->Update(number);
}

void CEditorTown::EndEdit()
{
    if (m_history.Close(m_content))
        ++m_valueRevision;
}

// Before it goes, after it has come.
void CEditorTown::i_NoteComing(CEntity* entity, const char* what, bool isThere)
{
    EndEdit();
    CEditorHistory::Edit edit;
    edit.entity = entity;
    edit.what = what;
    edit.number = m_model->GetNumber(entity);
    edit.seed = m_model->GetSeed(static_cast<std::size_t>(edit.number));
    edit.before = {.isThere = !isThere, .entity = CEntitySnapshot(*entity), .content = m_content};
    m_content = ++m_lastContent;
    edit.after = {.isThere = isThere, .entity = edit.before.entity, .content = m_content};
    m_history.Add(std::move(edit));
}

bool CEditorTown::i_Apply(const CEditorHistory::Edit* edit, bool isUndo)
{
    if (!edit)
        return false;
    const CEditorHistory::State& state = isUndo ? edit->before : edit->after;
    CEntity* entity = edit->entity.Get();
    const bool isViewer = entity == &m_model->GetViewer();
    const int number = m_model->GetNumber(entity);
    if (number >= 0 && !state.isThere)
        i_Remove(number);
    else if (number < 0 && state.isThere && !isViewer)
        m_viewer->Change([&] { m_model->Insert(entity, edit->number, edit->seed); });
    if (state.isThere)
        state.entity.Restore(*entity);
    m_content = state.content;
    ++m_listRevision;
    ++m_componentRevision;
    ++m_undoRevision;
    i_NoteChange(entity);
    if (state.isThere && !isViewer)
        Select(entity);
    i_Mark();
    return true;
}

CEntity* CEditorTown::Spawn(const std::string& name, CVector3 size, CVector3 place)
{
    TownBox box;
    box.kind = TownKind::Building;
    box.name = name;
    box.size = size;
    box.centre = {place.x, place.y, place.z + size.z * 0.5F};
    const RefPtr<CEntity> entity = CreateTownEntity(box, m_model->GetScene().GetInterfaces());
    m_viewer->Change([&] { m_model->Add(entity.Get()); });
    i_NoteComing(entity.Get(), "spawn", true);
    ++m_listRevision;
    Select(entity.Get());
    return entity.Get();
}

bool CEditorTown::Delete(CEntity* entity)
{
    const int number = entity ? m_model->GetNumber(entity) : -1;
    if (number < 0)
        return false;
    i_NoteComing(entity, "delete", false);
    i_Remove(number);
    ++m_listRevision;
    ++m_valueRevision;
    return true;
}

void CEditorTown::i_Remove(int number)
{
    if (m_selected.Get() == Get(number))
        m_selected = nullptr;
    m_viewer->Change([&] { m_model->Remove(number); });
    i_Mark();
}

bool CEditorTown::AddComponent(CEntity& entity, int type, std::string& fault)
{
    auto& types = CEntityComponentTypeDatabase::Instance();
    if (!types.GetName(type))
    {
        fault = "there is no such type";
        return false;
    }
    for (int i = 0; i < entity.GetComponentCount(); ++i)
    {
        if (entity.GetComponent(i)->GetType() == types.GetTypeID(type))
        {
            fault = "there is one already";
            return false;
        }
    }
    EndEdit();
    i_Change(entity, "add",
             [&]
             {
                 entity.LockComponentList();
                 types.Create(type, &entity);
                 entity.UnlockComponentList();
             });
    ++m_componentRevision;
    return true;
}

bool CEditorTown::RemoveComponent(CEntity& entity, int type, std::string& fault)
{
    const char* name = CEntityComponentTypeDatabase::Instance().GetName(type);
    CEntityComponent* component = nullptr;
    for (int i = 0; name && i < entity.GetComponentCount(); ++i)
    {
        if (std::string_view(std::as_const(*entity.GetComponent(i)).GetTypeString()) == name)
            component = entity.GetComponent(i);
    }
    if (!component || component->GetType() == ComponentTransform::TYPEID())
    {
        fault = component ? "what stands in the town needs a place" : "there is none";
        return false;
    }
    EndEdit();
    i_Change(entity, "remove",
             [&]
             {
                 entity.LockComponentList();
                 entity.RemoveComponent(component);
                 delete component;
                 entity.UnlockComponentList();
             });
    ++m_componentRevision;
    ++m_listRevision;
    return true;
}

bool CEditorTown::Set(CEntity& entity, const EditorProperty& property, CEntityComponentProperty& value)
{
    const CEntityComponent* component = entity.GetComponent(property.component);
    if (!component || component->GetTypeString() != property.componentName)
        return false;
    const std::string name = GetLabel(GetNumber(entity));
    i_Change(entity, property.componentName + "." + property.record.name,
             [&] { WriteProperty(entity, property, value); });
    if (GetLabel(GetNumber(entity)) != name)
        ++m_listRevision;
    return true;
}

void CEditorTown::Move(CEntity& entity, CVector3 place)
{
    for (EditorProperty& property : CollectProperties(entity))
    {
        if (property.record.kind != CEntityComponentProperty::kVector3 ||
            std::string_view(property.record.name) != "Translation")
            continue;
        CEntityComponentProperty value;
        value.SetVector3(property.record.name, place.x, place.y, place.z);
        Set(entity, property, value);
        return;
    }
    CMatrix matrix = entity.Find<ComponentTransform>()->GetTransform();
    matrix.SetTranslation(place);
    SetPlace(entity, matrix);
}

bool CEditorTown::SetPlace(CEntity& entity, const CMatrix& place)
{
    const float* elements = place.GetElements();
    const bool isFinite = std::all_of(elements, elements + 16, [](float element) { return std::isfinite(element); });
    const bool isBox =
        std::min({place.GetLocalX().Length(), place.GetLocalY().Length(), place.GetLocalZ().Length()}) > 0.0F;
    if (!isFinite || !isBox || GetNumber(entity) < 0)
        return false;
    i_Change(entity, "place", [&] { entity.Find<ComponentTransform>()->SetTransform(place); });
    return true;
}

CEntity* CEditorTown::Get(int number) const
{
    const auto entities = m_model->GetEntities();
    return number >= 0 && number < static_cast<int>(entities.size()) ? entities[static_cast<std::size_t>(number)]
                                                                     : nullptr;
}

std::string CEditorTown::GetLabel(int number) const
{
    const CEntity* entity = Get(number);
    const auto* data = entity ? entity->Find<ComponentEditorData>() : nullptr;
    return std::to_string(number) + "  " + (data ? data->GetData() : "");
}

std::vector<int> CEditorTown::Find(std::string_view text) const
{
    const std::string wanted = Tools_StringToLowercase(Tools_StringTrim(text));
    std::vector<int> numbers;
    for (int i = 0; i < static_cast<int>(m_model->GetEntities().size()); ++i)
    {
        if (Tools_StringToLowercase(GetLabel(i)).find(wanted) != std::string::npos)
            numbers.push_back(i);
    }
    return numbers;
}

CEntity* CEditorTown::FindPlace(std::string_view name) const
{
    const std::string wanted = Tools_StringToLowercase(Tools_StringTrim(name));
    CEntity* best = nullptr;
    std::pair<int, float> bestRank = {0, 0.0F};
    for (CEntity* entity : m_model->GetEntities())
    {
        const int match = Match(Tools_StringToLowercase(GetPlaceName(*entity)), wanted);
        const CVector3 size = entity->Find<ComponentTransform>()->GetBoundingBox().GetSize();
        const std::pair rank = {match, size.Length()};
        if (match > 0 && rank > bestRank)
        {
            best = entity;
            bestRank = rank;
        }
    }
    return wanted.empty() ? nullptr : best;
}

CEditorTown::Ray CEditorTown::GetRay(int x, int y) const
{
    const auto& target = m_viewer->GetTarget();
    const CMatrix inverse = m_viewer->GetProjectionView().Inverse();
    const float right = 2.0F * (static_cast<float>(x) + 0.5F) / static_cast<float>(target.GetWidth()) - 1.0F;
    const float up = 1.0F - 2.0F * (static_cast<float>(y) + 0.5F) / static_cast<float>(target.GetHeight());
    // A point of the far plane, of which the inverse gives homogeneous coordinates.
    const float* m = inverse.GetElements();
    const auto row = [&](int i) { return m[i] * right + m[i + 4] * up + m[i + 8] + m[i + 12]; };
    const CVector3 eye = m_model->GetEye();
    return {eye, (CVector3(row(0), row(1), row(2)) * (1.0F / row(3)) - eye).Normalized()};
}

CEntity* CEditorTown::Pick(int x, int y)
{
    const Ray ray = GetRay(x, y);
    float distance = 0.0F;
    return Cast(ray.origin, ray.direction, distance);
}

// The tree knows upright boxes; what is seen are turned ones.
CEntity* CEditorTown::Cast(CVector3 origin, CVector3 direction, float& distance)
{
    CEntity* nearest = nullptr;
    distance = direction.z < 0.0F ? std::clamp(origin.z / -direction.z, 0.0F, kFarAway) : kFarAway;
    for (CEntity* entity : m_query->AlongRay(origin, direction, kFarAway, kHits, m_hits))
    {
        const int number = m_model->GetNumber(entity);
        if (number < 0 || m_model->GetKind(static_cast<std::size_t>(number)) == TownKind::Place)
            continue;
        const float enter = Enter(entity->Find<ComponentTransform>()->GetTransform(), origin, direction);
        // Streets lie in the ground.
        if (enter >= 0.0F && enter <= distance + (nearest ? 0.0F : 1.0F))
        {
            nearest = entity;
            distance = enter;
        }
    }
    return nearest;
}

void CEditorTown::GoTo(const CEntity& entity)
{
    const collision::PrimAABB& box = entity.Find<ComponentTransform>()->GetBoundingBox();
    GoTo(box.GetCenter(), std::clamp(box.GetSize().Length() * 1.2F, 60.0F, 1500.0F));
}

void CEditorTown::GoTo(CVector3 place, float distance)
{
    const CVector3 direction = CVector3(0.55F, 0.55F, -0.63F).Normalized();
    m_viewpoint = {place - direction * distance, direction};
}
