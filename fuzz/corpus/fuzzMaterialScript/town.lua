local common = { vertex = "shaders/town.vert", fragment = "shaders/town.frag" }
local function variant(name, fields)
    for key, value in pairs(common) do fields[key] = value end
    fields.name = name
    pass(fields)
end
variant("OPAQUE", { defines = { "FOG", "LIGHTS " .. math.floor(7 / 2), ("scale"):upper() } })
variant("GLASS", { blend = "premultiplied", cull = "none", depthTest = "equal", depthWrite = false, colorWrite = true })
