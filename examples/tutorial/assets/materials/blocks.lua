-- Blocks and what they stand on.

pass {
    name = "BLOCKS",
    vertex = "shaders/blocks.vert",
    fragment = "shaders/blocks.frag",
    depthTest = "less",
}
