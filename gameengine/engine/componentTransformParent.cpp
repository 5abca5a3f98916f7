#include "gameengine/engine/componentTransformParent.h"

#include "tamradeps/core/log.h"

#include <algorithm>
#include <unordered_set>

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
        if (parent == this || i_IsFollowedBy(parent))
        {
            tamra::log::Error("ComponentTransformParent: a transform cannot follow itself");
            return;
        }
        std::erase_if(m_links, [](const auto& link) { return !link->IsAlive(); });
        m_current = m_links.emplace_back(std::make_unique<Link>(*this, *parent)).get();
    }
    else
    {
        m_current = nullptr;
    }
    i_Rebuild();
}

ComponentTransform* ComponentTransformParent::GetParent() const noexcept
{
    return m_current && m_current->IsAlive() ? m_current->source : nullptr;
}

bool ComponentTransformParent::i_IsFollowedBy(const ComponentTransform* other)
{
    // Whoever follows listens. Spares the walk for all that hangs new transforms below old ones.
    if (!HasEvents() || Events().Empty())
        return false;
    // Upwards from the other, to each transform once: former parents count as well.
    std::vector<const ComponentTransform*> pending{other};
    std::unordered_set<const ComponentTransform*> seen;
    while (!pending.empty())
    {
        const auto* next = dynamic_cast<const ComponentTransformParent*>(pending.back());
        pending.pop_back();
        if (next == this)
            return true;
        if (!next || !seen.insert(next).second)
            continue;
        for (const auto& link : next->m_links)
        {
            if (link->IsAlive())
                pending.push_back(link->source);
        }
    }
    return false;
}

void ComponentTransformParent::i_Rebuild()
{
    ComponentTransform* const parent = GetParent();
    m_transform = parent ? parent->GetTransform() * m_selfTransform : m_selfTransform;
    i_TransformChanged(m_transform);
}
