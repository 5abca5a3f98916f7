#include "support/random.h"
#include "tamradeps/collision/primAABB.h"
#include "tamradeps/collision/primFrustum.h"
#include "tamradeps/core/crc64.h"
#include "tamradeps/math/angle.h"
#include "tamradeps/math/matrix.h"

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

using collision::PrimAABB;
using collision::PrimFrustum;

namespace
{
constexpr float kPi = 3.14159265F;

float Distance(CVector3 a, CVector3 b)
{
    return (a - b).Length();
}

// The largest difference of two elements.
float Difference(const CMatrix& a, const CMatrix& b)
{
    float largest = 0.0F;
    for (int i = 0; i < 16; ++i)
        largest = std::max(largest, std::abs(a.GetElements()[i] - b.GetElements()[i]));
    return largest;
}

CVector3 RandomVector(test::Random& random, float size)
{
    const float x = random.Between(-size, size);
    const float y = random.Between(-size, size);
    return {x, y, random.Between(-size, size)};
}

CMatrix Rotation(CVector3 angles)
{
    CMatrix m;
    m.RotateEuler(angles.x, angles.y, angles.z);
    return m;
}

CMatrix RandomPlacement(test::Random& random)
{
    CMatrix m = Rotation(RandomVector(random, kPi));
    m.SetTranslation(RandomVector(random, 100.0F));
    m.Scale3(random.Between(0.1F, 3.0F), random.Between(-3.0F, -0.1F), random.Between(0.1F, 3.0F));
    return m;
}

// Clip coordinates of a point, in doubles.
std::array<double, 4> ToClip(const CMatrix& m, CVector3 p)
{
    std::array<double, 4> clip;
    for (std::size_t row = 0; row < 4; ++row)
    {
        const float* e = m.GetElements() + row;
        clip[row] = double{e[0]} * p.x + double{e[4]} * p.y + double{e[8]} * p.z + double{e[12]};
    }
    return clip;
}

TEST(Angle, FunctionsAreAsExactAsFloatsCanTell)
{
    test::Random random(7);
    for (int i = 0; i < 20000; ++i)
    {
        const float angle = random.Between(-1, 1) * std::pow(10.0F, random.Between(-8, 6));
        const double exact = static_cast<double>(angle);
        const auto [sine, cosine] = GetSineAndCosine(angle);
        ASSERT_NEAR(sine, std::sin(exact), std::abs(std::sin(exact)) * 0x1.02p-24) << angle;
        ASSERT_NEAR(cosine, std::cos(exact), std::abs(std::cos(exact)) * 0x1.02p-24) << angle;
        ASSERT_NEAR(GetTangent(angle), std::tan(exact), std::abs(std::tan(exact)) * 0x1.02p-24) << angle;
    }
    EXPECT_NEAR(GetSineAndCosine(1e9F).sine, std::sin(1e9), 1e-6);
    for (const float angle : {INFINITY, -INFINITY, NAN})
        EXPECT_TRUE(std::isnan(GetSineAndCosine(angle).sine) && std::isnan(GetSineAndCosine(angle).cosine));
    // The same bits on every machine.
    std::uint64_t hash = 0;
    for (int i = 0; i < 20000; ++i)
    {
        const float angle = random.Between(-1000, 1000);
        const float bits[] = {GetSineAndCosine(angle).sine, GetSineAndCosine(angle).cosine, GetTangent(angle)};
        hash = HashCRC64Data(bits, sizeof bits, hash);
    }
    EXPECT_EQ(hash, 3808729432511609621U);
}

TEST(Matrix, EulerTurnsAboutFixedXThenYThenZ)
{
    constexpr float kQuarter = kPi / 2;
    const CVector3 forward(1, 0, 0);
    EXPECT_LT(Distance(Rotation({kQuarter, 0, 0}).TransformPoint({0, 1, 0}), {0, 0, 1}), 1e-6F);
    EXPECT_LT(Distance(Rotation({0, kQuarter, 0}).TransformPoint(forward), {0, 0, -1}), 1e-6F);
    EXPECT_LT(Distance(Rotation({0, 0, kQuarter}).TransformPoint(forward), {0, 1, 0}), 1e-6F);
    EXPECT_LT(Distance(Rotation({kQuarter, kQuarter, kQuarter}).TransformPoint({0, 1, 0}), {0, 1, 0}), 1e-6F);
}

TEST(Matrix, ReadingAnglesBackIsTheInverse)
{
    test::Random random(1);
    for (int i = 0; i < 20000; ++i)
    {
        // Every other triple lies at a pole or close to it, where y says little and the sum of the others all.
        CVector3 angles = RandomVector(random, kPi);
        angles.y *= 0.49F;
        if (i % 2 == 0)
        {
            const float off = i % 4 == 0 ? 0.0F : std::pow(10.0F, random.Between(-8.0F, -1.0F));
            angles.y = std::copysign(kPi / 2 - off, angles.y);
        }
        CMatrix m = Rotation(angles);
        // Half of them with rounding error in every element, as products have.
        const CMatrix parent = i % 8 < 4 ? CMatrix() : Rotation(RandomVector(random, kPi));
        m = parent * (parent.Inverse() * m);
        const CMatrix plain = m;
        m.Scale3(random.Between(0.01F, 50.0F), random.Between(0.01F, 50.0F), 2.0F);
        const CVector3 read = m.GetEuler();
        ASSERT_LT(Difference(Rotation(read), plain), 4e-6F) << angles.x << ' ' << angles.y << ' ' << angles.z;
        ASSERT_TRUE(i % 2 == 0 || Distance(read, angles) < 1e-3F);
        ASSERT_TRUE(i % 8 != 0 || read.z == 0.0F);
    }
}

TEST(Matrix, BadAxesGiveFiniteAngles)
{
    test::Random random(2);
    for (int i = 0; i < 1000; ++i)
    {
        CMatrix m;
        for (int k = 0; k < 12; ++k)
            m.GetElements()[k] = random.OneIn(3) ? static_cast<float>(random.Below(2)) : random.Strange();
        const CVector3 angles = m.GetEuler();
        ASSERT_TRUE(std::isfinite(angles.x) && std::isfinite(angles.y) && std::isfinite(angles.z)) << i;
    }
    CMatrix none;
    none.Identity(0.0F);
    EXPECT_EQ(none.GetEuler(), CVector3());
    EXPECT_EQ(none.Inverse(), CMatrix());
}

TEST(Matrix, ProductsPlaceChildrenInTheirParents)
{
    test::Random random(3);
    for (int i = 0; i < 1000; ++i)
    {
        const CMatrix parent = RandomPlacement(random);
        const CMatrix local = RandomPlacement(random);
        const CVector3 p = RandomVector(random, 10.0F);
        const CVector3 world = parent.TransformPoint(local.TransformPoint(p));
        ASSERT_LT(Distance((parent * local).TransformPoint(p), world), 1e-3F);
        ASSERT_LT(Distance(parent.TransformPoint(p) - parent.TransformPoint({}), parent.TransformDirection(p)), 1e-3F);
        ASSERT_LT(Difference(parent * parent.Inverse(), CMatrix()), 1e-3F);
        ASSERT_EQ(parent * CMatrix(), parent);
    }
    CMatrix m;
    m.SetTranslation({1, 2, 3});
    m.Scale3(2, 3, 4);
    EXPECT_EQ(m.TransformPoint({1, 1, 1}), CVector3(3, 5, 7)) << "scaling leaves the translation";
}

TEST(Matrix, ProjectionTakesTheCornersOfTheViewToThoseOfClipSpace)
{
    const float nearDistance = 0.5F;
    const float farDistance = 200.0F;
    const CMatrix m = CMatrix::Projection(60.0F, 1.5F, nearDistance, farDistance);
    for (const float depth : {nearDistance, farDistance})
    {
        const float top = depth * std::tan(kPi / 6);
        const auto [x, y, z, w] = ToClip(m, {-1.5F * top, top, -depth});
        EXPECT_NEAR(x / w, -1.0, 1e-5);
        EXPECT_NEAR(y / w, 1.0, 1e-5);
        EXPECT_NEAR(z / w, depth == nearDistance ? -1.0 : 1.0, 1e-5);
    }
}

TEST(Matrix, ViewLooksFromTheEyeAtTheTarget)
{
    test::Random random(4);
    for (int i = 0; i < 4000; ++i)
    {
        const CVector3 eye = RandomVector(random, 10.0F);
        const CVector3 target = i % 100 == 0 ? eye : RandomVector(random, 10.0F);
        const CVector3 forward = target - eye;
        // Also with an up along the view, exactly and nearly.
        const float off = i % 3 == 0 ? 1.0F : std::pow(10.0F, random.Between(-9.0F, -2.0F));
        const CVector3 up = i % 3 == 1 ? forward * 3.3F : forward.Normalized() + RandomVector(random, off);
        const CMatrix view = CMatrix::View(eye, target, up);
        ASSERT_LT(view.TransformPoint(eye).Length(), 1e-4F);
        ASSERT_LT(Distance(view.TransformPoint(target), {0, 0, -forward.Length()}), 1e-4F);
        const CVector3 x = view.GetLocalX();
        const CVector3 y = view.GetLocalY();
        ASSERT_LT(Distance(x.Cross(y), view.GetLocalZ()), 1e-5F) << "right-handed, at right angles; case " << i;
        ASSERT_NEAR(x.Length() * y.Length(), 1.0F, 1e-5F);
        if (i % 3 == 0)
        {
            const CVector3 seen = view.TransformDirection(up);
            ASSERT_NEAR(seen.x, 0.0F, 1e-4F);
            ASSERT_GT(seen.y, -1e-4F);
        }
    }
}

TEST(PrimAABB, TestsAreInclusive)
{
    const PrimAABB box({0, 0, 0}, {1, 2, 3});
    for (int axis = 0; axis < 3; ++axis)
    {
        for (const bool above : {false, true})
        {
            float values[6];
            std::copy_n(box.GetFloats(), 6, values);
            float& touching = values[above ? axis : axis + 3];
            touching = box.GetFloats()[above ? axis + 3 : axis];
            values[above ? axis + 3 : axis] = above ? 9.0F : -9.0F;
            EXPECT_TRUE(box.Test(PrimAABB(values)) && PrimAABB(values).Test(box));
            EXPECT_TRUE(box.Test(above ? PrimAABB(values).GetMin() : PrimAABB(values).GetMax()));
            touching = std::nextafter(touching, above ? 9.0F : -9.0F);
            EXPECT_FALSE(box.Test(PrimAABB(values)) || PrimAABB(values).Test(box));
            EXPECT_FALSE(box.Test(above ? PrimAABB(values).GetMin() : PrimAABB(values).GetMax()));
            touching = std::numeric_limits<float>::quiet_NaN();
            EXPECT_FALSE(box.Test(PrimAABB(values)) || PrimAABB(values).Test(box));
        }
    }
}

TEST(PrimAABB, MovedBoxIsTheBoxOfTheMovedCorners)
{
    test::Random random(5);
    for (int i = 0; i < 2000; ++i)
    {
        const CVector3 low = RandomVector(random, 50.0F);
        const CVector3 size(random.Between(0, 9), random.Between(0, 9), i % 5 == 0 ? 0.0F : random.Between(0, 9));
        const PrimAABB box(low, low + size);
        const CMatrix matrix = RandomPlacement(random);
        CVector3 corners[8];
        for (int k = 0; k < 8; ++k)
        {
            const float* v = box.GetFloats();
            corners[k] = matrix.TransformPoint({v[k & 1 ? 3 : 0], v[k & 2 ? 4 : 1], v[k & 4 ? 5 : 2]});
        }
        PrimAABB moved;
        moved.TransformAABB(box, matrix);
        for (const auto axis : {&CVector3::x, &CVector3::y, &CVector3::z})
        {
            const auto [smallest, largest] = std::ranges::minmax(corners, {}, axis);
            ASSERT_NEAR(moved.GetMin().*axis, smallest.*axis, 5e-4F);
            ASSERT_NEAR(moved.GetMax().*axis, largest.*axis, 5e-4F);
        }
        moved.TransformAABB(moved, matrix.Inverse());
        ASSERT_LE(moved.GetMin().x, low.x + 1e-3F) << "a box may be moved in place";
        moved.TransformAABB(box, CMatrix());
        ASSERT_EQ(moved, box);
    }
    const PrimAABB everywhere({-FLT_MAX, -FLT_MAX, -FLT_MAX}, {FLT_MAX, FLT_MAX, FLT_MAX});
    PrimAABB moved;
    moved.TransformAABB(everywhere, CMatrix());
    EXPECT_EQ(moved, everywhere);
}

TEST(PrimFrustum, NeverDropsABoxWithAVisiblePoint)
{
    test::Random random(6);
    int visible = 0;
    int dropped = 0;
    for (int i = 0; i < 20000; ++i)
    {
        const CMatrix projection = CMatrix::Projection(random.Between(20, 120), random.Between(0.5F, 2.0F),
                                                       random.Between(0.01F, 1.0F), random.Between(20, 1000));
        const CMatrix view = CMatrix::View(RandomVector(random, 30.0F), RandomVector(random, 30.0F), {0, 0, 1});
        const CMatrix m = projection * view;
        const PrimFrustum frustum(m);
        const CVector3 p = RandomVector(random, 60.0F);
        const auto [x, y, z, w] = ToClip(m, p);
        const double margin = 1.0 - std::max({std::abs(x), std::abs(y), std::abs(z)}) / w; // inside, as a part of w
        const CVector3 size(random.Between(0, 20), random.Between(0, 20), random.Between(0, 20));
        const CVector3 low = p - CVector3(size.x * random.Between(0, 1), size.y * random.Between(0, 1), size.z);
        const PrimAABB box(low, {std::max(p.x, low.x + size.x), std::max(p.y, low.y + size.y), p.z});
        const bool inside = w > 0.0 && margin > 1e-4;
        if (inside)
        {
            ++visible;
            ASSERT_TRUE(frustum.Test(p));
            ASSERT_TRUE(frustum.Test(box)) << i;
        }
        const bool outside = w < -1e-3 || (w > 0.0 && margin < -1e-3);
        ASSERT_FALSE(outside && frustum.Test(p)) << i;
        dropped += !frustum.Test(box);
    }
    EXPECT_GT(visible, 1000);
    EXPECT_GT(dropped, 5000) << "a frustum that keeps everything is of no use";
    EXPECT_TRUE(PrimFrustum().Test(PrimAABB({-FLT_MAX, 0, 0}, {FLT_MAX, 1, INFINITY})));
}
} // namespace
