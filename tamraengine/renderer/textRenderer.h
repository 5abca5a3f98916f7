#pragma once

#include "tamradeps/core/refPtr.h"
#include "tamraengine/renderer/program.h"
#include "tamraengine/renderer/vertexCache.h"

#include <string_view>
#include <vector>

/// Writes plain text over a picture: figures and labels for programmers, in a small built-in face of ASCII characters.
class TAMRAENGINE_API CTextRenderer
{
public:
    /// The renderer must outlive it.
    explicit CTextRenderer(renderer::CRenderer& renderer) : m_renderer(renderer) {}

    /// Adds text with its upper left corner at pixels from the upper left; line ends start lines below. A pixel of the
    /// face is `scale` pixels wide; a line is 12 of them high.
    void Write(float x, float y, std::string_view text, std::uint32_t color = 0xFFFFFFFF, float scale = 2.0F);

    /// Width of the longest line and height of all lines, in pixels.
    static float GetWidth(std::string_view text, float scale = 2.0F);
    static float GetHeight(std::string_view text, float scale = 2.0F);

    /// Draws all of it over what is bound, which is so many pixels large, and forgets it.
    void Render(int width, int height);

private:
    renderer::CRenderer& m_renderer;
    RefPtr<renderer::CProgram> m_program;
    std::vector<renderer::Vertex> m_vertices;
    std::vector<std::byte> m_quads; // what the face makes of one text
};
