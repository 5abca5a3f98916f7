// The boxes of a town, one instance each.

layout(location = 0) in vec3 position; // a corner of the unit box
layout(location = 2) in vec4 color;    // its face's normal, from 0 to 1

struct Box
{
    vec4 rows[3]; // the upper rows of the world matrix
    vec4 tint;    // r, g, b, and a number of the box from 0 to 1
};

layout(std430, binding = 0) readonly buffer Boxes
{
    Box boxes[];
};
layout(std430, binding = 1) readonly buffer Visible
{
    uint visible[];
};

layout(std140, binding = 0) uniform Frame
{
    mat4 projectionView;
    vec4 eye;
    vec4 sunDirection; // towards the sun
    vec4 sunColor;
    vec4 ambient;
    vec4 fogColor;
    vec4 fog; // near, far, 1 when there is fog
    vec4 counts; // of lights
    vec4 lights[64]; // two for each: position and range, colour
};

uniform int first; // of this draw's entries in `visible`

out vec3 worldPosition;
out vec3 worldNormal;
out vec3 boxPosition; // metres from the box's middle, along its axes
flat out vec3 boxSize;
flat out vec4 tint;

void main()
{
    Box box = boxes[visible[first + gl_InstanceID]];
    mat3x4 rows = mat3x4(box.rows[0], box.rows[1], box.rows[2]);
    worldPosition = vec4(position, 1.0) * rows;
    vec3 axis = round(color.xyz * 2.0 - 1.0);
    worldNormal = normalize(vec4(axis, 0.0) * rows);
    boxSize = vec3(length(vec3(rows[0].x, rows[1].x, rows[2].x)), length(vec3(rows[0].y, rows[1].y, rows[2].y)),
                   length(vec3(rows[0].z, rows[1].z, rows[2].z)));
    boxPosition = position * boxSize;
    tint = box.tint;
    gl_Position = projectionView * vec4(worldPosition, 1.0);
}
