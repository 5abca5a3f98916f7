#pragma once

#include "tamradeps/core/refClass.h"
#include "tamradeps/core/refPtr.h"
#include "tamraengine/renderer/materialScript.h"
#include "tamraengine/renderer/program.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The passes that a material script describes, ready to draw with. See `renderer::MaterialScript` for the language.
///
///     RefPtr<CProgrammableMaterial> material(new CProgrammableMaterial(renderer));
///     material->Load("materials/town.lua");
///     const int opaque = material->GetPass("OPAQUE");
///     ...
///     if (material->Bind(opaque))
///         material->GetProgram(opaque)->SetMatrix("viewProjection", matrix);
///
/// It must not be loaded or bound after its renderer is gone.
class TAMRAENGINE_API CProgrammableMaterial : public RefClass
{
public:
    explicit CProgrammableMaterial(renderer::CRenderer& renderer) : m_renderer(renderer) {}
    CProgrammableMaterial(const CProgrammableMaterial&) = delete;
    CProgrammableMaterial& operator=(const CProgrammableMaterial&) = delete;

    const char* GetTypeString() override;

    /// Runs the script that the file system finds and builds a program for each pass. False, with one log block, when a
    /// file is missing or has a mistake: then the passes are those from before.
    bool Load(const std::string& name);
    bool Reload() { return Load(m_name); }
    /// Loads again if the script or a file of its programs was written since the last attempt, successful or not. True
    /// when there are new passes. Asks the disk for each file: for once a frame while somebody works on them.
    bool ReloadIfChanged();

    const std::string& GetName() const noexcept { return m_name; }
    /// The number of a pass, -1 if no load so far knew its name. A pass keeps its number for good, also when it is
    /// gone.
    int GetPass(std::string_view name) const noexcept;
    /// Whether the last successful load had the pass.
    bool HasPass(int pass) const noexcept { return i_Find(pass) != nullptr; }

    /// Draws use the program and the state of the pass from now on. False, with nothing changed, when there is no such
    /// pass or the device is gone.
    bool Bind(int pass) const;
    /// For setting uniforms, which do not survive loading again. Null when there is no such pass. Valid until the next
    /// load.
    renderer::CProgram* GetProgram(int pass) const noexcept;

private:
    struct Pass
    {
        renderer::MaterialPass description;
        RefPtr<renderer::CProgram> program; // null when the pass is gone
    };

    bool i_LoadPasses(std::vector<Pass>& passes);
    void i_Watch(const std::string& file);
    void i_Take(std::vector<Pass>&& passes);
    const Pass* i_Find(int pass) const noexcept;

    renderer::CRenderer& m_renderer;
    std::string m_name;
    std::vector<Pass> m_passes;
    std::vector<std::pair<std::string, std::uint64_t>> m_stamps; // of the files that the material has asked for
};
