#pragma once

#include "tamraengine/export.h"
#include "tamraengine/renderer/program.h"
#include "tamraengine/renderer/renderState.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace renderer
{
/// One way to draw: a program, and the state to draw in.
struct MaterialPass
{
    std::string name;
    ProgramSource source;
    Blend blend = Blend::Off;
    DepthTest depthTest = DepthTest::LessEqual;
    Cull cull = Cull::Back;
    bool depthWrite = true;
    bool colorWrite = true;
};

/// What a material script describes.
///
/// A script is Lua 5.4 that calls `pass` once for every pass:
///
///     local fog = "FOG " .. 1
///     pass { name = "OPAQUE", vertex = "shaders/town.vert", fragment = "shaders/town.frag", defines = { fog } }
///     pass { name = "GLASS", vertex = "shaders/town.vert", fragment = "shaders/town.frag",
///            blend = "alpha", cull = "none", depthWrite = false }
///
/// Fields, of which the first three must be there:
/// - `name`: 1 to 64 characters, not that of another pass.
/// - `vertex`, `fragment`: file names, relative and without "..".
/// - `defines`: a list of at most 64 texts "NAME" or "NAME value", for both shaders.
/// - `blend`: "none", "alpha", "additive" or "premultiplied".
/// - `depthTest`: "none" or false, "less", "lessEqual" or true, "equal", "always".
/// - `cull`: "none", "front" or "back".
/// - `depthWrite`, `colorWrite`: true or false.
struct MaterialScript
{
    static constexpr std::size_t kMaxPasses = 64;

    std::vector<MaterialPass> passes;
};

/// Runs the text of a script; `name` is for messages. Nothing, and one log line with name and line, when it is not
/// right in every respect or describes no pass.
///
/// The script sees `assert`, `error`, `ipairs`, `next`, `pairs`, `print` (to the log), `select`, `tonumber`,
/// `tostring`, `type`, what calculates in `math`, and from `string` and `table` the functions that work in time and
/// memory that can be foreseen; no files, no other scripts, nothing that catches errors. It is stopped after a million
/// instructions, after a second, or when it needs more than a mebibyte, and must not be longer than 64 KiB.
TAMRAENGINE_API std::optional<MaterialScript> RunMaterialScript(const std::string& name, std::string_view text);
} // namespace renderer
