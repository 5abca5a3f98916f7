#pragma once

#include "tamradeps/core/refPtr.h"
#include "tamradeps/math/matrix.h"
#include "tamraengine/renderer/deviceObject.h"

#include <string>
#include <utility>
#include <vector>

namespace renderer
{
/// Where the text of a program's shaders comes from.
struct ProgramSource
{
    std::string vertex; ///< File names, looked for by the file system; empty for none.
    std::string fragment;
    std::string compute;              ///< Instead of the other two.
    std::vector<std::string> defines; ///< "NAME" or "NAME value", for all shaders.
};

/// A linked shader program.
///
/// Errors are one log block: the file, the line and the driver's text for each message.
class TAMRAENGINE_API CProgram : public CDeviceObject
{
public:
    /// The program "shaders/name": the file name + ".comp" if there is one, else name + ".vert" and name + ".frag".
    static RefPtr<CProgram> Create(CRenderer& renderer, const std::string& name);
    /// Null and one log block when a file is missing, does not compile, or does not link.
    static RefPtr<CProgram> Create(CRenderer& renderer, const ProgramSource& source);
    /// From texts instead of files. "#version" must not be in them: it is added, with the defines.
    static RefPtr<CProgram> CreateFromText(CRenderer& renderer, const std::string& vertex, const std::string& fragment);
    static RefPtr<CProgram> CreateComputeFromText(CRenderer& renderer, const std::string& compute);
    ~CProgram() override;

    const char* GetTypeString() override;

    /// Reads the files anew. False and one log block when they do not make a program: the last good one stays in use.
    bool Reload();

    /// Draws use it from now on.
    void Use() const;

    /// Sets a uniform, whether or not the program is in use. A name that the program has no use for is ignored.
    void SetInt(const char* name, int value);
    void SetFloat(const char* name, float value);
    void SetVector(const char* name, CVector3 value);
    void SetVector4(const char* name, const float* values);
    void SetMatrix(const char* name, const CMatrix& value);
    /// Gives a uniform block the index that `CBuffer::BindUniform` takes.
    void BindUniformBlock(const char* name, std::uint32_t index);

    /// Runs a compute program over so many groups. Whatever it writes must be fenced by the caller.
    void Dispatch(std::uint32_t x, std::uint32_t y = 1, std::uint32_t z = 1) const;

private:
    struct Text
    {
        std::uint32_t stage;
        std::string name;
        std::string text;
    };

    explicit CProgram(CRenderer& renderer) : CDeviceObject(renderer) {}
    static RefPtr<CProgram> i_CreateFromTexts(CRenderer& renderer, const std::vector<Text>& texts);
    bool i_ReadTexts(std::vector<Text>& texts) const;
    bool i_Build(const std::vector<Text>& texts);
    int i_GetLocation(const char* name);

    ProgramSource m_source;
    bool m_isFromFiles = false;
    std::vector<std::pair<std::string, int>> m_locations;
};
} // namespace renderer
