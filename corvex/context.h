#pragma once

#include "corvex/export.h"
#include "tamradeps/core/baseObject.h"

#include <memory>

/// An OpenGL 4.5 core context. One can be current at a time, which is the one that a renderer takes its device from;
/// one that becomes current takes over from the one before, of whatever kind.
class CORVEX_API CContext : public BaseObject
{
public:
    CContext() = default;
    CContext(const CContext&) = delete;
    CContext& operator=(const CContext&) = delete;

    const char* GetTypeString() override;

    /// False and one log line when that fails.
    virtual bool MakeCurrent() = 0;

    /// What the context draws to when no render target is bound, in pixels; 0 when it has no surface of its own.
    virtual int GetWidth() const = 0;
    virtual int GetHeight() const = 0;

    /// Shows what was drawn; nothing without a surface.
    virtual void SwapBuffers() = 0;
};

/// A context without a window that can be seen: everything is drawn into render targets. Needs no display, but on
/// Windows, where it has one by itself, and no GPU where the system has a software rasteriser.
class CORVEX_API COffscreenContext : public CContext
{
public:
    /// Makes the context and makes it current. Null and one log line when there is no EGL, or no OpenGL 4.5.
    static std::unique_ptr<COffscreenContext> Create();
    ~COffscreenContext() override;

    const char* GetTypeString() override;
    bool MakeCurrent() override;
    int GetWidth() const override { return 0; }
    int GetHeight() const override { return 0; }
    void SwapBuffers() override {}

private:
    struct Handles;

    explicit COffscreenContext(std::unique_ptr<Handles> handles);

    std::unique_ptr<Handles> m_handles;
};
