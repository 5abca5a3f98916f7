#include "gameengine/engine/componentTransformDirect.h"
#include "gameengine/engine/componentTransformParent.h"
#include "support/allocations.h"
#include "support/expectations.h"
#include "support/sceneFixture.h"

#include <numbers>

#include <gmock/gmock.h>

using test::At;
using testing::ElementsAre;

namespace
{
using Direct = ComponentTransformDirect;
using Child = ComponentTransformParent;

using TransformTest = test::SceneTest;

// Deletes a transform as a game would.
void Destroy(ComponentTransform& transform)
{
    const RefPtr<CEntity> entity(transform.GetEntity());
    entity->LockComponentList();
    delete &transform;
    entity->UnlockComponentList();
    EXPECT_EQ(entity->Find<ComponentTransform>(), nullptr);
}

TEST_F(TransformTest, RaisesTheMatrixThenTheBox)
{
    Direct& direct = Make<Direct>();
    EXPECT_EQ(direct.GetEntity()->Find<ComponentTransform>(), &direct);
    const float box[6] = {-1, -2, -3, 1, 2, 3};
    direct.SetUntransformedBoundingBox(box);
    direct.SetTransform(At({10, 0, 0}));
    EXPECT_FALSE(direct.HasEvents()) << "nobody asked for events";
    EXPECT_EQ(direct.GetBoundingBox(), collision::PrimAABB({9, -2, -3}, {11, 2, 3}));
    m_log.Listen(direct.Events(), "direct",
                 [&](const EventMessage& message)
                 {
                     const bool isMatrix = message.id == Direct::kTransformChanged;
                     EXPECT_EQ(message.first.GetObjectPointer<CEntityComponent>("CEntityComponent"), &direct);
                     EXPECT_EQ(direct.GetBoundingBox().GetMin().x, isMatrix ? 9.0F : 19.0F) << "the box follows";
                     EXPECT_EQ(message.second.GetKind(), isMatrix ? variant::Kind::Object : variant::Kind::Int);
                     EXPECT_TRUE(!isMatrix || *message.second.GetObjectPointer<CMatrix>("CMatrix") == At({20, 0, 0}));
                 });
    direct.SetTransform(At({20, 0, 0}));
    EXPECT_THAT(m_log.Take(), ElementsAre("direct 0", "direct 1"));
    direct.SetUntransformedBoundingBox(box);
    EXPECT_THAT(m_log.Take(), ElementsAre("direct 1"));
}

TEST_F(TransformTest, ChildrenFollowAfterTheirParents)
{
    Direct& root = Make<Direct>();
    Child& middle = Make<Child>();
    Child& leaf = Make<Child>();
    CMatrix turned = At({0, 0, 5});
    turned.RotateEuler(0, 0, std::numbers::pi_v<float> / 2);
    root.SetTransform(turned);
    middle.SetTransform(At({1, 0, 0}));
    leaf.SetTransform(At({0, 1, 0}));
    m_log.Listen(root.Events(), "root");
    leaf.SetParent(&middle);
    middle.SetParent(&root);
    m_log.Listen(middle.Events(), "middle");
    m_log.Listen(leaf.Events(), "leaf");
    EXPECT_LT((leaf.GetTransform().Translation() - CVector3(-1, 1, 5)).Length(), 1e-6F)
        << "the parent's matrix stands on the left";
    root.SetTransform(At({0, 0, 7}));
    EXPECT_THAT(m_log.Take(), ElementsAre("root 0", "root 1", "middle 0", "leaf 0", "leaf 1", "middle 1"))
        << "the leaf asked for the middle's event before the log did";
    EXPECT_EQ(leaf.GetTransform(), At({1, 1, 7}));
    EXPECT_EQ(leaf.GetSelfTransform(), At({0, 1, 0}));
    leaf.SetTransform(At({0, 2, 0}));
    EXPECT_THAT(m_log.Take(), ElementsAre("leaf 0", "leaf 1"));
    EXPECT_EQ(leaf.GetTransform(), At({1, 2, 7}));
}

TEST_F(TransformTest, PropertiesReadAndWriteTheMatrix)
{
    Direct& direct = Make<Direct>();
    // The corner of a cube, which each axis and the place have a part in.
    const auto expectCorner = [&](CVector3 corner) {
        EXPECT_LT((direct.GetTransform().TransformPoint({1, 10, 100}) - corner).Length(), 1e-3F);
    };
    CMatrix scaled = At({1, 2, 3});
    scaled.RotateEuler(0.3F, 0.2F, 0.1F);
    scaled.Scale3(1.5F, 2, 3);
    direct.SetTransform(scaled);
    ASSERT_TRUE(direct.GetProperty(1, &m_property));
    float angles[4] = {};
    m_property.ReadFloats(angles);
    EXPECT_LT((CVector3(angles[0], angles[1], angles[2]) - CVector3(0.3F, 0.2F, 0.1F) * 57.29578F).Length(), 1e-3F);
    m_property.SetVector3("Rotation", 0, 90, 0);
    EXPECT_TRUE(direct.SetPropertyTo("Rotation", m_property));
    expectCorner({301, 22, 1.5F});
    m_property.SetFloat("Scale", 3.0F);
    EXPECT_TRUE(direct.SetPropertyTo("Scale", m_property));
    expectCorner({601, 42, 0});
    m_property.SetVector3("Translation", 7, 8, 9);
    EXPECT_TRUE(direct.SetPropertyTo("Translation", m_property));
    expectCorner({607, 48, 6});

    // An axis without length cannot be scaled to one; nothing becomes NaN.
    CMatrix flat;
    flat.SetLocalX({0, 0, 0});
    direct.SetTransform(flat);
    m_property.SetFloat("Scale", 3.0F);
    direct.SetPropertyTo("Scale", m_property);
    EXPECT_EQ(direct.GetTransform(), flat);

    // Of a child, reads show the world and writes go to the local matrix.
    Child& child = Make<Child>();
    direct.SetTransform(At({10, 0, 0}));
    child.SetParent(&direct);
    m_property.SetVector3("Translation", 5, 0, 0);
    child.SetPropertyTo("Translation", m_property);
    EXPECT_EQ(child.GetSelfTransform(), At({5, 0, 0}));
    EXPECT_EQ(child.GetTransform(), At({15, 0, 0}));
}

TEST_F(TransformTest, LoadsWhatThereIsAndSavesWhereItStands)
{
    Child& loaded = Make<Child>();
    m_group.AddNumber("m41", 4.0);
    m_group.AddString("m42", "5");
    loaded.SerializerLoad(m_group);
    EXPECT_EQ(loaded.GetTransform(), At({4, 0, 0})) << "what is absent is that of the identity";

    // A child saves where it stands and loads that as its local matrix.
    Direct& direct = Make<Direct>();
    direct.SetTransform(At({0, 0, 1}));
    loaded.SetParent(&direct);
    m_group.Clear();
    loaded.SerializerSave(m_group);
    loaded.SerializerLoad(m_group);
    EXPECT_EQ(loaded.GetTransform(), At({4, 0, 2}));
}

TEST_F(TransformTest, ParentAndChildDieInAnyOrder)
{
    Direct& parent = Make<Direct>();
    Child& first = Make<Child>();
    Child& second = Make<Child>();
    first.SetParent(&parent);
    second.SetParent(&parent);
    Destroy(first);
    parent.SetTransform(At({5, 0, 0}));
    Destroy(parent);
    EXPECT_EQ(second.GetParent(), nullptr);
    EXPECT_EQ(second.GetTransform(), At({5, 0, 0})) << "until its next change";
    second.SetTransform(At({2, 0, 0}));
    EXPECT_EQ(second.GetTransform(), At({2, 0, 0}));
    second.SetParent(&Make<Direct>());
    second.GetParent()->SetTransform(At({1, 0, 0}));
    EXPECT_EQ(second.GetTransform(), At({3, 0, 0}));
}

TEST_F(TransformTest, AFormerParentStillRebuilds)
{
    Direct& former = Make<Direct>();
    Direct& parent = Make<Direct>();
    Child& child = Make<Child>();
    child.SetParent(&former);
    child.SetParent(&parent);
    m_log.Listen(child.Events(), "child");
    former.SetTransform(At({9, 0, 0}));
    EXPECT_EQ(child.GetTransform(), CMatrix()) << "against the one set last";
    parent.SetTransform(At({3, 0, 0}));
    EXPECT_EQ(child.GetTransform(), At({3, 0, 0}));
    EXPECT_THAT(m_log.Take(), ElementsAre("child 0", "child 1", "child 0", "child 1"));
    child.SetParent(nullptr);
    EXPECT_EQ(child.GetParent(), nullptr);
    parent.SetTransform(At({4, 0, 0}));
    EXPECT_EQ(child.GetTransform(), CMatrix());
}

TEST_F(TransformTest, RefusesToFollowItself)
{
    Child& a = Make<Child>();
    Child& b = Make<Child>();
    Child& c = Make<Child>();
    b.SetParent(&a);
    c.SetParent(&b);
    b.SetParent(&Make<Direct>()); // b still rebuilds with a
    test::ExpectLog lines{"[ERROR]", "[ERROR]", "[ERROR]"};
    for (Child* parent : {&a, &b, &c})
        a.SetParent(parent);
    EXPECT_EQ(a.GetParent(), nullptr);
    a.SetTransform(At({1, 0, 0}));
    EXPECT_EQ(c.GetTransform(), CMatrix());
}

TEST_F(TransformTest, MayDieInItsOwnEvent)
{
    for (const std::int32_t event : {Direct::kTransformChanged, Direct::kBoundsChanged})
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
            parent.SetTransform(At({1, 0, 0}));
        }
    // One that gives its child another parent while the old one's event is under way, and dies with it.
    Direct& parent = Make<Direct>();
    Direct& next = Make<Direct>();
    Child& child = Make<Child>();
    child.SetParent(&parent);
    next.SetTransform(At({8, 0, 0}));
    bool isActive = true;
    m_log.Listen(child.Events(), "child",
                 [&](const EventMessage&)
                 {
                     if (!std::exchange(isActive, false))
                         return;
                     Destroy(parent);
                     child.SetParent(&next);
                 });
    parent.SetTransform(At({1, 0, 0}));
    EXPECT_EQ(child.GetTransform(), At({8, 0, 0}));
}

TEST_F(TransformTest, MovingAHierarchyAllocatesNothing)
{
    Direct& root = Make<Direct>();
    ComponentTransform* leaf = &root;
    for (int i = 0; i < 8; ++i)
    {
        Child& child = Make<Child>();
        child.SetParent(std::exchange(leaf, &child));
    }
    const std::size_t before = test::GetAllocationCount();
    for (int i = 0; i < 100; ++i)
        root.SetTransform(At({static_cast<float>(i), 0, 0}));
    EXPECT_EQ(test::GetAllocationCount(), before);
    EXPECT_EQ(leaf->GetTransform(), At({99, 0, 0}));
}
} // namespace
