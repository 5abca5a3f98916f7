// What a town looks like. Each material defines one of BUILDING, STREET, PARK, WATER, GROUND.

in vec3 worldPosition;
in vec3 worldNormal;
in vec3 boxPosition;
flat in vec3 boxSize;
flat in vec4 tint;

layout(std140, binding = 0) uniform Frame
{
    mat4 projectionView;
    vec4 eye;
    vec4 sunDirection;
    vec4 sunColor;
    vec4 ambient;
    vec4 fogColor;
    vec4 fog;
    vec4 counts;
    vec4 lights[64];
};

out vec4 result;

float hash(vec3 p)
{
    p = fract(p * vec3(0.1031, 0.1130, 0.0973));
    p += dot(p, p.yzx + 33.33);
    return fract((p.x + p.y) * p.z);
}

// Fades a pattern out before it gets smaller than a pixel.
float fade(float period)
{
    return smoothstep(2.0, 5.0, period / (0.0016 * distance(eye.xyz, worldPosition)));
}

vec3 light(vec3 albedo, vec3 normal)
{
    float sky = normal.z * 0.25 + 0.75;
    vec3 sum = ambient.rgb * sky + sunColor.rgb * max(dot(normal, sunDirection.xyz), 0.0);
    for (int i = 0; i < int(counts.x); ++i)
    {
        vec3 way = lights[i * 2].xyz - worldPosition;
        float range = lights[i * 2].w;
        float left = clamp(1.0 - dot(way, way) / (range * range), 0.0, 1.0);
        sum += lights[i * 2 + 1].rgb * left * left * max(dot(normal, normalize(way)), 0.1);
    }
    return albedo * sum;
}

#ifdef BUILDING
const float kFloor = 3.6;
const float kBay = 2.8;

vec3 shade(vec3 normal)
{
    vec3 wall = tint.rgb;
    float height = boxPosition.z + boxSize.z * 0.5;
    if (abs(normal.z) > 0.5)
    {
        // A roof with a rim.
        vec2 rim = boxSize.xy * 0.5 - abs(boxPosition.xy);
        return light(wall * (min(rim.x, rim.y) < 0.7 ? 0.95 : 0.62), normal);
    }
    bool isAlongX = abs(boxPosition.y) > boxSize.y * 0.4999;
    float along = isAlongX ? boxPosition.x : boxPosition.y;
    vec2 cell = vec2(along / kBay, height / kFloor);
    vec2 inside = abs(fract(cell) - 0.5);
    float isWindow = step(inside.x, 0.32) * step(inside.y, 0.3) * step(kFloor * 0.3, height) *
                     step(height, boxSize.z - 1.0);
    float chance = hash(vec3(floor(cell), tint.a * 977.0 + (isAlongX ? 7.0 : 0.0)));
    // The street's shadow climbs up the walls.
    float depth = clamp(0.62 + height * 0.02, 0.0, 1.0);
    vec3 base = light(wall * depth, normal);
    vec3 glass = light(vec3(0.12, 0.16, 0.21), normal) + vec3(0.16, 0.2, 0.26) * pow(1.0 - abs(dot(
        normalize(eye.xyz - worldPosition), normal)), 2.0);
    vec3 window = mix(glass, vec3(1.0, 0.79, 0.46) * 0.85, step(0.87, chance));
    vec3 far = mix(base, mix(glass, vec3(0.95, 0.77, 0.47), 0.1), 0.36);
    return mix(far, mix(base, window, isWindow), fade(kBay));
}
#endif

#ifdef STREET
vec3 shade(vec3 normal)
{
    vec3 asphalt = vec3(0.2, 0.2, 0.215) * (0.94 + 0.1 * hash(floor(worldPosition * 2.0)) * fade(1.0));
    float dash = step(abs(boxPosition.y), 0.12) * step(fract(boxPosition.x / 8.0), 0.45) * step(6.0, boxSize.y);
    float kerb = step(boxSize.y * 0.5 - 0.35, abs(boxPosition.y)) * step(5.0, boxSize.y);
    vec3 albedo = mix(asphalt, vec3(0.8, 0.78, 0.66), dash * fade(1.5));
    albedo = mix(albedo, vec3(0.42, 0.42, 0.41), kerb * fade(1.5));
    return light(albedo, normal);
}
#endif

#ifdef PARK
vec3 shade(vec3 normal)
{
    float coarse = hash(floor(vec3(worldPosition.xy * 0.25, 1.0)));
    float fine = hash(floor(vec3(worldPosition.xy * 1.5, 2.0)));
    float grain = mix(0.5, mix(coarse, fine, 0.5), fade(3.0));
    return light(vec3(0.2, 0.34, 0.14) * (0.8 + 0.4 * grain), normal);
}
#endif

#ifdef WATER
vec3 shade(vec3 normal)
{
    vec3 way = normalize(eye.xyz - worldPosition);
    vec2 wave = vec2(hash(floor(vec3(worldPosition.xy * 0.7, 3.0))), hash(floor(vec3(worldPosition.yx * 0.7, 4.0)))) - 0.5;
    vec3 ripple = normalize(normal + vec3(wave * 0.06 * fade(2.0), 0.0));
    float mirror = pow(1.0 - max(dot(way, ripple), 0.0), 4.0);
    vec3 glint = sunColor.rgb * pow(max(dot(reflect(-way, ripple), sunDirection.xyz), 0.0), 90.0);
    return light(vec3(0.07, 0.16, 0.22), normal) + fogColor.rgb * mirror * 0.7 + glint;
}
#endif

#ifdef GROUND
vec3 shade(vec3 normal)
{
    float grain = mix(0.5, hash(floor(vec3(worldPosition.xy * 0.8, 5.0))), fade(2.0));
    return light(vec3(0.4, 0.385, 0.355) * (0.93 + 0.14 * grain), normal);
}
#endif

vec3 expose(vec3 color)
{
    vec3 soft = pow(1.0 - exp(-1.9 * color), vec3(1.0 / 1.35));
    return mix(soft, soft * soft * (3.0 - 2.0 * soft), 0.6);
}

void main()
{
    vec3 color = shade(normalize(worldNormal));
    float way = distance(eye.xyz, worldPosition);
    float amount = fog.z * clamp((way - fog.x) / max(fog.y - fog.x, 0.001), 0.0, 1.0);
    result = vec4(expose(mix(color, fogColor.rgb, 1.0 - (1.0 - amount) * (1.0 - amount))), 1.0);
}
