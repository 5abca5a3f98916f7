// The GUI: takes apart the quads of a frame, in pixels from the upper left corner.

layout(std430, binding = 7) readonly buffer Quads
{
    uint words[]; // of each quad: two times four numbers, a colour, and what they mean
};

uniform vec4 scale; // pixels to clip space: factors, then what is added

const uint IMAGE = 0u;
const uint GRADIENT = 2u;
const uint ROUND = 3u;
const uint CORNERS = 4u;
const uint FADING = 5u;

out vec2 imagePosition;
out vec4 vertexColor;
flat out uint source; // 0 for plain areas, 1 with an image, 2 round corners

void main()
{
    uint quad = uint(gl_VertexID) / 4u * 10u;
    uint corner = uint(gl_VertexID) % 4u; // clockwise from the upper left one
    uint right = corner == 1u || corner == 2u ? 2u : 0u;
    uint lower = corner >= 2u ? 3u : 1u;
    uint kind = words[quad + 9u];

    // Where the corner's numbers stand: reading all to choose from them afterwards takes twice the time.
    uint x = kind >= CORNERS ? corner * 2u : right;
    uint y = kind >= CORNERS ? corner * 2u + 1u : lower;
    vec2 position = uintBitsToFloat(uvec2(words[quad + x], words[quad + y]));
    source = kind == IMAGE ? 1u : kind == ROUND ? 2u : 0u;
    imagePosition = source != 0u ? uintBitsToFloat(uvec2(words[quad + 4u + right], words[quad + 4u + lower])) : vec2(0.0);
    vertexColor = unpackUnorm4x8(words[quad + (kind == GRADIENT ? 4u + corner : 8u)]);
    if (kind == FADING && corner < 2u)
        vertexColor.a = 0.0;
    gl_Position = vec4(position * scale.xy + scale.zw, 0.0, 1.0);
}
