// The GUI: a colour, with GUI_TEXTURE multiplied by an image.

in vec2 imagePosition;
in vec4 vertexColor;

#ifdef GUI_TEXTURE
layout(binding = 0) uniform sampler2D image;
#endif

out vec4 result;

void main()
{
    result = vertexColor;
#ifdef GUI_TEXTURE
    result *= texture(image, imagePosition);
#endif
}
