// A triangle over the whole picture, behind everything.

uniform mat4 inverseProjectionView;
out vec3 direction;

void main()
{
    vec2 corner = vec2((gl_VertexID << 1) & 2, gl_VertexID & 2) * 2.0 - 1.0;
    vec4 from = inverseProjectionView * vec4(corner, -1.0, 1.0);
    vec4 to = inverseProjectionView * vec4(corner, 1.0, 1.0);
    direction = to.xyz / to.w - from.xyz / from.w;
    gl_Position = vec4(corner, 1.0, 1.0);
}
