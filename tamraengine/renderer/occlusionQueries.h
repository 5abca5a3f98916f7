#pragma once

#include "tamradeps/core/refPtr.h"
#include "tamraengine/renderer/deviceObject.h"

#include <cstdint>
#include <vector>

namespace renderer
{
/// Questions to the device whether anything of what is drawn passes the depth test. A question is a number; numbers
/// that are given back are used again.
///
///     queries->Begin(query);
///     box->Draw(...);
///     queries->End();
///     ...                                   // in a later frame
///     bool isVisible = queries->Read(query);
class TAMRAENGINE_API COcclusionQueries : public CDeviceObject
{
public:
    /// Null and one log line without a device.
    static RefPtr<COcclusionQueries> Create(CRenderer& renderer);
    ~COcclusionQueries() override;

    const char* GetTypeString() override;

    /// A question that was not asked yet. Costs a call to the device for every 256th.
    std::int32_t Allocate();
    void Release(std::int32_t query);

    /// What is drawn from here to `End` is asked about; one question at a time. Asking again drops the answer before.
    void Begin(std::int32_t query);
    void End();

    /// Whether it was asked.
    bool IsAsked(std::int32_t query) const noexcept { return m_asked[static_cast<std::size_t>(query)] != 0; }
    /// Whether `Read` would not wait.
    bool IsReady(std::int32_t query) const;
    /// The last answer; waits for the device. False when it was not asked.
    bool Read(std::int32_t query) const;

private:
    explicit COcclusionQueries(CRenderer& renderer) : CDeviceObject(renderer) {}

    std::vector<std::uint32_t> m_names;
    std::vector<std::uint8_t> m_asked;
    std::vector<std::int32_t> m_free;
};
} // namespace renderer
