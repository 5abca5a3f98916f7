#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "gameengine/engine/entityArraySaveLoad.h"
#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "gameengine/engine/scene.h"

#include <cstdio>

int main()
{
    RegisterBuiltInComponents();
    {
        CScene scene;
        RefPtr<CEntity> tower(new CEntity(scene.GetInterfaces()));
        tower->LockComponentList();
        ComponentTransformDirect::CreateComponent(tower.Get());
        ComponentEditorData::CreateComponent(tower.Get());
        tower->UnlockComponentList();
        tower->Find<ComponentEditorData>()->SetData("Tower");
        scene.GetArray().Add(tower.Get());
        CEntityArray_SaveLoad::Save("town.mfs", scene.GetInterfaces());
    }
    CScene reloaded;
    CEntityArray_SaveLoad::Load("town.mfs", reloaded.GetInterfaces(), nullptr, nullptr);
    const CEntity* tower = reloaded.GetArray().Get(0);
    std::printf("%s is back\n", tower ? tower->Find<ComponentEditorData>()->GetData() : "Nothing");
    return tower ? 0 : 1;
}
