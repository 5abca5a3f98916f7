// One instance for each box; the corners of the unit cube come as vertices.

layout(location = 0) in vec3 position;

struct Block
{
    vec4 low;
    vec4 high;
    vec4 color;
};

layout(std430, binding = 0) readonly buffer Blocks
{
    Block blocks[];
};

uniform mat4 projectionView;

out vec3 worldPosition;
flat out vec4 color;
flat out vec4 low;

void main()
{
    Block block = blocks[gl_InstanceID];
    worldPosition = mix(block.low.xyz, block.high.xyz, position);
    color = block.color;
    low = block.low;
    gl_Position = projectionView * vec4(worldPosition, 1.0);
}
