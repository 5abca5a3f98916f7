// Compares all boxes with the depth pyramid: one bit for each box, set when it may be seen. What cannot be judged -
// behind the camera, out of the picture, not a number - may be seen.

layout(local_size_x = 64) in;

layout(std140, binding = 0) uniform OcclusionData
{
    mat4 projectionView;
    vec4 pictureSize; // pixels; levels of the pyramid; by how much depth may be off
    uvec4 counts;     // boxes
};

layout(binding = 0) uniform sampler2D pyramid; // level n stands for 2^(n+1) pixels

layout(std430, binding = 0) readonly buffer Boxes
{
    float boxes[]; // min x, y, z, max x, y, z
};
layout(std430, binding = 1) writeonly buffer Answers
{
    uint answers[];
};

shared uint words[2];

const int kMaxTexels = 4; // along a side of the rectangle that is looked at

bool maySee(uint index)
{
    vec3 low = vec3(boxes[index * 6u], boxes[index * 6u + 1u], boxes[index * 6u + 2u]);
    vec3 high = vec3(boxes[index * 6u + 3u], boxes[index * 6u + 4u], boxes[index * 6u + 5u]);
    vec3 nearest = vec3(3.0e38);
    vec2 farthest = vec2(-3.0e38);
    for (int i = 0; i < 8; ++i)
    {
        vec3 corner = vec3((i & 1) != 0 ? high.x : low.x, (i & 2) != 0 ? high.y : low.y, (i & 4) != 0 ? high.z : low.z);
        vec4 clip = projectionView * vec4(corner, 1.0);
        if (!(clip.w > 1.0e-6) || !(clip.z >= -clip.w))
            return true;
        vec3 place = clip.xyz / clip.w;
        nearest = min(nearest, place);
        farthest = max(farthest, place.xy);
    }
    // Pixels whose centres lie within, with a margin for the device's grid of corners.
    vec2 from = (nearest.xy * 0.5 + 0.5) * pictureSize.xy - 0.51;
    vec2 to = (farthest * 0.5 + 0.5) * pictureSize.xy - 0.49;
    // What is not in the picture was not compared, and a NaN is neither greater nor less.
    if (!(from.x < pictureSize.x && from.y < pictureSize.y && to.x > -1.0 && to.y > -1.0))
        return true;
    ivec2 first = ivec2(clamp(ceil(from), vec2(0.0), pictureSize.xy - 1.0));
    ivec2 last = max(ivec2(clamp(floor(to), vec2(0.0), pictureSize.xy - 1.0)), first);
    int level = 0;
    // Not by textureSize: some drivers take the level of one box for all of a group.
    ivec2 base = max(ivec2(pictureSize.xy) >> 1, 1);
    ivec2 firstTexel;
    ivec2 lastTexel;
    for (;; ++level)
    {
        ivec2 end = max(base >> level, 1) - 1;
        firstTexel = min(first >> (level + 1), end);
        lastTexel = min(last >> (level + 1), end);
        if (all(lessThan(lastTexel - firstTexel, ivec2(kMaxTexels))) || level + 1 >= int(pictureSize.z))
            break;
    }
    float depth = 0.0;
    for (int y = firstTexel.y; y <= lastTexel.y; ++y)
    {
        for (int x = firstTexel.x; x <= lastTexel.x; ++x)
            depth = max(depth, texelFetch(pyramid, ivec2(x, y), level).r);
    }
    return !(nearest.z * 0.5 + 0.5 - pictureSize.w > depth);
}

void main()
{
    if (gl_LocalInvocationID.x < 2u)
        words[gl_LocalInvocationID.x] = 0u;
    barrier();
    uint index = gl_GlobalInvocationID.x;
    if (index < counts.x && maySee(index))
        atomicOr(words[gl_LocalInvocationID.x >> 5], 1u << (gl_LocalInvocationID.x & 31u));
    barrier();
    if (gl_LocalInvocationID.x < 2u)
        answers[gl_WorkGroupID.x * 2u + gl_LocalInvocationID.x] = words[gl_LocalInvocationID.x];
}
