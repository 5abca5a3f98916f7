#include "gameengine/engine/componentTransformDirect.h"
#include "gameengine/engine/componentTransformParent.h"
#include "support/allocations.h"
#include "support/expectations.h"
#include "support/sceneFixture.h"
#include "tamradeps/udb/udbGroup.h"

#include <cmath>
#include <numbers>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
using Direct = ComponentTransformDirect;
using Child = ComponentTransformParent;

CMatrix At(float x, float y, float z)
{
    CMatrix matrix;
    matrix.SetTranslation({x, y, z});
    return matrix;
}

class TransformTest : public testing::Test
{
protected:
    template <class Transform>
    Transform& Make()
    {
        m_entities.push_back(m_scene.Make<Transform>());
        return *m_entities.back()->template Find<Transform>();
    }
    // Deletes a transform as a game would.
    static void Destroy(ComponentTransform& transform)
    {
        const RefPtr<CEntity> entity(transform.GetEntity());
        entity->LockComponentList();
        delete &transform;
        entity->UnlockComponentList();
    }

    test::Scene m_scene;
    std::vector<RefPtr<CEntity>> m_entities;
    test::EventLog m_log;
};

TEST_F(TransformTest, EveryClassIsFoundAsATransform)
{
    ComponentTransform& direct = Make<Direct>();
    ComponentTransform& child = Make<Child>();
    for (ComponentTransform* transform : {&direct, &child})
    {
        const CEntity* entity = transform->GetEntity();
        EXPECT_EQ(entity->Find<ComponentTransform>(), transform);
        EXPECT_EQ(transform->GetType(), 10000);
        EXPECT_EQ(transform->GetTransform(), CMatrix());
        EXPECT_FALSE(transform->HasEvents());
    }
    EXPECT_EQ(direct.GetEntity()->Find<Child>(), nullptr);
    EXPECT_EQ(child.GetEntity()->Find<Direct>(), nullptr);
    EXPECT_EQ(&ComponentTransform::REPOSITORY(), &ComponentTransform::REPOSITORY());
    const CEntity* entity = direct.GetEntity();
    Destroy(direct);
    EXPECT_EQ(entity->Find<ComponentTransform>(), nullptr);
    EXPECT_EQ(entity->Find<Direct>(), nullptr);

    // Built without the factory.
    m_entities[0]->LockComponentList();
    auto* built = new Direct(m_entities[0].Get());
    m_entities[0]->UnlockComponentList();
    EXPECT_EQ(entity->Find<Direct>(), built);
    EXPECT_EQ(entity->Find<ComponentTransform>(), built);
}

TEST_F(TransformTest, RaisesTheMatrixThenTheBox)
{
    Direct& direct = Make<Direct>();
    const float box[6] = {-1, -2, -3, 1, 2, 3};
    direct.SetUntransformedBoundingBox(box);
    direct.SetTransform(At(10, 0, 0));
    EXPECT_FALSE(direct.HasEvents()) << "nobody asked for events";
    EXPECT_EQ(direct.GetBoundingBox(), collision::PrimAABB({9, -2, -3}, {11, 2, 3}));
    m_log.Listen(direct.Events(), "direct",
                 [&](const EventMessage& message)
                 {
                     EXPECT_EQ(message.first.GetObjectPointer<CEntityComponent>("CEntityComponent"), &direct);
                     if (message.id == Direct::kTransformChanged)
                     {
                         EXPECT_EQ(*message.second.GetObjectPointer<const CMatrix>("CMatrix"), At(20, 0, 0));
                         EXPECT_EQ(direct.GetBoundingBox().GetMin().x, 9.0F) << "the box follows";
                         return;
                     }
                     EXPECT_EQ(message.second.GetKind(), variant::Kind::Int);
                     EXPECT_EQ(direct.GetBoundingBox().GetMin().x, 19.0F);
                 });
    EXPECT_THAT(m_log.Take(), IsEmpty());
    direct.SetTransform(At(20, 0, 0));
    EXPECT_THAT(m_log.Take(), ElementsAre("direct 0", "direct 1"));
    direct.SetUntransformedBoundingBox(box);
    EXPECT_THAT(m_log.Take(), ElementsAre("direct 1"));
}

TEST_F(TransformTest, ChildrenFollowAfterTheirParents)
{
    Direct& root = Make<Direct>();
    Child& middle = Make<Child>();
    Child& leaf = Make<Child>();
    CMatrix turned = At(0, 0, 5);
    turned.RotateEuler(0, 0, std::numbers::pi_v<float> / 2);
    root.SetTransform(turned);
    middle.SetTransform(At(1, 0, 0));
    leaf.SetTransform(At(0, 1, 0));
    m_log.Listen(root.Events(), "root");
    leaf.SetParent(&middle);
    middle.SetParent(&root);
    m_log.Listen(middle.Events(), "middle");
    m_log.Listen(leaf.Events(), "leaf");
    const CVector3 place = leaf.GetTransform().Translation();
    EXPECT_NEAR(place.x, -1.0F, 1e-6F) << "the parent's matrix stands on the left";
    EXPECT_NEAR(place.y, 1.0F, 1e-6F);
    EXPECT_EQ(place.z, 5.0F);
    root.SetTransform(At(0, 0, 7));
    EXPECT_THAT(m_log.Take(), ElementsAre("root 0", "root 1", "middle 0", "leaf 0", "leaf 1", "middle 1"))
        << "the leaf asked for the middle's event before the log did";
    EXPECT_EQ(leaf.GetTransform(), At(1, 1, 7));
    EXPECT_EQ(leaf.GetSelfTransform(), At(0, 1, 0));
    leaf.SetTransform(At(0, 2, 0));
    EXPECT_THAT(m_log.Take(), ElementsAre("leaf 0", "leaf 1"));
    EXPECT_EQ(leaf.GetTransform(), At(1, 2, 7));
}

TEST_F(TransformTest, PropertiesReadAndWriteTheMatrix)
{
    Direct& direct = Make<Direct>();
    CEntityComponentProperty property;
    CMatrix scaled = At(1, 2, 3);
    scaled.RotateEuler(0.3F, 0.2F, 0.1F);
    scaled.Scale3(2, 2, 2);
    direct.SetTransform(scaled);
    ASSERT_TRUE(direct.GetProperty(1, &property));
    float angles[4] = {};
    property.GetFloats(angles);
    EXPECT_NEAR(angles[0], 0.3F * 57.29578F, 1e-3F);
    EXPECT_NEAR(angles[1], 0.2F * 57.29578F, 1e-3F);
    EXPECT_NEAR(angles[2], 0.1F * 57.29578F, 1e-3F);

    property.SetVector3("Rotation", 0, 90, 0);
    EXPECT_TRUE(direct.SetPropertyTo("Rotation", property));
    const CMatrix& turned = direct.GetTransform();
    EXPECT_NEAR((turned.GetLocalX() - CVector3(0, 0, -2)).Length(), 0.0F, 1e-5F);
    EXPECT_NEAR((turned.GetLocalY() - CVector3(0, 2, 0)).Length(), 0.0F, 1e-5F);
    EXPECT_NEAR((turned.GetLocalZ() - CVector3(2, 0, 0)).Length(), 0.0F, 1e-5F);
    EXPECT_EQ(turned.Translation(), CVector3(1, 2, 3));

    CMatrix uneven = At(4, 5, 6);
    uneven.Scale3(1.5F, 2, 3);
    direct.SetTransform(uneven);
    property.SetFloat("Scale", 3.0F);
    EXPECT_TRUE(direct.SetPropertyTo("Scale", property));
    EXPECT_EQ(direct.GetTransform().GetLocalX(), CVector3(3, 0, 0));
    EXPECT_EQ(direct.GetTransform().GetLocalY(), CVector3(0, 4, 0));
    EXPECT_EQ(direct.GetTransform().GetLocalZ(), CVector3(0, 0, 6));
    property.SetVector3("Translation", 7, 8, 9);
    EXPECT_TRUE(direct.SetPropertyTo("Translation", property));
    EXPECT_EQ(direct.GetTransform().Translation(), CVector3(7, 8, 9));
    EXPECT_EQ(direct.GetTransform().GetLocalX(), CVector3(3, 0, 0));
    EXPECT_EQ(direct.GetProperty(3, &property), nullptr);
    EXPECT_EQ(direct.GetProperty(-1, &property), nullptr);

    // An axis without length cannot be scaled to one; nothing becomes NaN.
    CMatrix flat;
    flat.SetLocalX({0, 0, 0});
    direct.SetTransform(flat);
    property.SetFloat("Scale", 3.0F);
    direct.SetPropertyTo("Scale", property);
    EXPECT_EQ(direct.GetTransform(), flat);

    // Of a child, reads show the world and writes go to the local matrix.
    Child& child = Make<Child>();
    direct.SetTransform(At(10, 0, 0));
    child.SetParent(&direct);
    child.SetTransform(At(1, 0, 0));
    property.SetVector3("Translation", 5, 0, 0);
    child.SetPropertyTo("Translation", property);
    EXPECT_EQ(child.GetSelfTransform(), At(5, 0, 0));
    EXPECT_EQ(child.GetTransform(), At(15, 0, 0));
}

TEST_F(TransformTest, SavesSixteenExactNumbers)
{
    Direct& direct = Make<Direct>();
    CMatrix matrix;
    for (int i = 0; i < 16; ++i)
        matrix.GetElements()[i] = std::ldexp(1.0F + static_cast<float>(i) / 3.0F, i * 16 - 140);
    direct.SetTransform(matrix);
    UDBDatabase database;
    UDBGroup* group = database.AllocateGroup();
    direct.SerializerSave(*group);
    const char* const keys[] = {"m11", "m12", "m13", "m14", "m21", "m22", "m23", "m24",
                                "m31", "m32", "m33", "m34", "m41", "m42", "m43", "m44"};
    int i = 0;
    for (const UDBEntry& entry : *group)
    {
        EXPECT_EQ(entry.GetKey(), keys[i]);
        EXPECT_EQ(entry.GetNumber(), static_cast<double>(matrix.GetElements()[i]));
        ++i;
    }
    ASSERT_EQ(i, 16);
    Child& loaded = Make<Child>();
    loaded.SerializerLoad(*group);
    EXPECT_EQ(loaded.GetTransform(), matrix);
    UDBGroup* part = database.AllocateGroup();
    part->AddNumber("m41", 4.0);
    part->AddString("m42", "5");
    loaded.SerializerLoad(*part);
    EXPECT_EQ(loaded.GetTransform(), At(4, 0, 0)) << "what is absent is that of the identity";

    // A child saves where it stands and loads that as its local matrix.
    loaded.SetParent(&Make<Direct>());
    loaded.GetParent()->SetTransform(At(0, 0, 1));
    group->Clear();
    loaded.SerializerSave(*group);
    EXPECT_EQ(group->GetNumber("m43"), 1.0);
    loaded.SerializerLoad(*group);
    EXPECT_EQ(loaded.GetTransform(), At(4, 0, 2));
}

TEST_F(TransformTest, ParentAndChildDieInAnyOrder)
{
    Direct& parent = Make<Direct>();
    Child& first = Make<Child>();
    Child& second = Make<Child>();
    for (Child* child : {&first, &second})
    {
        child->SetTransform(At(1, 0, 0));
        child->SetParent(&parent);
    }
    Destroy(first);
    parent.SetTransform(At(5, 0, 0));
    EXPECT_EQ(second.GetTransform(), At(6, 0, 0));
    Destroy(parent);
    EXPECT_EQ(second.GetParent(), nullptr);
    EXPECT_EQ(second.GetTransform(), At(6, 0, 0)) << "until its next change";
    second.SetTransform(At(2, 0, 0));
    EXPECT_EQ(second.GetTransform(), At(2, 0, 0));
    second.SetParent(&Make<Direct>());
    second.GetParent()->SetTransform(At(1, 0, 0));
    EXPECT_EQ(second.GetTransform(), At(3, 0, 0));
}

TEST_F(TransformTest, AFormerParentStillRebuilds)
{
    Direct& former = Make<Direct>();
    Direct& parent = Make<Direct>();
    Child& child = Make<Child>();
    child.SetParent(&former);
    child.SetParent(&parent);
    m_log.Listen(child.Events(), "child");
    former.SetTransform(At(9, 0, 0));
    EXPECT_THAT(m_log.Take(), ElementsAre("child 0", "child 1"));
    EXPECT_EQ(child.GetTransform(), CMatrix()) << "against the one set last";
    parent.SetTransform(At(3, 0, 0));
    EXPECT_THAT(m_log.Take(), ElementsAre("child 0", "child 1"));
    EXPECT_EQ(child.GetTransform(), At(3, 0, 0));
    child.SetParent(nullptr);
    EXPECT_EQ(child.GetParent(), nullptr);
    EXPECT_EQ(child.GetTransform(), CMatrix());
    parent.SetTransform(At(4, 0, 0));
    EXPECT_EQ(child.GetTransform(), CMatrix());
}

TEST_F(TransformTest, RefusesToFollowItself)
{
    Child& a = Make<Child>();
    Child& b = Make<Child>();
    Child& c = Make<Child>();
    Direct& root = Make<Direct>();
    b.SetParent(&a);
    c.SetParent(&b);
    b.SetParent(&root); // b still rebuilds with a
    test::ExpectLog lines{"[ERROR]", "[ERROR]", "[ERROR]"};
    a.SetParent(&a);
    a.SetParent(&c);
    a.SetParent(&b);
    EXPECT_EQ(a.GetParent(), nullptr);
    a.SetTransform(At(1, 0, 0));
    EXPECT_EQ(c.GetTransform(), CMatrix());
}

TEST_F(TransformTest, MayDieInItsOwnEvent)
{
    for (const std::int32_t event : {Direct::kTransformChanged, Direct::kBoundsChanged})
    {
        for (const bool isParent : {true, false}) // whether the one that moves or the one that follows dies
        {
            Direct& parent = Make<Direct>();
            Child& child = Make<Child>();
            child.SetParent(&parent);
            ComponentTransform* dying = isParent ? static_cast<ComponentTransform*>(&parent) : &child;
            m_log.Listen(dying->Events(), "dying",
                         [&](const EventMessage& message)
                         {
                             if (message.id == event)
                                 Destroy(*dying);
                         });
            parent.SetTransform(At(1, 0, 0));
        }
    }
    // One that gives its child another parent while the old one's event is under way, and dies with it.
    Direct& parent = Make<Direct>();
    Direct& next = Make<Direct>();
    Child& child = Make<Child>();
    child.SetParent(&parent);
    next.SetTransform(At(8, 0, 0));
    bool isActive = true;
    m_log.Listen(child.Events(), "child",
                 [&](const EventMessage&)
                 {
                     if (!std::exchange(isActive, false))
                         return;
                     Destroy(parent);
                     child.SetParent(&next);
                 });
    parent.SetTransform(At(1, 0, 0));
    EXPECT_EQ(child.GetTransform(), At(8, 0, 0));
}

TEST_F(TransformTest, MovingAHierarchyAllocatesNothing)
{
    Direct& root = Make<Direct>();
    ComponentTransform* parent = &root;
    for (int i = 0; i < 8; ++i)
    {
        Child& child = Make<Child>();
        child.SetParent(parent);
        parent = &child;
    }
    std::size_t events = 0;
    CEventSubscription listener([&](const EventMessage&) { ++events; });
    listener.Subscribe(parent->Events());
    const std::size_t before = test::GetAllocationCount();
    EXPECT_GT(before, 0U);
    for (int i = 0; i < 100; ++i)
        root.SetTransform(At(static_cast<float>(i), 0, 0));
    EXPECT_EQ(test::GetAllocationCount(), before);
    EXPECT_EQ(events, 200U);
}
} // namespace
