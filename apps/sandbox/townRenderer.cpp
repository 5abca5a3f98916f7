#include "apps/sandbox/townRenderer.h"

#include "gameengine/engine/componentLight.h"
#include "gameengine/engine/componentTransform.h"
#include "gameengine/engine/entityComponentDatabase.h"
#include "tamradeps/core/log.h"

#include <algorithm>
#include <array>
#include <cstring>

using namespace renderer;

namespace
{
constexpr std::size_t kMaxLights = 32;
constexpr float kLampSight = 500.0F; // lamps farther away are not seen
constexpr std::uint32_t kFrameBinding = 0;
constexpr std::uint32_t kBoxBinding = 0;
constexpr std::uint32_t kVisibleBinding = 1;
constexpr const char* kMaterial = "materials/town.lua";
constexpr float kGroundDepth = -0.05F;

// In the order of the passes.
constexpr std::array<TownKind, 4> kKinds = {TownKind::Water, TownKind::Park, TownKind::Street, TownKind::Building};
constexpr const char* kPassNames[] = {"WATER", "PARK", "STREET", "BUILDING", "GROUND", "SKY"};

// Twelve triangles that face outwards; the colour is the face's normal.
std::array<Vertex, 36> MakeUnitBox()
{
    std::array<Vertex, 36> vertices;
    std::size_t count = 0;
    for (int axis = 0; axis < 3; ++axis)
    {
        for (const float side : {-0.5F, 0.5F})
        {
            std::array<float, 3> normal = {0.5F, 0.5F, 0.5F};
            normal[static_cast<std::size_t>(axis)] += side;
            std::uint32_t color = 0xFF000000;
            for (std::size_t i = 0; i < 3; ++i)
                color |= static_cast<std::uint32_t>(normal[i] * 255.0F + 0.5F) << (8 * i);
            const auto corner = [&](float a, float b)
            {
                std::array<float, 3> p{};
                p[static_cast<std::size_t>(axis)] = side;
                p[static_cast<std::size_t>((axis + 1) % 3)] = a;
                p[static_cast<std::size_t>((axis + 2) % 3)] = b * (side > 0 ? 1.0F : -1.0F);
                return Vertex{{p[0], p[1], p[2]}, 0.0F, 0.0F, color};
            };
            const Vertex quad[4] = {corner(-0.5F, -0.5F), corner(0.5F, -0.5F), corner(0.5F, 0.5F), corner(-0.5F, 0.5F)};
            for (const std::size_t i : {0, 1, 2, 0, 2, 3})
                vertices[count++] = quad[i];
        }
    }
    return vertices;
}

// A fixed number from 0 to 1 for each number.
float Scatter(std::size_t number)
{
    std::uint32_t bits = static_cast<std::uint32_t>(number) * 2654435761U;
    bits ^= bits >> 15;
    bits *= 2246822519U;
    return static_cast<float>(bits >> 8) / 16777216.0F;
}

CVector3 GetWallColor(std::size_t number, float height)
{
    static constexpr CVector3 kWalls[] = {{0.58F, 0.47F, 0.38F}, {0.62F, 0.56F, 0.47F}, {0.5F, 0.36F, 0.3F},
                                          {0.55F, 0.55F, 0.55F}, {0.68F, 0.64F, 0.57F}, {0.44F, 0.4F, 0.38F}};
    static constexpr CVector3 kTowers[] = {{0.46F, 0.52F, 0.58F}, {0.56F, 0.58F, 0.6F}, {0.4F, 0.44F, 0.5F}};
    const float part = Scatter(number);
    if (height > 110.0F)
        return kTowers[static_cast<std::size_t>(part * 2.999F)];
    return kWalls[static_cast<std::size_t>(part * 5.999F)];
}

template <class Box>
Box MakeBox(const CMatrix& matrix, CVector3 color, std::size_t seed)
{
    Box box;
    const float* elements = matrix.GetElements();
    for (std::size_t row = 0; row < 3; ++row)
    {
        for (std::size_t column = 0; column < 4; ++column)
            box.rows[row][column] = elements[column * 4 + row];
    }
    const float tint[4] = {color.x, color.y, color.z, Scatter((seed + 1) * 7 + 3)};
    std::memcpy(box.tint, tint, sizeof tint);
    return box;
}
} // namespace

struct CTownRenderer::Box
{
    float rows[3][4];
    float tint[4];
};

struct CTownRenderer::Frame
{
    float projectionView[16];
    float eye[4];
    float sunDirection[4];
    float sunColor[4];
    float ambient[4];
    float fogColor[4];
    float fog[4];
    float counts[4];
    float lights[kMaxLights * 2][4];
};

CTownRenderer::CTownRenderer(CRenderer& renderer, CTownModel& town)
    : m_renderer(renderer),
      m_town(town),
      m_material(new CProgrammableMaterial(renderer))
{
}

bool CTownRenderer::Initialize()
{
    if (!m_material->Load(kMaterial))
        return false;
    for (std::size_t i = 0; i < kPassCount; ++i)
    {
        m_passes[i] = m_material->GetPass(kPassNames[i]);
        if (m_passes[i] < 0)
        {
            tamra::log::Error(std::string(kMaterial) + " has no pass " + kPassNames[i]);
            return false;
        }
    }
    return Upload();
}

CTownRenderer::Box CTownRenderer::i_MakeBox(std::size_t number) const
{
    const CMatrix& matrix = m_town.GetEntities()[number]->Find<ComponentTransform>()->GetTransform();
    const std::size_t seed = m_town.GetSeed(number);
    return MakeBox<Box>(matrix, GetWallColor(seed, matrix.GetLocalZ().Length()), seed);
}

void CTownRenderer::Update(int number)
{
    const Box box = i_MakeBox(static_cast<std::size_t>(number));
    m_boxes->WriteRecords<Box>({&box, 1}, static_cast<std::size_t>(number));
}

bool CTownRenderer::Upload()
{
    const std::size_t count = m_town.GetEntities().size();
    std::vector<Box> boxes;
    boxes.reserve(count + 1);
    for (std::size_t i = 0; i < count; ++i)
        boxes.push_back(i_MakeBox(i));
    // The ground: one wide box that ends under everything.
    CMatrix ground;
    const CVector3 size = m_town.GetMax() - m_town.GetMin();
    const CVector3 centre = (m_town.GetMin() + m_town.GetMax()) * 0.5F;
    ground.Scale3(size.x * 4.0F, size.y * 4.0F, 1.0F);
    ground.SetTranslation({centre.x, centre.y, kGroundDepth - 0.5F});
    boxes.push_back(MakeBox<Box>(ground, {}, count));

    m_unitBox = CVertexCache::Create(m_renderer, 36);
    m_boxes = CBuffer::Create(m_renderer, boxes.size() * sizeof(Box));
    // In a picture every box may be drawn twice: as seen before, and as found anew.
    m_visible = CBuffer::Create(m_renderer, boxes.size() * 2 * sizeof(std::uint32_t));
    m_frame = CBuffer::Create(m_renderer, sizeof(Frame));
    return m_unitBox && m_boxes && m_visible && m_frame && m_unitBox->Write(0, MakeUnitBox()) &&
           m_boxes->WriteRecords<Box>(boxes);
}

// The lamps that are nearest, and the sun.
void CTownRenderer::i_CollectLights(Frame& frame)
{
    const CVector3 eye = m_town.GetEye();
    m_nearLights.clear();
    CEntityComponentDatabase* lights = m_town.GetLights().CreateComponentDatabase(ComponentLight::TYPEID());
    for (int i = 0; i < lights->GetCount(); ++i)
    {
        const auto* light = static_cast<const ComponentLight*>(lights->Get(i));
        const CMatrix& place = light->GetEntity()->Find<ComponentTransform>()->GetTransform();
        if (light->GetLightType() == ComponentLightType::Directional)
        {
            const CVector3 direction = place.GetLocalX() * -1.0F;
            const float values[4] = {direction.x, direction.y, direction.z, 0.0F};
            std::memcpy(frame.sunDirection, values, sizeof values);
            std::memcpy(frame.sunColor, light->GetLightColor(), sizeof frame.sunColor);
            continue;
        }
        const float distance = (place.Translation() - eye).Length();
        if (distance < kLampSight)
            m_nearLights.emplace_back(distance, light);
    }
    const std::size_t count = std::min(m_nearLights.size(), kMaxLights);
    std::partial_sort(m_nearLights.begin(), m_nearLights.begin() + static_cast<std::ptrdiff_t>(count),
                      m_nearLights.end());
    for (std::size_t i = 0; i < count; ++i)
    {
        const ComponentLight* light = m_nearLights[i].second;
        const CVector3 place = light->GetEntity()->Find<ComponentTransform>()->GetTransform().Translation();
        const float values[4] = {place.x, place.y, place.z, light->GetRange()};
        std::memcpy(frame.lights[i * 2], values, sizeof values);
        std::memcpy(frame.lights[i * 2 + 1], light->GetLightColor(), sizeof values);
    }
    frame.counts[0] = static_cast<float>(count);
}

void CTownRenderer::i_SetFrame()
{
    Frame frame{};
    const ComponentRenderSettings& settings = m_town.GetSettings();
    const CVector3 eye = m_town.GetEye();
    std::memcpy(frame.projectionView, m_projectionView.GetElements(), sizeof frame.projectionView);
    const float eyeValues[4] = {eye.x, eye.y, eye.z, 1.0F};
    std::memcpy(frame.eye, eyeValues, sizeof eyeValues);
    std::memcpy(frame.ambient, settings.GetAmbientColor(), sizeof frame.ambient);
    std::memcpy(frame.fogColor, settings.GetClearColor(), sizeof frame.fogColor);
    const float fog[4] = {settings.GetFogNear(), settings.GetFogFar(), settings.GetFogEnabled() ? 1.0F : 0.0F, 0.0F};
    std::memcpy(frame.fog, fog, sizeof fog);
    i_CollectLights(frame);
    m_frame->WriteRecords<Frame>({&frame, 1});
    m_frame->BindUniform(kFrameBinding);
}

void CTownRenderer::Begin(int width, int height)
{
    ComponentCamera& camera = m_town.GetCamera();
    m_projectionView = camera.GenerateProjectionMatrix(static_cast<float>(width), static_cast<float>(height)) *
                       camera.GenerateViewMatrix();
    m_used = 0;
    m_drawCalls = 0;
    i_SetFrame();
    m_boxes->BindStorage(kBoxBinding);
    m_visible->BindStorage(kVisibleBinding);
    const float* clear = m_town.GetSettings().GetClearColor();
    m_renderer.Clear({clear[0], clear[1], clear[2]});

    const CPreservedState guard(m_renderer.GetState());
    const auto ground = static_cast<std::uint32_t>(m_town.GetEntities().size());
    m_visible->WriteRecords<std::uint32_t>({&ground, 1}, 0);
    m_used = 1;
    i_DrawBoxes(m_passes[kGround], 0, 1);
    if (m_material->Bind(m_passes[kSky]))
    {
        m_material->GetProgram(m_passes[kSky])->SetMatrix("inverseProjectionView", m_projectionView.Inverse());
        m_unitBox->Draw(Primitive::Triangles, 0, 3);
        ++m_drawCalls;
    }
}

void CTownRenderer::Draw(std::span<const int> numbers)
{
    m_sorted.clear();
    std::array<std::size_t, kKinds.size() + 1> ends{};
    for (std::size_t i = 0; i < kKinds.size(); ++i)
    {
        for (const int number : numbers)
        {
            if (m_town.GetKind(static_cast<std::size_t>(number)) == kKinds[i])
                m_sorted.push_back(static_cast<std::uint32_t>(number));
        }
        ends[i + 1] = m_sorted.size();
    }
    if (!m_visible->WriteRecords<std::uint32_t>(m_sorted, m_used))
        return;
    const CPreservedState guard(m_renderer.GetState());
    for (std::size_t i = 0; i < kKinds.size(); ++i)
        i_DrawBoxes(m_passes[i], m_used + ends[i], ends[i + 1] - ends[i]);
    m_used += m_sorted.size();
}

void CTownRenderer::i_DrawBoxes(int pass, std::size_t first, std::size_t count)
{
    if (count == 0 || !m_material->Bind(pass))
        return;
    m_material->GetProgram(pass)->SetInt("first", static_cast<int>(first));
    m_unitBox->DrawInstances(Primitive::Triangles, 0, 36, count);
    ++m_drawCalls;
}
