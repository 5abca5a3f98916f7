#include "tamraengine/renderer/textRenderer.h"

#include "tamraengine/renderer/renderer.h"

#include <cstring>
#include <string>

#include <stb_easy_font.h>

using namespace renderer;

namespace
{
constexpr std::size_t kMaxLength = 4096;
constexpr std::size_t kCharacterSize = 400; // bytes that stb_easy_font may need for one

constexpr const char* kVertexShader = R"(
layout(location = 0) in vec3 position;
layout(location = 2) in vec4 color;
uniform vec4 scale;
out vec4 vertexColor;
void main()
{
    gl_Position = vec4(position.xy * scale.xy + scale.zw, 0.0, 1.0);
    vertexColor = color;
}
)";

constexpr const char* kFragmentShader = R"(
in vec4 vertexColor;
out vec4 result;
void main()
{
    result = vertexColor;
}
)";

// What the face knows, ended by a zero.
std::string Clean(std::string_view text)
{
    std::string clean(text.substr(0, kMaxLength));
    for (char& character : clean)
    {
        if (character != '\n' && (character < ' ' || character > '~'))
            character = '?';
    }
    return clean;
}

struct EasyVertex
{
    float x;
    float y;
    float z;
    std::uint32_t color;
};
} // namespace

void CTextRenderer::Write(float x, float y, std::string_view text, std::uint32_t color, float scale)
{
    std::string clean = Clean(text);
    m_quads.resize(clean.size() * kCharacterSize);
    const int count =
        stb_easy_font_print(0, 0, clean.data(), nullptr, m_quads.data(), static_cast<int>(m_quads.size()));
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
    {
        for (const unsigned corner : {0U, 1U, 2U, 0U, 2U, 3U})
        {
            EasyVertex from;
            std::memcpy(&from, &m_quads[(i * 4 + corner) * sizeof from], sizeof from);
            m_vertices.push_back({{x + from.x * scale, y + from.y * scale, 0.0F}, 0.0F, 0.0F, color});
        }
    }
}

float CTextRenderer::GetWidth(std::string_view text, float scale)
{
    std::string clean = Clean(text);
    return static_cast<float>(stb_easy_font_width(clean.data())) * scale;
}

float CTextRenderer::GetHeight(std::string_view text, float scale)
{
    std::string clean = Clean(text);
    return static_cast<float>(stb_easy_font_height(clean.data())) * scale;
}

void CTextRenderer::Render(int width, int height)
{
    CVertexCache* const cache = m_renderer.GetVertexCache();
    if (cache && !m_program)
        m_program = CProgram::CreateFromText(m_renderer, kVertexShader, kFragmentShader);
    if (cache && m_program && width > 0 && height > 0 && !m_vertices.empty())
    {
        const CPreservedState guard(m_renderer.GetState());
        m_renderer.GetState().SetDepthTest(DepthTest::Off);
        m_renderer.GetState().SetCull(Cull::Off);
        m_renderer.GetState().SetBlend(Blend::Alpha);
        const float scale[4] = {2.0F / static_cast<float>(width), -2.0F / static_cast<float>(height), -1.0F, 1.0F};
        m_program->SetVector4("scale", scale);
        m_program->Use();
        const std::size_t first = cache->Append(m_vertices);
        if (first != CVertexCache::kNoPlace)
            cache->Draw(Primitive::Triangles, first, m_vertices.size());
    }
    m_vertices.clear();
}
