#include "tamraengine/renderer/occlusionQueries.h"

#include "tamraengine/renderer/deviceInternal.h"
#include "tamraengine/renderer/renderer.h"

namespace renderer
{
namespace
{
constexpr std::size_t kQueriesAtOnce = 256;
} // namespace

RefPtr<COcclusionQueries> COcclusionQueries::Create(CRenderer& renderer)
{
    if (renderer.HasDevice())
        return new COcclusionQueries(renderer);
    LogDeviceFailure("occlusion queries", "the renderer has no device");
    return nullptr;
}

COcclusionQueries::~COcclusionQueries()
{
    if (IsAlive() && !m_names.empty())
        glDeleteQueries(static_cast<GLsizei>(m_names.size()), m_names.data());
}

const char* COcclusionQueries::GetTypeString()
{
    return "COcclusionQueries";
}

std::int32_t COcclusionQueries::Allocate()
{
    if (m_free.empty())
    {
        const std::size_t first = m_names.size();
        m_names.resize(first + kQueriesAtOnce);
        m_asked.resize(m_names.size());
        if (IsAlive())
            glCreateQueries(GL_ANY_SAMPLES_PASSED, kQueriesAtOnce, &m_names[first]);
        for (std::size_t i = m_names.size(); i > first; --i)
            m_free.push_back(static_cast<std::int32_t>(i - 1));
    }
    const std::int32_t query = m_free.back();
    m_free.pop_back();
    m_asked[static_cast<std::size_t>(query)] = 0;
    return query;
}

void COcclusionQueries::Release(std::int32_t query)
{
    m_free.push_back(query);
}

void COcclusionQueries::Begin(std::int32_t query)
{
    if (!IsAlive())
        return;
    glBeginQuery(GL_ANY_SAMPLES_PASSED, m_names[static_cast<std::size_t>(query)]);
    m_asked[static_cast<std::size_t>(query)] = 1;
}

void COcclusionQueries::End()
{
    if (IsAlive())
        glEndQuery(GL_ANY_SAMPLES_PASSED);
}

bool COcclusionQueries::IsReady(std::int32_t query) const
{
    if (!IsAlive() || !IsAsked(query))
        return true;
    GLuint isReady = GL_FALSE;
    glGetQueryObjectuiv(m_names[static_cast<std::size_t>(query)], GL_QUERY_RESULT_AVAILABLE, &isReady);
    return isReady != GL_FALSE;
}

bool COcclusionQueries::Read(std::int32_t query) const
{
    if (!IsAlive() || !IsAsked(query))
        return false;
    GLuint passed = 0;
    glGetQueryObjectuiv(m_names[static_cast<std::size_t>(query)], GL_QUERY_RESULT, &passed);
    return passed != 0;
}
} // namespace renderer
