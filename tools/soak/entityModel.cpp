#include "tools/soak/entityModel.h"

#include "gameengine/engine/componentTransformParent.h"

#include <cmath>
#include <iterator>
#include <type_traits>

namespace soak
{
namespace
{
constexpr const char* kNoChoices[] = {nullptr};

void ChangeColor(float* rgba, CRandom& random)
{
    for (int i = 0; i < 4; ++i)
        rgba[i] = random.Between(0.0F, 2.0F);
}

void AppendProperty(std::string& out, const CEntityComponentProperty& property)
{
    using Property = CEntityComponentProperty;
    float floats[4] = {};
    out.append(property.name).push_back('\0');
    AppendBytes(out, property.kind);
    switch (property.kind)
    {
    case Property::kInt:
    case Property::kChoice: AppendBytes(out, property.GetInt()); break;
    case Property::kFloat: AppendBytes(out, property.GetFloat()); break;
    case Property::kVector3:
    case Property::kColor:
        property.ReadFloats(floats);
        AppendBytes(out, floats);
        break;
    default: out.append(property.GetText()).push_back('\0'); break;
    }
}

void AppendTransform(std::string& out, bool isFollower, const CMatrix& world)
{
    out.append(isFollower ? "ComponentTransformParent" : "ComponentTransformDirect").push_back('\0');
    out.append(reinterpret_cast<const char*>(world.GetElements()), 16 * sizeof(float));
}
} // namespace

void NameModel::Fill(int, CEntityComponentProperty& out) const
{
    out.SetText("Editor Name", text.c_str());
}

void NameModel::Change(int, CRandom& random)
{
    text = MakeText(random);
}

void CameraModel::Fill(int property, CEntityComponentProperty& out) const
{
    static constexpr const char* kNames[] = {"FOV", "Near Distance", "Far Distance"};
    out.SetFloat(kNames[property], values[property]);
}

void CameraModel::Change(int property, CRandom& random)
{
    values[property] = property == 0 ? random.Between(20.0F, 120.0F) : random.Between(0.1F, 2000.0F);
}

void LightModel::Fill(int property, CEntityComponentProperty& out) const
{
    switch (property)
    {
    case 0: out.SetChoice("Light Type", type, kNoChoices); break;
    case 1: out.SetChoice("Shadowed", isShadowed ? 1 : 0, kNoChoices); break;
    case 2: out.SetFloat("Range", range); break;
    case 3: out.SetColor("Color", color); break;
    case 4: out.SetFloat("Shadow Bias", bias); break;
    case 5: out.SetFloat("Spot cone size", cone); break;
    case 6: out.SetFloat("Spot cone falloff", falloff); break;
    default: out.SetVector3("Shadow Resolution", resolution[0], resolution[1], 0.0F); break;
    }
}

void LightModel::Change(int property, CRandom& random)
{
    // Openings whose tangent, of half the number as it stands, is positive and moderate.
    static constexpr float kCones[] = {7.0F, 20.0F, 45.0F, 90.0F};
    switch (property)
    {
    case 0: type = random.Below(3); break;
    case 1: isShadowed = random.OneIn(2); break;
    case 2: range = random.Between(1.0F, 60.0F); break;
    case 3: ChangeColor(color, random); break;
    case 4: bias = random.Between(0.0F, 0.01F); break;
    case 5: cone = kCones[random.Below(std::size(kCones))]; break;
    case 6: falloff = random.Between(0.0F, 4.0F); break;
    default:
        resolution[0] = static_cast<float>(64 << random.Below(5));
        resolution[1] = static_cast<float>(64 << random.Below(5));
        break;
    }
}

collision::PrimAABB LightModel::GetBox() const
{
    if (type == static_cast<std::int32_t>(ComponentLightType::Spot))
    {
        const float half = std::tan(cone * 0.5F) * range;
        return {{0.0F, -half, -half}, {range, half, half}};
    }
    const float half = range * 0.6666667F;
    return {{-half, -half, -half}, {half, half, half}};
}

void SettingsModel::Fill(int property, CEntityComponentProperty& out) const
{
    switch (property)
    {
    case 0: out.SetColor("Clear Color", clear); break;
    case 1: out.SetColor("Ambient Color", ambient); break;
    case 2: out.SetChoice("Fog", hasFog ? 1 : 0, kNoChoices); break;
    default: out.SetVector3("Fog Near/Far", fog[0], fog[1], 0.0F); break;
    }
}

void SettingsModel::Change(int property, CRandom& random)
{
    switch (property)
    {
    case 0: ChangeColor(clear, random); break;
    case 1: ChangeColor(ambient, random); break;
    case 2: hasFog = random.OneIn(2); break;
    default:
        fog[0] = random.Between(0.0F, 100.0F);
        fog[1] = random.Between(100.0F, 5000.0F);
        break;
    }
}

void ShadowModel::Fill(int, CEntityComponentProperty& out) const
{
    out.SetChoice("Shadow Mode", mode, kNoChoices);
}

void ShadowModel::Change(int, CRandom& random)
{
    mode = random.Below(2);
}

int EntityModel::CountComponents() const
{
    int count = transform ? 1 : 0;
    VisitParts(*this, [&count](const auto& part) { count += part ? 1 : 0; });
    return count;
}

EntityModel MakeStored(const EntityModel& model)
{
    EntityModel stored = model;
    if (stored.transform)
    {
        stored.transform = TransformModel();
        stored.transform->isFollower = model.transform->isFollower;
        stored.transform->self = stored.transform->world = model.transform->world;
    }
    return stored;
}

std::string Encode(const EntityModel& model)
{
    std::string out;
    if (model.transform)
        AppendTransform(out, model.transform->isFollower, model.transform->world);
    VisitParts(model,
               [&out](const auto& part)
               {
                   using Part = typename std::remove_cvref_t<decltype(part)>::value_type;
                   if (!part)
                       return;
                   AppendBytes(out, Part::Component::TYPEID());
                   for (int i = 0; i < Part::kProperties; ++i)
                   {
                       CEntityComponentProperty property;
                       part->Fill(i, property);
                       AppendProperty(out, property);
                   }
               });
    return out;
}

std::string Encode(const CEntity& entity)
{
    std::string out;
    if (auto* transform = entity.Find<ComponentTransform>())
        AppendTransform(out, dynamic_cast<ComponentTransformParent*>(transform) != nullptr, transform->GetTransform());
    const EntityModel parts;
    VisitParts(parts,
               [&out, &entity](const auto& part)
               {
                   using Part = typename std::remove_cvref_t<decltype(part)>::value_type;
                   auto* const component = entity.Find<typename Part::Component>();
                   if (!component)
                       return;
                   AppendBytes(out, Part::Component::TYPEID());
                   CEntityComponentProperty property;
                   for (int i = 0; component->GetProperty(i, &property); ++i)
                       AppendProperty(out, property);
               });
    return out;
}

std::string MakeText(CRandom& random)
{
    static constexpr const char* kPieces[] = {"a",  "B",  "7", " ", "'", "\"", ";",
                                              "\\", "\n", "ü", "€", "ж", "\t", "--"};
    std::string text;
    for (int i = random.Below(random.OneIn(10) ? 300 : 12); i > 0; --i)
        text += kPieces[random.Below(std::size(kPieces))];
    return text;
}

CVector3 MakePoint(CRandom& random, float reach)
{
    // Braces: arguments in parentheses are evaluated in any order.
    return CVector3{random.Between(-reach, reach), random.Between(-reach, reach), random.Between(-reach, reach)};
}

CMatrix MakeMatrix(CRandom& random, float reach)
{
    CMatrix matrix;
    const CVector3 angles = MakePoint(random, 3.0F);
    matrix.RotateEuler(angles.x, angles.y, angles.z);
    const float scale = random.OneIn(2) ? 1.0F : random.Between(0.7F, 1.0F);
    matrix.Scale3(scale, scale, scale);
    matrix.SetTranslation(MakePoint(random, reach));
    return matrix;
}
} // namespace soak
