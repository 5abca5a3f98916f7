#include "tools/sceneTools/townEntity.h"

#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentTransformDirect.h"

#include <array>

namespace
{
constexpr std::array<std::string_view, kTownKindCount> kWords = {"", "building", "street", "park", "water", "place"};
constexpr float kUnitBox[6] = {-0.5F, -0.5F, -0.5F, 0.5F, 0.5F, 0.5F};
} // namespace

std::string_view GetTownKindWord(TownKind kind)
{
    return kWords[static_cast<std::size_t>(kind)];
}

CMatrix TownBox::GetMatrix() const noexcept
{
    CMatrix matrix;
    matrix.SetLocalX({directionX * size.x, directionY * size.x, 0.0F});
    matrix.SetLocalY({-directionY * size.y, directionX * size.y, 0.0F});
    matrix.SetLocalZ({0.0F, 0.0F, size.z});
    matrix.SetTranslation(centre);
    return matrix;
}

RefPtr<CEntity> CreateTownEntity(const TownBox& box, CInterfaceCollection* scene)
{
    RefPtr<CEntity> entity = new CEntity(scene);
    entity->LockComponentList();
    auto* data = static_cast<ComponentEditorData*>(ComponentEditorData::CreateComponent(entity.Get()));
    auto* transform = static_cast<ComponentTransform*>(ComponentTransformDirect::CreateComponent(entity.Get()));
    entity->UnlockComponentList();

    std::string name(GetTownKindWord(box.kind));
    if (!box.name.empty())
        name.append(" ").append(box.name);
    data->SetData(name.c_str());
    transform->SetTransform(box.GetMatrix());
    transform->SetUntransformedBoundingBox(kUnitBox);
    return entity;
}

void PrepareTownEntity(CEntity& entity)
{
    if (GetTownKind(entity) == TownKind::None)
        return;
    if (auto* transform = entity.Find<ComponentTransform>())
        transform->SetUntransformedBoundingBox(kUnitBox);
}

TownKind GetTownKind(std::string_view entityName)
{
    const std::string_view word = entityName.substr(0, entityName.find(' '));
    for (std::size_t i = 1; i < kWords.size(); ++i)
    {
        if (word == kWords[i])
            return static_cast<TownKind>(i);
    }
    return TownKind::None;
}

TownKind GetTownKind(const CEntity& entity)
{
    const auto* data = entity.Find<ComponentEditorData>();
    return data ? GetTownKind(std::string_view(data->GetData())) : TownKind::None;
}

std::string_view GetTownName(const CEntity& entity)
{
    const TownKind kind = GetTownKind(entity);
    if (kind == TownKind::None)
        return {};
    const std::string_view name = entity.Find<ComponentEditorData>()->GetData();
    const std::size_t wordLength = GetTownKindWord(kind).size();
    return name.size() > wordLength ? name.substr(wordLength + 1) : std::string_view{};
}
