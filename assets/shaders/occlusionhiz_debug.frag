// A level of the depth pyramid as grey: near is dark, and most of what there is lies in the last part of the range.

in vec2 place;
layout(binding = 0) uniform sampler2D pyramid;
uniform int level;
out vec4 result;

void main()
{
    ivec2 size = textureSize(pyramid, level);
    float depth = texelFetch(pyramid, min(ivec2(place * vec2(size)), size - 1), level).r;
    result = vec4(vec3(pow(depth, 48.0)), 1.0);
}
