#include "tamradeps/collision/simdKernels.h"

#include "support/random.h"

#include <algorithm>
#include <array>
#include <bit>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using collision::BoxBlock;
using collision::FrustumQuery;
using collision::PrimAABB;
using collision::PrimFrustum;
using collision::SimdKernels;
using collision::SphereQuery;

namespace
{
// Mostly small whole numbers, so that boxes often touch what they are tested against; some that need care.
float RandomValue(test::Random& random)
{
    if (random.OneIn(60))
        return random.Strange();
    return random.OneIn(3) ? random.Between(-4, 4) : static_cast<float>(random.Below(9)) - 4.0F;
}

template <std::size_t kCount>
std::array<float, kCount> RandomValues(test::Random& random)
{
    std::array<float, kCount> values;
    for (float& value : values)
        value = RandomValue(random);
    return values;
}

// Turned inside out now and then.
PrimAABB RandomBox(test::Random& random)
{
    auto values = RandomValues<6>(random);
    for (std::size_t axis = 0; axis < 3 && !random.OneIn(20); ++axis)
        if (values[axis] > values[axis + 3])
            std::swap(values[axis], values[axis + 3]);
    return PrimAABB(values.data());
}

CMatrix RandomMatrix(test::Random& random)
{
    return CMatrix(RandomValues<16>(random).data());
}

bool IsNear(const SphereQuery& sphere, const PrimAABB& box)
{
    const float center[] = {sphere.center.x, sphere.center.y, sphere.center.z};
    float sum = 0.0F;
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        const float below = box.GetFloats()[axis] - center[axis];
        const float above = center[axis] - box.GetFloats()[axis + 3];
        const float distance = (0.0F > below ? 0.0F : below) + (0.0F > above ? 0.0F : above);
        sum += distance * distance;
    }
    return sum <= sphere.radius * sphere.radius;
}

// The two forms of one test, and what it must say of a box.
struct Case
{
    std::function<bool(const PrimAABB&)> passes;
    std::function<void(const BoxBlock*, std::size_t, std::uint8_t*)> test;
    std::function<std::size_t(const PrimAABB*, std::size_t, std::uint32_t*)> find;
};

std::vector<Case> RandomCases(const SimdKernels& kernels, test::Random& random)
{
    const PrimFrustum frustum(RandomMatrix(random));
    const PrimAABB box = RandomBox(random);
    const auto sphere = RandomValues<4>(random);
    const SphereQuery query{{sphere[0], sphere[1], sphere[2]}, sphere[3]};
    const auto make = [&](const auto& ready, auto test, auto find, auto passes)
    {
        return Case{passes, [=](auto... arguments) { (kernels.*test)(ready, arguments...); },
                    [=](auto... arguments) { return (kernels.*find)(ready, arguments...); }};
    };
    return {make(FrustumQuery(frustum), &SimdKernels::testFrustum, &SimdKernels::findInFrustum,
                 [=](const PrimAABB& other) { return frustum.Test(other); }),
            make(box, &SimdKernels::testBox, &SimdKernels::findInBox,
                 [=](const PrimAABB& other) { return box.Test(other); }),
            make(query, &SimdKernels::testSphere, &SimdKernels::findInSphere,
                 [=](const PrimAABB& other) { return IsNear(query, other); })};
}

// Without spare room behind the last element, so that one write too many is noticed.
template <class T>
std::unique_ptr<T[]> Exactly(std::size_t count)
{
    return std::make_unique<T[]>(count);
}

using SimdKernelsTest = testing::TestWithParam<const SimdKernels*>;

TEST_P(SimdKernelsTest, FindsAmongBoxesInARowWhatASingleTestFinds)
{
    test::Random random(1);
    std::size_t kept = 0;
    for (std::size_t round = 0; round < 3000; ++round)
    {
        const std::size_t count = round % 10 == 0 ? random.Below(200U) : random.Below(41U);
        const auto boxes = Exactly<PrimAABB>(count);
        std::generate_n(boxes.get(), count, [&] { return RandomBox(random); });
        for (const Case& one : RandomCases(*GetParam(), random))
        {
            std::vector<std::uint32_t> expected;
            for (std::uint32_t i = 0; i < count; ++i)
                if (one.passes(boxes[i]))
                    expected.push_back(i);
            const auto found = Exactly<std::uint32_t>(count);
            const std::size_t number = one.find(boxes.get(), count, found.get());
            ASSERT_EQ(std::vector(found.get(), found.get() + number), expected) << "round " << round;
            kept += number;
        }
    }
    EXPECT_GT(kept, 10000U);
}

TEST_P(SimdKernelsTest, MasksOfBlocksSayWhatASingleTestSays)
{
    test::Random random(2);
    for (std::size_t round = 0; round < 3000; ++round)
    {
        const std::size_t count = random.Below(12U);
        const auto blocks = Exactly<BoxBlock>(count);
        const auto masks = Exactly<std::uint8_t>(count);
        for (std::size_t i = 0; i < count * BoxBlock::kBoxes; ++i)
            blocks[i / BoxBlock::kBoxes].Set(i % BoxBlock::kBoxes, RandomBox(random));
        for (const Case& one : RandomCases(*GetParam(), random))
        {
            one.test(blocks.get(), count, masks.get());
            for (std::size_t i = 0; i < count * BoxBlock::kBoxes; ++i)
                ASSERT_EQ(masks[i / BoxBlock::kBoxes] >> i % BoxBlock::kBoxes & 1,
                          one.passes(blocks[i / BoxBlock::kBoxes].Get(i % BoxBlock::kBoxes)))
                    << "round " << round << ", box " << i << " of " << count * BoxBlock::kBoxes;
        }
    }
}

// Which NaN comes out depends on the order of the operands, which the compiler chooses.
template <std::size_t kCount>
void ExpectSameBits(const float* actual, const float* expected)
{
    for (std::size_t i = 0; i < kCount; ++i)
    {
        if (expected[i] == expected[i])
            ASSERT_EQ(std::bit_cast<std::uint32_t>(actual[i]), std::bit_cast<std::uint32_t>(expected[i])) << i;
        else
            ASSERT_NE(actual[i], actual[i]) << i;
    }
}

TEST_P(SimdKernelsTest, BatchesGiveTheBitsOfSingleCalls)
{
    test::Random random(3);
    for (std::size_t count = 0; count < 41; ++count)
    {
        std::vector<CMatrix> a(count);
        std::vector<CMatrix> b(count);
        std::vector<PrimAABB> boxes(count);
        std::generate(a.begin(), a.end(), [&] { return RandomMatrix(random); });
        std::generate(b.begin(), b.end(), [&] { return RandomMatrix(random); });
        std::generate(boxes.begin(), boxes.end(), [&] { return RandomBox(random); });
        std::vector<PrimAABB> moved = boxes; // in place
        GetParam()->transformBoxes(a.data(), moved.data(), moved.data(), count);
        std::vector<CMatrix> overLeft = a;
        GetParam()->multiplyMatrices(overLeft.data(), b.data(), overLeft.data(), count);
        std::vector<CMatrix> overRight = b;
        GetParam()->multiplyMatrices(a.data(), overRight.data(), overRight.data(), count);
        for (std::size_t i = 0; i < count; ++i)
        {
            PrimAABB box;
            box.TransformAABB(boxes[i], a[i]);
            ExpectSameBits<6>(moved[i].GetFloats(), box.GetFloats());
            const CMatrix product = a[i] * b[i];
            ExpectSameBits<16>(overLeft[i].GetElements(), product.GetElements());
            ExpectSameBits<16>(overRight[i].GetElements(), product.GetElements());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Sets, SimdKernelsTest,
                         testing::ValuesIn(SimdKernels::GetAll().begin(), SimdKernels::GetAll().end()),
                         [](const auto& set) { return std::string(set.param->name); });

TEST(SimdKernelsSets, TheBestSetIsTheLastOfThoseThatRun)
{
    EXPECT_STREQ(SimdKernels::GetAll().front()->name, "sse2");
    EXPECT_EQ(&SimdKernels::Get(), SimdKernels::GetAll().back());
}
} // namespace
