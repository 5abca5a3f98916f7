// The first program of docs/tutorial.md: a picture of one colour, drawn without a display.

// [empty]
#include "corvex/context.h"
#include "tamraengine/renderer/imageEncoder.h"
#include "tamraengine/renderer/renderTarget.h"
#include "tamraengine/renderer/renderer.h"

int main(int count, char** values)
{
    const auto context = COffscreenContext::Create();
    renderer::CRenderer renderer;
    if (!context || !renderer.InitializeDevice())
        return 1;
    const auto target = renderer::CRenderTarget::Create(renderer, 640, 360);
    renderer.BeginFrame(1.0F / 60.0F);
    target->Bind();
    renderer.Clear({0.62F, 0.72F, 0.82F});
    return renderer::WritePng(count > 1 ? values[1] : "empty.png", target->ReadPixels()) ? 0 : 1;
}
// [empty end]
