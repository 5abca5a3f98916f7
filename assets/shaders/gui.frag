// The GUI: a colour, with GUI_TEXTURE and where there is one multiplied by an image.

in vec2 imagePosition;
in vec4 vertexColor;
flat in float imageShare;

#ifdef GUI_TEXTURE
layout(binding = 0) uniform sampler2D image;
#endif

out vec4 result;

void main()
{
    result = vertexColor;
#ifdef GUI_TEXTURE
    result *= mix(vec4(1.0), texture(image, imagePosition), imageShare);
#endif
}
