#include "tamraengine/renderer/programmableMaterial.h"

#include "tamradeps/io/fileSystem.h"
#include "tamraengine/renderer/renderer.h"

#include <algorithm>

using namespace renderer;

namespace
{
constexpr std::size_t kMaxScriptSize = std::size_t{1} << 20;
}

const char* CProgrammableMaterial::GetTypeString()
{
    return "CProgrammableMaterial";
}

bool CProgrammableMaterial::Load(const std::string& name)
{
    if (name != m_name)
        m_stamps.clear();
    m_name = name;
    // Stamps are taken before reading, so that what is written meanwhile counts as a change.
    for (auto& [file, stamp] : m_stamps)
        stamp = GetFileSystem().GetFileStamp(file);
    std::vector<Pass> passes;
    if (!i_LoadPasses(passes))
        return false;
    i_Take(std::move(passes));
    return true;
}

bool CProgrammableMaterial::ReloadIfChanged()
{
    const auto isChanged = [](const auto& stamp) { return GetFileSystem().GetFileStamp(stamp.first) != stamp.second; };
    return std::any_of(m_stamps.begin(), m_stamps.end(), isChanged) && Reload();
}

bool CProgrammableMaterial::i_LoadPasses(std::vector<Pass>& passes)
{
    i_Watch(m_name);
    std::vector<std::byte> file;
    if (!GetFileSystem().FileIn(m_name, file, kMaxScriptSize))
        return false;
    auto script = RunMaterialScript(m_name, {reinterpret_cast<const char*>(file.data()), file.size()});
    if (!script)
        return false;
    for (const MaterialPass& pass : script->passes)
    {
        i_Watch(pass.source.vertex);
        i_Watch(pass.source.fragment);
    }
    for (MaterialPass& pass : script->passes)
    {
        RefPtr<CProgram> program = CProgram::Create(m_renderer, pass.source);
        if (!program)
            return false;
        passes.push_back({std::move(pass), std::move(program)});
    }
    return true;
}

void CProgrammableMaterial::i_Watch(const std::string& file)
{
    const auto isSame = [&](const auto& stamp) { return stamp.first == file; };
    if (std::none_of(m_stamps.begin(), m_stamps.end(), isSame))
        m_stamps.emplace_back(file, GetFileSystem().GetFileStamp(file));
}

void CProgrammableMaterial::i_Take(std::vector<Pass>&& passes)
{
    for (Pass& old : m_passes)
        old.program = nullptr;
    for (Pass& pass : passes)
    {
        const int known = GetPass(pass.description.name);
        if (known < 0)
            m_passes.push_back(std::move(pass));
        else
            m_passes[static_cast<std::size_t>(known)] = std::move(pass);
    }
}

int CProgrammableMaterial::GetPass(std::string_view name) const noexcept
{
    const auto isNamed = [&](const Pass& pass) { return pass.description.name == name; };
    const auto pass = std::find_if(m_passes.begin(), m_passes.end(), isNamed);
    return pass == m_passes.end() ? -1 : static_cast<int>(pass - m_passes.begin());
}

const CProgrammableMaterial::Pass* CProgrammableMaterial::i_Find(int pass) const noexcept
{
    if (pass < 0 || static_cast<std::size_t>(pass) >= m_passes.size())
        return nullptr;
    const Pass& found = m_passes[static_cast<std::size_t>(pass)];
    return found.program ? &found : nullptr;
}

bool CProgrammableMaterial::Bind(int pass) const
{
    const Pass* found = i_Find(pass);
    if (!found || !found->program->IsAlive())
        return false;
    const MaterialPass& description = found->description;
    CRenderState& state = m_renderer.GetState();
    state.SetBlend(description.blend);
    state.SetDepthTest(description.depthTest);
    state.SetDepthWrite(description.depthWrite);
    state.SetColorWrite(description.colorWrite);
    state.SetCull(description.cull);
    found->program->Use();
    return true;
}

CProgram* CProgrammableMaterial::GetProgram(int pass) const noexcept
{
    const Pass* found = i_Find(pass);
    return found ? found->program.Get() : nullptr;
}
