#pragma once

#include "apps/sandbox/townModel.h"
#include "tamraengine/renderer/buffer.h"
#include "tamraengine/renderer/programmableMaterial.h"
#include "tamraengine/renderer/renderer.h"
#include "tamraengine/renderer/vertexCache.h"

#include <array>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

/// Draws a town: every box of a kind in one instanced call, lit by the town's lights and dimmed by its fog.
class CTownRenderer
{
public:
    /// Both must outlive it.
    CTownRenderer(renderer::CRenderer& renderer, CTownModel& town);

    /// Loads materials and puts the town into the device's memory. False when that fails, which was logged.
    bool Initialize();

    /// Takes over the place of an entity that has moved.
    void Update(int number);
    /// Takes all of them over anew, after some have come or gone. False when there is no memory.
    bool Upload();

    /// Starts a picture from the town's camera over a target of this size: clears it and draws sky and ground.
    void Begin(int width, int height);
    /// Draws the entities with these numbers, which are in ascending order. May be called several times in a picture.
    void Draw(std::span<const int> numbers);

    const CMatrix& GetProjectionView() const noexcept { return m_projectionView; }
    int GetDrawCalls() const noexcept { return m_drawCalls; }

    /// Takes changed materials into use.
    void ReloadIfChanged() { m_material->ReloadIfChanged(); }

private:
    enum Pass
    {
        kWater,
        kPark,
        kStreet,
        kBuilding, // the kinds of boxes, flat ones first
        kGround,
        kSky,
        kPassCount
    };
    struct Box;
    struct Frame;

    Box i_MakeBox(std::size_t number) const;
    void i_SetFrame();
    void i_CollectLights(Frame& frame);
    void i_DrawBoxes(int pass, std::size_t first, std::size_t count);

    renderer::CRenderer& m_renderer;
    CTownModel& m_town;
    RefPtr<CProgrammableMaterial> m_material;
    RefPtr<renderer::CVertexCache> m_unitBox;
    RefPtr<renderer::CBuffer> m_boxes;
    RefPtr<renderer::CBuffer> m_visible;
    RefPtr<renderer::CBuffer> m_frame;
    std::size_t m_used = 0; // entries of m_visible in this picture
    std::vector<std::uint32_t> m_sorted;
    std::vector<std::pair<float, const class ComponentLight*>> m_nearLights;
    CMatrix m_projectionView;
    std::array<int, kPassCount> m_passes{}; // of the material
    int m_drawCalls = 0;
};
