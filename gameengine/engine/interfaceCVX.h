#pragma once

#include "corvex/auxRenderer.h"
#include "gameengine/engine/interfaceBase.h"

class CRenderQueue;

/// Gives components access to the framework: lines and boxes drawn for one frame.
class TAMRAGAMEENGINE_API CInterfaceCVX : public CInterfaceBase
{
public:
    static constexpr std::int32_t TYPEID() noexcept { return 5; }

    const char* GetTypeString() override;
    const char* GetTypeName() const override;
    std::int32_t GetType() const override;

    /// Takes lines and boxes until the end of the frame; lives as long as the interface.
    virtual CAuxRenderer* GetAuxRenderer();
    /// Hands everything collected to the queue and starts anew.
    virtual void RenderAuxToRenderQueue(CRenderQueue& queue);

private:
    CAuxRenderer m_auxRenderer;
};
