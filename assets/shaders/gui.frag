// The GUI: a colour, multiplied by a round corner or, with GUI_TEXTURE, an image where there is one.

in vec2 imagePosition;
in vec4 vertexColor;
flat in uint source; // 0 for plain areas

layout(binding = 1) uniform sampler2D corners;

#ifdef GUI_TEXTURE
layout(binding = 0) uniform sampler2D image;
#endif

out vec4 result;

void main()
{
    result = vertexColor;
#ifdef GUI_TEXTURE
    result *= mix(vec4(1.0), texture(image, imagePosition), float(source & 1u));
#endif
    if (source == 2u)
        result *= texelFetch(corners, ivec2(imagePosition), 0);
}
