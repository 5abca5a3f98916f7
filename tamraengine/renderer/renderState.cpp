#include "tamraengine/renderer/renderState.h"

#include <algorithm>

#include <GL/glew.h>

namespace renderer
{
namespace
{
void Enable(GLenum capability, bool enabled)
{
    if (enabled)
        glEnable(capability);
    else
        glDisable(capability);
}

GLboolean ToGl(bool value)
{
    return value ? GL_TRUE : GL_FALSE;
}

void ApplyColorWrite(bool enabled)
{
    const GLboolean mask = ToGl(enabled);
    glColorMask(mask, mask, mask, mask);
}

void ApplyDepthTest(DepthTest test)
{
    Enable(GL_DEPTH_TEST, test != DepthTest::Off);
    switch (test)
    {
    case DepthTest::Off: break;
    case DepthTest::Less: glDepthFunc(GL_LESS); break;
    case DepthTest::LessEqual: glDepthFunc(GL_LEQUAL); break;
    case DepthTest::Equal: glDepthFunc(GL_EQUAL); break;
    case DepthTest::Always: glDepthFunc(GL_ALWAYS); break;
    }
}

void ApplyBlend(Blend blend)
{
    Enable(GL_BLEND, blend != Blend::Off);
    switch (blend)
    {
    case Blend::Off: break;
    case Blend::Alpha:
        // The target's own alpha grows as paint does, so that an off-screen picture can be laid over another.
        glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
        break;
    case Blend::Additive: glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE, GL_ZERO, GL_ONE); break;
    case Blend::Premultiplied: glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA); break;
    }
}

void ApplyCull(Cull cull)
{
    Enable(GL_CULL_FACE, cull != Cull::Off);
    if (cull != Cull::Off)
        glCullFace(cull == Cull::Front ? GL_FRONT : GL_BACK);
}

void ApplyScissorBox(const PixelRect& box)
{
    glScissor(box.x, box.y, box.width, box.height);
}

void ApplyViewport(const PixelRect& box)
{
    glViewport(box.x, box.y, box.width, box.height);
}

template <class Value, class Apply>
void Change(Value& current, const Value& value, bool hasDevice, const Apply& apply)
{
    if (current == value)
        return;
    current = value;
    if (hasDevice)
        apply(value);
}
} // namespace

void CRenderState::SetColorWrite(bool enabled)
{
    Change(m_values.colorWrite, enabled, m_hasDevice, ApplyColorWrite);
}

void CRenderState::SetDepthWrite(bool enabled)
{
    Change(m_values.depthWrite, enabled, m_hasDevice, [](bool value) { glDepthMask(ToGl(value)); });
}

void CRenderState::SetDepthTest(DepthTest test)
{
    Change(m_values.depthTest, test, m_hasDevice, ApplyDepthTest);
}

void CRenderState::SetBlend(Blend blend)
{
    Change(m_values.blend, blend, m_hasDevice, ApplyBlend);
}

void CRenderState::SetCull(Cull cull)
{
    Change(m_values.cull, cull, m_hasDevice, ApplyCull);
}

void CRenderState::SetScissorBox(int x, int y, int width, int height)
{
    const PixelRect box{x, y, std::max(width, 0), std::max(height, 0)};
    Change(m_values.scissor, true, m_hasDevice, [](bool value) { Enable(GL_SCISSOR_TEST, value); });
    Change(m_values.scissorBox, box, m_hasDevice, ApplyScissorBox);
}

void CRenderState::DisableScissor()
{
    Change(m_values.scissor, false, m_hasDevice, [](bool value) { Enable(GL_SCISSOR_TEST, value); });
}

void CRenderState::SetViewport(int x, int y, int width, int height)
{
    const PixelRect box{x, y, std::max(width, 0), std::max(height, 0)};
    Change(m_values.viewport, box, m_hasDevice, ApplyViewport);
}

void CRenderState::SetProgram(std::uint32_t program)
{
    Change(m_values.program, program, m_hasDevice, [](std::uint32_t value) { glUseProgram(value); });
}

void CRenderState::SetVertexArray(std::uint32_t vertexArray)
{
    Change(m_values.vertexArray, vertexArray, m_hasDevice, [](std::uint32_t value) { glBindVertexArray(value); });
}

void CRenderState::SetFramebuffer(std::uint32_t framebuffer)
{
    Change(m_values.framebuffer, framebuffer, m_hasDevice,
           [](std::uint32_t value) { glBindFramebuffer(GL_FRAMEBUFFER, value); });
}

void CRenderState::SetTexture(std::uint32_t unit, std::uint32_t texture)
{
    if (unit < kTextureUnits)
        Change(m_values.textures[unit], texture, m_hasDevice,
               [unit](std::uint32_t value) { glBindTextureUnit(unit, value); });
}

void CRenderState::SetUniformBuffer(std::uint32_t index, std::uint32_t buffer)
{
    if (index < kBufferIndices)
        Change(m_values.uniformBuffers[index], buffer, m_hasDevice,
               [index](std::uint32_t value) { glBindBufferBase(GL_UNIFORM_BUFFER, index, value); });
}

void CRenderState::SetStorageBuffer(std::uint32_t index, std::uint32_t buffer)
{
    if (index < kBufferIndices)
        Change(m_values.storageBuffers[index], buffer, m_hasDevice,
               [index](std::uint32_t value) { glBindBufferBase(GL_SHADER_STORAGE_BUFFER, index, value); });
}

void CRenderState::Set(const Values& values)
{
    SetColorWrite(values.colorWrite);
    SetDepthWrite(values.depthWrite);
    SetDepthTest(values.depthTest);
    SetBlend(values.blend);
    SetCull(values.cull);
    Change(m_values.scissor, values.scissor, m_hasDevice, [](bool value) { Enable(GL_SCISSOR_TEST, value); });
    Change(m_values.scissorBox, values.scissorBox, m_hasDevice, ApplyScissorBox);
    Change(m_values.viewport, values.viewport, m_hasDevice, ApplyViewport);
    SetProgram(values.program);
    SetVertexArray(values.vertexArray);
    SetFramebuffer(values.framebuffer);
    for (std::uint32_t unit = 0; unit < kTextureUnits; ++unit)
        SetTexture(unit, values.textures[unit]);
    for (std::uint32_t index = 0; index < kBufferIndices; ++index)
    {
        SetUniformBuffer(index, values.uniformBuffers[index]);
        SetStorageBuffer(index, values.storageBuffers[index]);
    }
}

void CRenderState::Invalidate()
{
    if (m_hasDevice)
        i_ApplyAll();
}

void CRenderState::i_ApplyAll()
{
    ApplyColorWrite(m_values.colorWrite);
    glDepthMask(ToGl(m_values.depthWrite));
    ApplyDepthTest(m_values.depthTest);
    ApplyBlend(m_values.blend);
    ApplyCull(m_values.cull);
    Enable(GL_SCISSOR_TEST, m_values.scissor);
    ApplyScissorBox(m_values.scissorBox);
    ApplyViewport(m_values.viewport);
    glUseProgram(m_values.program);
    glBindVertexArray(m_values.vertexArray);
    glBindFramebuffer(GL_FRAMEBUFFER, m_values.framebuffer);
    for (std::uint32_t unit = 0; unit < kTextureUnits; ++unit)
        glBindTextureUnit(unit, m_values.textures[unit]);
    for (std::uint32_t index = 0; index < kBufferIndices; ++index)
    {
        glBindBufferBase(GL_UNIFORM_BUFFER, index, m_values.uniformBuffers[index]);
        glBindBufferBase(GL_SHADER_STORAGE_BUFFER, index, m_values.storageBuffers[index]);
    }
}

void CRenderState::Forget(std::uint32_t Values::*slot, std::uint32_t name)
{
    Values values = m_values;
    if (values.*slot == name)
        values.*slot = 0;
    Set(values);
    for (CPreservedState* guard = m_guard; guard; guard = guard->m_outer)
    {
        if (guard->m_values.*slot == name)
            guard->m_values.*slot = 0;
    }
}

void CRenderState::ForgetTexture(std::uint32_t texture)
{
    Values values = m_values;
    std::replace(values.textures.begin(), values.textures.end(), texture, 0U);
    Set(values);
    for (CPreservedState* guard = m_guard; guard; guard = guard->m_outer)
        std::replace(guard->m_values.textures.begin(), guard->m_values.textures.end(), texture, 0U);
}

void CRenderState::ForgetBuffer(std::uint32_t buffer)
{
    Values values = m_values;
    i_ForgetBuffer(values, buffer);
    Set(values);
    for (CPreservedState* guard = m_guard; guard; guard = guard->m_outer)
        i_ForgetBuffer(guard->m_values, buffer);
}

void CRenderState::i_ForgetBuffer(Values& values, std::uint32_t buffer)
{
    std::replace(values.uniformBuffers.begin(), values.uniformBuffers.end(), buffer, 0U);
    std::replace(values.storageBuffers.begin(), values.storageBuffers.end(), buffer, 0U);
}
} // namespace renderer
