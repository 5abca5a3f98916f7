#pragma once

#include "gameengine/engine/componentAlwaysVisible.h"
#include "gameengine/engine/componentCamera.h"
#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentLight.h"
#include "gameengine/engine/componentRenderSettings.h"
#include "gameengine/engine/componentShadowCaster.h"
#include "gameengine/engine/entity.h"
#include "tamradeps/collision/primAABB.h"
#include "tamradeps/math/matrix.h"
#include "tools/soak/random.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace soak
{
/// The number of an entity in the model, from 1; 0 for none.
using Id = int;

// What components must hold, part by part. `Fill` gives a property as the component must, `Change` makes up another
// value for it.

struct NameModel
{
    using Component = ComponentEditorData;
    static constexpr int kProperties = 1;
    void Fill(int property, CEntityComponentProperty& out) const;
    void Change(int property, CRandom& random);

    std::string text;
};

struct AlwaysVisibleModel
{
    using Component = ComponentAlwaysVisible;
    static constexpr int kProperties = 0;
    void Fill(int, CEntityComponentProperty&) const {}
    void Change(int, CRandom&) {}
};

struct CameraModel
{
    using Component = ComponentCamera;
    static constexpr int kProperties = 3;
    void Fill(int property, CEntityComponentProperty& out) const;
    void Change(int property, CRandom& random);

    float values[3] = {70.0F, 1.0F, 1000.0F}; // angle, near, far
};

struct LightModel
{
    using Component = ComponentLight;
    static constexpr int kProperties = 8;
    void Fill(int property, CEntityComponentProperty& out) const;
    void Change(int property, CRandom& random);
    /// Whether it gives its transform a box, and which.
    bool HasBox() const noexcept { return type != static_cast<std::int32_t>(ComponentLightType::Directional); }
    collision::PrimAABB GetBox() const;

    std::int32_t type = 0;
    bool isShadowed = false;
    float range = 32.0F;
    float color[4] = {1.0F, 1.0F, 1.0F, 1.0F};
    float bias = 0.0001F;
    float cone = 45.0F;
    float falloff = 1.0F;
    float resolution[2] = {256.0F, 256.0F};
};

struct SettingsModel
{
    using Component = ComponentRenderSettings;
    static constexpr int kProperties = 4;
    void Fill(int property, CEntityComponentProperty& out) const;
    void Change(int property, CRandom& random);

    float clear[4] = {};
    float ambient[4] = {};
    bool hasFog = false;
    float fog[2] = {};
};

struct ShadowModel
{
    using Component = ComponentShadowCaster;
    static constexpr int kProperties = 1;
    void Fill(int property, CEntityComponentProperty& out) const;
    void Change(int property, CRandom& random);

    std::int32_t mode = 0;
};

struct TransformModel
{
    bool isFollower = false; ///< A `ComponentTransformParent`.
    CMatrix self;
    CMatrix world;
    collision::PrimAABB local;
    Id parent = 0;           ///< The one set last, while it lives.
    std::vector<Id> follows; ///< Every one that was set and lives.

    collision::PrimAABB GetBox() const
    {
        collision::PrimAABB box;
        box.TransformAABB(local, world);
        return box;
    }
};

struct EntityModel
{
    std::optional<TransformModel> transform;
    std::optional<NameModel> name;
    std::optional<AlwaysVisibleModel> alwaysVisible;
    std::optional<CameraModel> camera;
    std::optional<LightModel> light;
    std::optional<SettingsModel> settings;
    std::optional<ShadowModel> shadow;

    CVector3 GetPosition() const { return transform ? transform->world.Translation() : CVector3(); }
    bool HasLightBox() const { return transform && light && light->HasBox(); }
    int CountComponents() const;
};

/// Calls back with each part but the transform.
template <class Model, class Visit>
void VisitParts(Model& model, Visit&& visit)
{
    visit(model.name);
    visit(model.alwaysVisible);
    visit(model.camera);
    visit(model.light);
    visit(model.settings);
    visit(model.shadow);
}

/// What a file keeps of an entity: neither box nor parent.
EntityModel MakeStored(const EntityModel& model);

/// All that is saved of an entity, as bytes to compare: of the model, and of the real one.
std::string Encode(const EntityModel& model);
std::string Encode(const CEntity& entity);

/// Numbers and texts one after the other.
template <class Value>
void AppendBytes(std::string& out, const Value& value)
{
    out.append(reinterpret_cast<const char*>(&value), sizeof(value));
}

/// A text that a user might type, or none would.
std::string MakeText(CRandom& random);
/// Within `reach` of the origin on each axis.
CVector3 MakePoint(CRandom& random, float reach);
/// Turned, no larger than 1, and within `reach` of the origin on each axis.
CMatrix MakeMatrix(CRandom& random, float reach);
} // namespace soak
