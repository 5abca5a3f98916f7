#include "gameengine/engine/componentTransformParent.h"

#include "tamradeps/core/log.h"

#include <algorithm>

TAMRA_COMPONENT_IMPLEMENT(ComponentTransformParent, CEntityComponentRepository);

// Follows one transform.
struct ComponentTransformParent::Link
{
    Link(ComponentTransformParent& child, ComponentTransform& followed)
        : source(&followed),
          subscription(
              [&child](const EventMessage& message)
              {
                  if (message.id == kBoundsChanged)
                      child.i_Rebuild();
              })
    {
        subscription.Subscribe(followed.Events());
    }

    bool IsAlive() const noexcept { return subscription.GetHandler() != nullptr; }

    ComponentTransform* source;
    CEventSubscription subscription;
};

ComponentTransformParent::ComponentTransformParent(CEntity* entity) : ComponentTransform(entity)
{
    i_Register(REPOSITORY(), this);
}

ComponentTransformParent::ComponentTransformParent(const ComponentTransformParent& other)
    : ComponentTransform(other),
      m_selfTransform(other.m_selfTransform),
      m_transform(other.m_transform)
{
}

ComponentTransformParent& ComponentTransformParent::operator=(const ComponentTransformParent& other)
{
    ComponentTransform::operator=(other);
    m_selfTransform = other.m_selfTransform;
    m_transform = other.m_transform;
    return *this;
}

ComponentTransformParent::~ComponentTransformParent()
{
    i_Unregister(REPOSITORY(), this);
}

void ComponentTransformParent::Copy(CEntityComponent* source)
{
    auto* other = dynamic_cast<ComponentTransformParent*>(source);
    if (!other)
        return;
    CEntityComponent::Copy(source);
    i_CopyBox(*other);
    SetTransform(other->m_selfTransform);
}

void ComponentTransformParent::SetTransform(const CMatrix& matrix)
{
    m_selfTransform = matrix;
    i_Rebuild();
}

const CMatrix& ComponentTransformParent::GetTransform()
{
    return m_transform;
}

void ComponentTransformParent::SetParent(ComponentTransform* parent)
{
    if (parent)
    {
        const auto* follower = dynamic_cast<const ComponentTransformParent*>(parent);
        if (parent == this || (follower && follower->i_Follows(this)))
        {
            tamra::log::Error("ComponentTransformParent: a transform cannot follow itself");
            return;
        }
        std::erase_if(m_links, [](const auto& link) { return !link->IsAlive(); });
        m_links.push_back(std::make_unique<Link>(*this, *parent));
    }
    m_current = parent ? m_links.back().get() : nullptr;
    i_Rebuild();
}

ComponentTransform* ComponentTransformParent::GetParent() const noexcept
{
    return m_current && m_current->IsAlive() ? m_current->source : nullptr;
}

bool ComponentTransformParent::i_Follows(const ComponentTransform* other) const
{
    return std::any_of(m_links.begin(), m_links.end(),
                       [other](const auto& link)
                       {
                           if (!link->IsAlive())
                               return false;
                           const auto* next = dynamic_cast<const ComponentTransformParent*>(link->source);
                           return link->source == other || (next && next->i_Follows(other));
                       });
}

void ComponentTransformParent::i_Rebuild()
{
    ComponentTransform* const parent = GetParent();
    m_transform = parent ? parent->GetTransform() * m_selfTransform : m_selfTransform;
    i_TransformChanged(m_transform);
}
