#pragma once

#include "tamraengine/export.h"

#include <array>
#include <cstdint>
#include <utility>

namespace renderer
{
class CRenderTarget;

/// How what is drawn joins what is there.
enum class Blend : std::uint8_t
{
    Off,
    Alpha,         ///< By the source's alpha.
    Additive,      ///< Added, weighted by the source's alpha.
    Premultiplied, ///< For colours that were multiplied by their alpha.
};

/// Which side of a triangle is left out. Front faces wind counter-clockwise.
enum class Cull : std::uint8_t
{
    Off,
    Front,
    Back,
};

/// What passes the depth test. With `Off` depth is not written either.
enum class DepthTest : std::uint8_t
{
    Off,
    Less,
    LessEqual,
    Equal,
    Always, ///< Passes everything, so that depth can be written all the same.
};

/// A rectangle of pixels; the origin is the lower left corner of the target.
struct PixelRect
{
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool operator==(const PixelRect&) const = default;
};

class CPreservedState;

/// The fixed-function state of the device. It remembers what is set, so that setting the same again costs a compare.
/// Belongs to the renderer; without a device it only remembers.
///
/// All state that it has goes through it: whoever sets it by OpenGL calls must call `Invalidate` afterwards.
class TAMRAENGINE_API CRenderState
{
public:
    /// Texture units that are looked after.
    static constexpr std::uint32_t kTextureUnits = 16;
    /// Indices of uniform blocks and of storage blocks that are looked after.
    static constexpr std::uint32_t kBufferIndices = 8;

    /// All of the state, as it is at first.
    struct Values
    {
        bool colorWrite = true;
        bool depthWrite = true;
        DepthTest depthTest = DepthTest::Off;
        Blend blend = Blend::Off;
        Cull cull = Cull::Off;
        bool scissor = false;
        PixelRect scissorBox;
        PixelRect viewport;
        std::uint32_t program = 0; ///< OpenGL names, 0 for none.
        std::uint32_t vertexArray = 0;
        std::uint32_t framebuffer = 0; ///< 0 is the context's own.
        std::array<std::uint32_t, kTextureUnits> textures{};
        std::array<std::uint32_t, kBufferIndices> uniformBuffers{};
        std::array<std::uint32_t, kBufferIndices> storageBuffers{};
        bool operator==(const Values&) const = default;
    };

    void SetColorWrite(bool enabled);
    void SetDepthWrite(bool enabled);
    void SetDepthTest(DepthTest test);
    void SetBlend(Blend blend);
    void SetCull(Cull cull);
    /// Leaves out all pixels outside the box, until `DisableScissor`. Negative sizes count as 0.
    void SetScissorBox(int x, int y, int width, int height);
    void DisableScissor();
    void SetViewport(int x, int y, int width, int height);
    void SetProgram(std::uint32_t program);
    void SetVertexArray(std::uint32_t vertexArray);
    void SetFramebuffer(std::uint32_t framebuffer);
    /// Binds an OpenGL texture to a unit below `kTextureUnits`; others are ignored.
    void SetTexture(std::uint32_t unit, std::uint32_t texture);
    /// Binds all of an OpenGL buffer to an index below `kBufferIndices`; others are ignored.
    void SetUniformBuffer(std::uint32_t index, std::uint32_t buffer);
    void SetStorageBuffer(std::uint32_t index, std::uint32_t buffer);

    const Values& GetValues() const noexcept { return m_values; }
    /// Sets everything to the values.
    void Set(const Values& values);

    /// Sets everything anew, because somebody else changed it.
    void Invalidate();
    /// Forgets an OpenGL object that is about to be deleted wherever it is bound, and wherever a guard would bind it.
    void Forget(std::uint32_t Values::*slot, std::uint32_t name);
    void ForgetTexture(std::uint32_t texture);
    void ForgetBuffer(std::uint32_t buffer);

private:
    friend class CRenderer;
    friend class CPreservedState;

    void i_ApplyAll();
    static void i_ForgetBuffer(Values& values, std::uint32_t buffer);

    Values m_values;
    CPreservedState* m_guard = nullptr; // the innermost
    bool m_hasDevice = false;
};

/// Puts the state back at the end of the scope. Guards end in the reverse order in which they began; what was deleted
/// meanwhile is not bound again.
///
///     CPreservedState guard(renderer.GetState());
///     renderer.GetState().SetDepthWrite(false);
class CPreservedState
{
public:
    explicit CPreservedState(CRenderState& state)
        : m_state(state),
          m_outer(std::exchange(state.m_guard, this)),
          m_values(state.GetValues())
    {
    }
    CPreservedState(const CPreservedState&) = delete;
    CPreservedState& operator=(const CPreservedState&) = delete;
    ~CPreservedState()
    {
        m_state.m_guard = m_outer;
        m_state.Set(m_values);
    }

private:
    friend class CRenderState;

    CRenderState& m_state;
    CPreservedState* m_outer;
    CRenderState::Values m_values;
};
} // namespace renderer
