#include "apps/sandbox/townPath.h"

#include "gameengine/engine/componentTransform.h"
#include "gameengine/engine/entityArraySpatialQuery.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

namespace
{
constexpr int kSamples = 720;
constexpr int kSmoothing = 18; // samples to either side
constexpr float kClearance = 25.0F;
constexpr float kLowest = 70.0F;
constexpr float kEyeHeight = 9.0F;
constexpr float kWideStreet = 8.0F;

float GetTop(CTownModel& town, CEntityArray_SpatialQuery& query, std::vector<CEntity*>& buffer, CVector3 place)
{
    const CVector3 reach(kClearance, kClearance, 2000.0F);
    float top = 0.0F;
    for (const CEntity* entity : query.InBox({place - reach, place + reach}, buffer))
        top = std::max(top, town.GetBox(static_cast<std::size_t>(town.GetNumber(entity))).GetMax().z);
    return top;
}
} // namespace

CTownPath::CTownPath(CTownModel& town) : m_town(town)
{
    i_FindArea();
    CEntityArray_SpatialQuery query(&town.GetTree());
    std::vector<CEntity*> buffer;
    std::vector<float> tops(kSamples);
    for (int i = 0; i < kSamples; ++i)
        tops[static_cast<std::size_t>(i)] =
            std::max(GetTop(town, query, buffer, i_GetPlace(static_cast<double>(i) / kSamples)) + kClearance, kLowest);
    // The highest top nearby, then the mean: never below a roof, and never with a jolt.
    const auto spread = [](const std::vector<float>& values, bool takesMean)
    {
        std::vector<float> result(values.size());
        for (int i = 0; i < kSamples; ++i)
        {
            float most = 0.0F;
            float sum = 0.0F;
            for (int k = -kSmoothing; k <= kSmoothing; ++k)
            {
                const float value = values[static_cast<std::size_t>((i + k + kSamples) % kSamples)];
                most = std::max(most, value);
                sum += value;
            }
            result[static_cast<std::size_t>(i)] = takesMean ? sum / static_cast<float>(2 * kSmoothing + 1) : most;
        }
        return result;
    };
    m_heights = spread(spread(spread(tops, false), true), true);
}

// Without the outermost buildings, which often stand alone.
void CTownPath::i_FindArea()
{
    std::vector<float> x;
    std::vector<float> y;
    for (std::size_t i = 0; i < m_town.GetEntities().size(); ++i)
    {
        if (m_town.GetKind(i) != TownKind::Building)
            continue;
        x.push_back(m_town.GetBox(i).GetCenter().x);
        y.push_back(m_town.GetBox(i).GetCenter().y);
    }
    m_centre = (m_town.GetMin() + m_town.GetMax()) * 0.5F;
    m_half = (m_town.GetMax() - m_town.GetMin()) * 0.5F;
    const std::size_t margin = x.size() / 12;
    if (x.empty())
        return;
    std::sort(x.begin(), x.end());
    std::sort(y.begin(), y.end());
    const CVector3 low(x[margin], y[margin], 0.0F);
    const CVector3 high(x[x.size() - 1 - margin], y[y.size() - 1 - margin], 0.0F);
    m_centre = (low + high) * 0.5F;
    m_half = (high - low) * 0.5F;
}

CVector3 CTownPath::i_GetPlace(double turn) const
{
    // A figure of three loops that comes near every corner of the town.
    const double angle = 2 * std::numbers::pi * turn;
    return {m_centre.x + m_half.x * static_cast<float>(std::sin(2 * angle + 0.4)),
            m_centre.y + m_half.y * static_cast<float>(std::cos(3 * angle)), 0.0F};
}

TownViewpoint CTownPath::GetFlight(double turn) const
{
    turn -= std::floor(turn);
    const auto eyeAt = [this](double t)
    {
        const double sample = (t - std::floor(t)) * kSamples;
        const auto first = static_cast<std::size_t>(sample) % kSamples;
        const float part = static_cast<float>(sample - std::floor(sample));
        CVector3 place = i_GetPlace(t);
        place.z = m_heights[first] * (1.0F - part) + m_heights[(first + 1) % kSamples] * part;
        return place;
    };
    const CVector3 eye = eyeAt(turn);
    CVector3 ahead = eyeAt(turn + 0.012) - eye;
    ahead.z = 0.0F;
    // Along the way, and somewhat towards the middle of the town.
    CVector3 middle = m_centre - eye;
    middle.z = 0.0F;
    ahead = ahead.Normalized() + middle * (1.0F / (m_half.Length() + 1.0F)) + CVector3(0, 0, -0.24F);
    return {eye, ahead.Normalized()};
}

std::vector<TownViewpoint> CTownPath::GetViewpoints(int count, std::uint32_t seed) const
{
    std::vector<std::size_t> streets;
    for (std::size_t i = 0; i < m_town.GetEntities().size(); ++i)
    {
        const CMatrix& matrix = m_town.GetEntities()[i]->Find<ComponentTransform>()->GetTransform();
        const CVector3 way = matrix.Translation() - m_centre;
        if (m_town.GetKind(i) == TownKind::Street && matrix.GetLocalY().Length() >= kWideStreet &&
            matrix.GetLocalX().Length() > 20.0F && std::abs(way.x) < m_half.x && std::abs(way.y) < m_half.y)
            streets.push_back(i);
    }
    std::minstd_rand random(seed + 17);
    std::vector<TownViewpoint> viewpoints;
    for (int i = 0; i < count; ++i)
    {
        if (i % 4 == 3 || streets.empty())
        {
            viewpoints.push_back(GetFlight(static_cast<double>(i) / std::max(count, 1)));
            continue;
        }
        const std::size_t street = streets[random() % streets.size()];
        const CMatrix& matrix = m_town.GetEntities()[street]->Find<ComponentTransform>()->GetTransform();
        const CVector3 axis = matrix.GetLocalX().Normalized();
        const CVector3 along = axis * (axis.Dot(m_centre - matrix.Translation()) >= 0.0F ? 1.0F : -1.0F);
        const float height = kEyeHeight + static_cast<float>(random() % 30);
        viewpoints.push_back({matrix.Translation() + CVector3(0, 0, height),
                              (along + CVector3(0, 0, 0.01F * static_cast<float>(random() % 9))).Normalized()});
    }
    return viewpoints;
}
