// The GUI: a colour, multiplied by a round corner or, with GUI_TEXTURE, an image where there is one.

in vec2 imagePosition; // in pixels of the screen for round rectangles
in vec4 vertexColor;
flat in uint kind;
flat in vec4 box;

const uint IMAGE = 0u;
const uint DISC = 3u;
const uint RING = 4u;
const int DISC_ROW = 1;
const int RING_ROW = 20;
const int HEIGHT = 64;

layout(binding = 1) uniform sampler2D corners; // those on the upper left
#ifdef GUI_TEXTURE
layout(binding = 0) uniform sampler2D image;
#endif

out vec4 result;

float getRoundShare()
{
    ivec2 inside = ivec2(min(imagePosition - box.xy, box.zw - imagePosition));
    bool isRing = (kind & 255u) == RING;
    if (max(inside.x, inside.y) >= int(kind >> 16u))
        return isRing && min(inside.x, inside.y) > 0 ? 0.0 : 1.0;
    int row = (isRing ? RING_ROW : DISC_ROW) + inside.y;
    return texelFetch(corners, ivec2(int(kind >> 8u & 255u) + inside.x, HEIGHT - 1 - row), 0).a;
}

void main()
{
    result = vertexColor;
#ifdef GUI_TEXTURE
    result *= mix(vec4(1.0), texture(image, imagePosition), kind == IMAGE ? 1.0 : 0.0);
#endif
    if ((kind & 255u) == DISC || (kind & 255u) == RING)
        result.a *= getRoundShare();
}
