// The GUI: takes apart the quads of a frame, in pixels from the upper left corner.

layout(std430, binding = 7) readonly buffer Quads
{
    uint words[]; // of each quad: two times four numbers, a colour, and what they mean
};

uniform vec4 scale; // pixels to clip space: factors, then what is added

const uint IMAGE = 0u;
const uint GRADIENT = 2u;
const uint DISC = 3u;
const uint RING = 4u;
const uint CORNERS = 5u;
const uint FADING = 6u;

out vec2 imagePosition;
out vec4 vertexColor;
flat out uint kind;
flat out vec4 box;

void main()
{
    uint quad = uint(gl_VertexID) / 4u * 10u;
    uint corner = uint(gl_VertexID) % 4u; // clockwise from the upper left one
    uint right = corner == 1u || corner == 2u ? 2u : 0u;
    uint lower = corner >= 2u ? 3u : 1u;
    kind = words[quad + 9u];
    uint shape = kind & 255u;

    // Where the corner's numbers stand: reading all to choose from them afterwards takes twice the time.
    uint x = shape >= CORNERS ? corner * 2u : right;
    uint y = shape >= CORNERS ? corner * 2u + 1u : lower;
    vec2 position = uintBitsToFloat(uvec2(words[quad + x], words[quad + y]));
    imagePosition = shape == IMAGE ? uintBitsToFloat(uvec2(words[quad + 4u + right], words[quad + 4u + lower])) : position;
    box = vec4(0.0);
    if (shape == DISC || shape == RING)
        box = uintBitsToFloat(uvec4(words[quad + 4u], words[quad + 5u], words[quad + 6u], words[quad + 7u]));
    vertexColor = unpackUnorm4x8(words[quad + (shape == GRADIENT ? 4u + corner : 8u)]);
    if (shape == FADING && corner < 2u)
        vertexColor.a = 0.0;
    gl_Position = vec4(position * scale.xy + scale.zw, 0.0, 1.0);
}
