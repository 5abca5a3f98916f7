// Sun, sky, lamps, rows of windows, fog.

in vec3 worldPosition;
flat in vec4 color;
flat in vec4 low;

layout(std140, binding = 0) uniform Frame
{
    vec4 eye;
    vec4 sunDirection; // towards the sun
    vec4 sunColor;
    vec4 ambient;
    vec4 fogColor;
    vec4 fog;        // near, far, 1 when there is fog, number of lamps
    vec4 lamps[64];  // two for each: position and range, colour
};

out vec4 result;

float hash(vec2 p)
{
    return fract(sin(dot(p, vec2(12.9898, 78.233))) * 43758.5453);
}

vec3 light(vec3 albedo, vec3 normal)
{
    vec3 sum = ambient.rgb * (0.7 + 0.3 * normal.z) + sunColor.rgb * max(dot(normal, sunDirection.xyz), 0.0);
    for (int i = 0; i < int(fog.w); ++i)
    {
        vec3 way = lamps[i * 2].xyz - worldPosition;
        float left = clamp(1.0 - dot(way, way) / (lamps[i * 2].w * lamps[i * 2].w), 0.0, 1.0);
        sum += lamps[i * 2 + 1].rgb * left * left * max(dot(normal, normalize(way)), 0.15);
    }
    return albedo * sum;
}

void main()
{
    vec3 normal = normalize(cross(dFdx(worldPosition), dFdy(worldPosition)));
    vec3 shade = light(color.rgb, normal);
    float way = distance(eye.xyz, worldPosition);
    if (abs(normal.z) < 0.5 && color.a > 0.5)
    {
        float along = abs(normal.x) > 0.5 ? worldPosition.y : worldPosition.x;
        vec2 cell = vec2(along / 3.0, (worldPosition.z - low.z) / 3.5);
        vec2 inside = abs(fract(cell) - 0.5);
        float isWindow = step(inside.x, 0.3) * step(inside.y, 0.28) * step(1.0, cell.y);
        float isLit = step(0.93 - 0.4 * step(sunColor.r, 0.5), hash(floor(cell) + low.xy));
        vec3 window = mix(light(vec3(0.15, 0.19, 0.24), normal) + 0.05, vec3(0.95, 0.78, 0.45), isLit * 0.8);
        shade = mix(shade, mix(mix(shade, window, 0.35), window, clamp(2.0 - way / 150.0, 0.0, 1.0)), isWindow);
    }
    float amount = fog.z * clamp((way - fog.x) / max(fog.y - fog.x, 0.001), 0.0, 1.0);
    vec3 exposed = pow(1.0 - exp(-1.7 * shade), vec3(1.0 / 1.6));
    result = vec4(mix(exposed, fogColor.rgb, amount * amount), 1.0);
}
