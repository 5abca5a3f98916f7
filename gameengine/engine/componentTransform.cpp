#include "gameengine/engine/componentTransform.h"

#include "tamradeps/udb/udbGroup.h"

#include <cmath>

namespace
{
constexpr float kDegreesPerRadian = 57.2957795F;
constexpr const char* kElementKeys[16] = {"m11", "m12", "m13", "m14", "m21", "m22", "m23", "m24",
                                          "m31", "m32", "m33", "m34", "m41", "m42", "m43", "m44"};

CMatrix WithRotation(const CMatrix& matrix, const float* degrees)
{
    const float lengths[3] = {matrix.GetLocalX().Length(), matrix.GetLocalY().Length(), matrix.GetLocalZ().Length()};
    const CVector3 translation = matrix.Translation();
    CMatrix result(matrix);
    result.Identity(1.0F);
    result.RotateEuler(degrees[0] / kDegreesPerRadian, degrees[1] / kDegreesPerRadian, degrees[2] / kDegreesPerRadian);
    result.SetLocalX(result.GetLocalX() * lengths[0]);
    result.SetLocalY(result.GetLocalY() * lengths[1]);
    result.SetLocalZ(result.GetLocalZ() * lengths[2]);
    result.SetTranslation(translation);
    return result;
}
} // namespace

TAMRA_COMPONENT_REPOSITORY_IMPLEMENT(ComponentTransform, CEntityComponentRepositoryFast);

ComponentTransform::ComponentTransform(CEntity* entity) : CEntityComponent(TYPEID(), entity)
{
    i_Register(REPOSITORY(), this);
}

ComponentTransform::~ComponentTransform()
{
    i_DropListeners();
    i_Unregister(REPOSITORY(), this);
}

const char* ComponentTransform::GetTypeString()
{
    return "ComponentTransform";
}

const char* ComponentTransform::GetTypeString() const
{
    return "ComponentTransform";
}

CEntityComponentProperty* ComponentTransform::GetProperty(int index, CEntityComponentProperty* out)
{
    const CMatrix& matrix = GetTransform();
    switch (index)
    {
    case 0:
    {
        const CVector3 translation = matrix.Translation();
        out->SetVector3("Translation", translation.x, translation.y, translation.z);
        return out;
    }
    case 1:
    {
        const CVector3 angles = matrix.GetEuler() * kDegreesPerRadian;
        out->SetVector3("Rotation", angles.x, angles.y, angles.z);
        return out;
    }
    case 2: out->SetFloat("Scale", matrix.GetLocalX().Length()); return out;
    default: return nullptr;
    }
}

void ComponentTransform::SetProperty(int index, CEntityComponentProperty* in)
{
    CMatrix matrix(GetTransform());
    float values[3] = {};
    switch (index)
    {
    case 0:
        if (!in->ReadVector3(values))
            return;
        matrix.SetTranslation({values[0], values[1], values[2]});
        break;
    case 1:
        if (!in->ReadVector3(values))
            return;
        matrix = WithRotation(matrix, values);
        break;
    case 2:
    {
        const float factor = in->GetFloat() / matrix.GetLocalX().Length();
        if (in->kind != CEntityComponentProperty::kFloat || !std::isfinite(factor))
            return;
        matrix.Scale3(factor, factor, factor);
        break;
    }
    default: return;
    }
    SetTransform(matrix);
}

void ComponentTransform::SerializerSave(UDBGroup& group)
{
    const float* elements = GetTransform().GetElements();
    for (int i = 0; i < 16; ++i)
        group.AddNumber(kElementKeys[i], static_cast<double>(elements[i]));
}

void ComponentTransform::SerializerLoad(UDBGroup& group)
{
    CMatrix matrix;
    for (int i = 0; i < 16; ++i)
    {
        double value = 0.0;
        if (group.FindNumber(kElementKeys[i], &value))
            matrix.GetElements()[i] = static_cast<float>(value);
    }
    SetTransform(matrix);
}

void ComponentTransform::Copy(CEntityComponent* source)
{
    auto* other = dynamic_cast<ComponentTransform*>(source);
    if (!other)
        return;
    CEntityComponent::Copy(source);
    i_CopyBox(*other);
    SetTransform(other->GetTransform());
}

void ComponentTransform::i_CopyBox(const ComponentTransform& source) noexcept
{
    m_untransformed = source.m_untransformed;
}

void ComponentTransform::SetTransform(const CMatrix&) {}

const CMatrix& ComponentTransform::GetTransform()
{
    static const CMatrix identity;
    return identity;
}

void ComponentTransform::SetUntransformedBoundingBox(const float* box)
{
    m_untransformed = collision::PrimAABB(box);
    i_UpdateBbox();
}

void ComponentTransform::i_UpdateBbox()
{
    m_bounds.TransformAABB(m_untransformed, GetTransform());
    if (HasEvents())
        i_RaiseEvent(kBoundsChanged, variant(0));
}

void ComponentTransform::i_TellListeners(const CMatrix& world)
{
    CEventHandler& events = Events();
    const variant self(this, "CEntityComponent");
    if (!events.Raise(kTransformChanged, self, variant(&world, "CMatrix")))
        return;
    m_bounds.TransformAABB(m_untransformed, world);
    events.Raise(kBoundsChanged, self, variant(0));
}
