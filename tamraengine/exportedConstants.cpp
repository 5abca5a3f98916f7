// With mingw-w64's compiler a DLL has the constants of an exported class only where something takes their address, and
// who uses the DLL wants them there as soon as he binds one to a reference. So each public one stands here.

#include "tamraengine/renderer/readback.h"
#include "tamraengine/renderer/renderState.h"
#include "tamraengine/renderer/texture.h"
#include "tamraengine/renderer/vertexCache.h"

namespace
{
[[gnu::used]] const void* const kExportedConstants[] = {
    &renderer::CReadback::kRequests, &renderer::CRenderState::kTextureUnits, &renderer::CRenderState::kBufferIndices,
    &renderer::CTexture::kMaxSide, &renderer::CVertexCache::kNoPlace};
} // namespace
