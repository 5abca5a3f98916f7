-- The GUI: areas of plain colours, and those with a picture or the characters of a font.

for _, name in ipairs { "GUI_COLOR", "GUI_TEXTURE" } do
    pass {
        name = name,
        vertex = "shaders/gui.vert",
        fragment = "shaders/gui.frag",
        defines = { name },
        blend = "alpha",
        cull = "none",
        depthTest = "none",
        depthWrite = false,
    }
end
