// One level of the depth pyramid: each texel is the farthest of those of the level before that it stands for. Levels
// halve and round down, so the last column and row stand for three where the level before has an odd number.

layout(local_size_x = 8, local_size_y = 8) in;

layout(binding = 0) uniform sampler2D source;
layout(binding = 0, r32f) uniform writeonly image2D target;
uniform int sourceLevel;

void main()
{
    ivec2 place = ivec2(gl_GlobalInvocationID.xy);
    ivec2 size = imageSize(target);
    if (any(greaterThanEqual(place, size)))
        return;
    ivec2 sourceSize = textureSize(source, sourceLevel);
    ivec2 first = place * 2;
    ivec2 last = min(first + 1, sourceSize - 1);
    if (place.x == size.x - 1)
        last.x = sourceSize.x - 1;
    if (place.y == size.y - 1)
        last.y = sourceSize.y - 1;
    float farthest = 0.0;
    for (int y = first.y; y <= last.y; ++y)
    {
        for (int x = first.x; x <= last.x; ++x)
            farthest = max(farthest, texelFetch(source, ivec2(x, y), sourceLevel).r);
    }
    imageStore(target, place, vec4(farthest));
}
