-- A town: one pass for each kind of box, the ground, and the sky behind everything.

local function box(name)
    pass {
        name = name,
        vertex = "shaders/town.vert",
        fragment = "shaders/town.frag",
        defines = { name },
        blend = "none",
        cull = "back",
        depthTest = "less",
        depthWrite = true,
    }
end

box "GROUND"
box "WATER"
box "PARK"
box "STREET"
box "BUILDING"

pass {
    name = "SKY",
    vertex = "shaders/sky.vert",
    fragment = "shaders/sky.frag",
    blend = "none",
    cull = "none",
    depthTest = "lessEqual",
    depthWrite = false,
}
