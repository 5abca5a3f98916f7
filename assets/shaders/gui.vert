// The GUI, in pixels from the upper left corner.

layout(location = 0) in vec2 position;
layout(location = 1) in vec2 uv;
layout(location = 2) in vec4 color;

uniform vec4 scale; // pixels to clip space: factors, then what is added

out vec2 imagePosition;
out vec4 vertexColor;

void main()
{
    imagePosition = uv;
    vertexColor = color;
    gl_Position = vec4(position * scale.xy + scale.zw, 0.0, 1.0);
}
