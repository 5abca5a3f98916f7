#pragma once

#include "tamraengine/renderer/image.h"
#include "tamraengine/renderer/texture.h"

namespace renderer
{
/// A colour and a depth texture that can be drawn into.
class TAMRAENGINE_API CRenderTarget : public CDeviceObject
{
public:
    /// Null and one log line for a size that cannot be, or no device.
    static RefPtr<CRenderTarget> Create(CRenderer& renderer, int width, int height);
    ~CRenderTarget() override;

    const char* GetTypeString() override;

    int GetWidth() const noexcept { return m_color->GetWidth(); }
    int GetHeight() const noexcept { return m_color->GetHeight(); }
    /// `RGBA8` and `Depth32F`; replaced by `Resize`.
    CTexture& GetColor() const noexcept { return *m_color; }
    CTexture& GetDepth() const noexcept { return *m_depth; }

    /// Makes it another size; what was in it is lost. False, with nothing changed, when that fails.
    bool Resize(int width, int height);

    /// Draws go here from now on, over the whole size.
    void Bind();

    /// Copies the colours to the context's own surface of this size, stretched when the sizes differ.
    void CopyToWindow(int width, int height) const;

    /// Waits for the device and reads the colours back, upper row first.
    Image ReadPixels() const;

private:
    explicit CRenderTarget(CRenderer& renderer) : CDeviceObject(renderer) {}

    RefPtr<CTexture> m_color;
    RefPtr<CTexture> m_depth;
};
} // namespace renderer
