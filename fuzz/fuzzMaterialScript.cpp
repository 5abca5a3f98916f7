// Any text is survived as a material script, in bounded time. What it describes keeps the rules for passes.

#include "fuzz/check.h"
#include "tamradeps/core/log.h"
#include "tamraengine/renderer/materialScript.h"

#include <cstdint>
#include <set>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    tamra::log::SetStandardErrorEnabled(false);
    const auto script = renderer::RunMaterialScript("fuzz.lua", {reinterpret_cast<const char*>(data), size});
    if (!script)
        return 0;
    Check(!script->passes.empty() && script->passes.size() <= renderer::MaterialScript::kMaxPasses);
    std::set<std::string> names;
    for (const renderer::MaterialPass& pass : script->passes)
    {
        Check(!pass.name.empty() && names.insert(pass.name).second);
        Check(!pass.source.vertex.empty() && !pass.source.fragment.empty() && pass.source.compute.empty());
        for (const std::string& define : pass.source.defines)
            Check(!define.empty() && define.find_first_of("\r\n") == std::string::npos && define.back() != '\\');
    }
    return 0;
}
