in vec3 direction;

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

vec3 expose(vec3 color)
{
    vec3 soft = pow(1.0 - exp(-1.9 * color), vec3(1.0 / 1.35));
    return mix(soft, soft * soft * (3.0 - 2.0 * soft), 0.6);
}

void main()
{
    vec3 way = normalize(direction);
    float height = clamp(way.z, 0.0, 1.0);
    vec3 zenith = vec3(0.22, 0.4, 0.66);
    vec3 color = mix(fogColor.rgb, zenith, pow(height, 0.55));
    float sun = max(dot(way, sunDirection.xyz), 0.0);
    color += sunColor.rgb * (pow(sun, 700.0) + 0.18 * pow(sun, 12.0));
    result = vec4(expose(color), 1.0);
}
