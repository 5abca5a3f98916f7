// [includes]
#include "tutorial/townFile.h"

#include "gameengine/engine/componentLight.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "gameengine/engine/entityArraySaveLoadSqliteDB.h"
#include "gameengine/engine/scene.h"
#include "tutorial/componentBlock.h"

#include <cstdint>
// [includes end]

namespace
{
// [scatter]
// A fixed number from 0 to 1 for each number.
float Scatter(int number)
{
    std::uint32_t bits = static_cast<std::uint32_t>(number) * 2654435761U;
    bits = (bits ^ bits >> 15) * 2246822519U;
    return static_cast<float>(bits >> 8) / 16777216.0F;
}
// [scatter end]

// [entities]
template <class Component>
Component* Make(CEntity& entity)
{
    return static_cast<Component*>(Component::CreateComponent(&entity));
}

void AddBlock(CScene& scene, int x, int y)
{
    const int number = y * kBlocks + x;
    const float width = 20.0F + 8.0F * Scatter(number);
    const float height = 8.0F + 70.0F * Scatter(number + 5000) * Scatter(number + 9000);
    CMatrix matrix;
    matrix.Scale3(width, width, height);
    matrix.SetTranslation(
        {(static_cast<float>(x) + 0.5F) * kSpacing, (static_cast<float>(y) + 0.5F) * kSpacing, height * 0.5F});

    RefPtr<CEntity> entity(new CEntity(scene.GetInterfaces()));
    entity->LockComponentList();
    Make<ComponentTransformDirect>(*entity)->SetTransform(matrix);
    const float shade = 0.35F + 0.3F * Scatter(number + 700);
    Make<ComponentBlock>(*entity)->SetColor(shade, shade * (0.78F + 0.2F * Scatter(number + 40)), shade * 0.72F);
    entity->UnlockComponentList();
    scene.GetArray().Add(entity.Get());
}

void AddLamp(CScene& scene, int x, int y)
{
    CMatrix matrix;
    matrix.SetTranslation({static_cast<float>(x) * kSpacing, static_cast<float>(y) * kSpacing, 6.0F});
    RefPtr<CEntity> entity(new CEntity(scene.GetInterfaces()));
    entity->LockComponentList();
    Make<ComponentTransformDirect>(*entity)->SetTransform(matrix);
    auto* light = Make<ComponentLight>(*entity);
    const float color[4] = {2.4F, 1.7F, 0.8F, 1.0F};
    light->SetLightColor(color);
    light->SetRange(30.0F);
    entity->UnlockComponentList();
    scene.GetArray().Add(entity.Get());
}
// [entities end]
} // namespace

// [save]
bool BuildTown(const std::string& path)
{
    CScene scene;
    for (int y = 0; y < kBlocks; ++y)
    {
        for (int x = 0; x < kBlocks; ++x)
        {
            AddBlock(scene, x, y);
            if (x % 2 == 0 && y % 2 == 0)
                AddLamp(scene, x, y);
        }
    }
    CEntityArray_SaveLoad_SqliteDB store(path.c_str(), scene.GetInterfaces());
    return store.CreateEmpty() && store.Save();
}
// [save end]
