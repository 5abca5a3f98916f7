-- Every field of a pass with each of its values, and what scripts may use.
local common = { vertex = "shaders/common.vert", fragment = "shaders/common.frag" }

local function variant(name, fields)
    for key, value in pairs(common) do
        fields[key] = fields[key] or value
    end
    fields.name = name
    pass(fields)
end

variant("DEFAULT", {})
variant("DEFINES", { fragment = "shaders/fog.frag", defines = { "FOG", "LIGHTS " .. math.floor(7 / 2), ("scale"):upper() } })
for _, blend in ipairs { "none", "alpha", "additive", "premultiplied" } do
    variant("BLEND_" .. blend, { blend = blend })
end
for _, depth in ipairs { "none", false, "less", "lessEqual", true, "equal", "always" } do
    variant("DEPTH_" .. tostring(depth), { depthTest = depth })
end
for _, cull in ipairs { "none", "front", "back" } do
    variant("CULL_" .. cull, { cull = cull })
end
variant("WRITES_DEPTH", { colorWrite = false, depthWrite = true })
variant("WRITES_COLOR", { colorWrite = true, depthWrite = false })
print("not an error")
